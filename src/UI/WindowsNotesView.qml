import QtQuick
import QtQuick.Templates as T
import Kelvo.Components
import Kelvo.UI

/// The page on installing Windows, over whatever has led to it.
Sheet {
    id: root

    required property string text

    title: qsTr("Windows on This Computer")
    padding: Theme.largeSpacing
    Accessible.role: Accessible.Dialog

    Flickable {
        id: page

        anchors.top: parent.top
        anchors.bottom: done.top
        anchors.bottomMargin: Theme.spacing
        width: parent.width
        contentWidth: width
        contentHeight: block.implicitHeight
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        T.ScrollBar.vertical: ScrollBar {}

        TextBlock {
            id: block

            width: page.width - Theme.spacing
            textFormat: TextEdit.MarkdownText
            text: root.text
            onLinkActivated: link => Qt.openUrlExternally(link)
        }
    }
    PushButton {
        id: done

        anchors.bottom: parent.bottom
        anchors.right: parent.right
        focus: true
        prominent: true
        text: qsTr("Done")
        onClicked: root.close()
    }
}
