import QtQuick
import QtQuick.Templates as T

/// Says what went wrong until it is answered with "OK", Return or Escape.
Sheet {
    id: root

    required property string message

    preferredWidth: 400
    preferredHeight: content.implicitHeight + 2 * Theme.largeSpacing
    padding: Theme.largeSpacing

    Column {
        id: content

        width: parent.width
        spacing: Theme.smallSpacing

        Label {
            width: parent.width
            text: root.title
            font.pixelSize: Theme.title3
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        Flickable {
            width: parent.width
            height: Math.min(contentHeight, 260)
            contentHeight: messageLabel.implicitHeight
            clip: contentHeight > height
            T.ScrollBar.vertical: ScrollBar {}

            Label {
                id: messageLabel

                width: parent.width
                text: root.message
                color: Theme.secondaryText
                wrapMode: Text.Wrap
                lineHeight: 1.15
            }
        }
        Item {
            width: 1
            height: Theme.smallSpacing
        }
        PushButton {
            anchors.right: parent.right
            width: Math.max(implicitWidth, 88)
            text: qsTr("OK")
            prominent: true
            focus: true
            onClicked: root.close()
        }
    }
}
