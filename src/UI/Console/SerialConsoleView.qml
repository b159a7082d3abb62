import QtQuick
import Kelvo.Toolkit
import Kelvo.UI

/// What a guest says on its serial line. Follows its end, unless somebody has scrolled away from that.
Rectangle {
    id: root

    property alias file: serial.file
    /// The line is listened to while this is true.
    property alias active: serial.active

    color: Theme.screen
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("Serial output")

    SerialConsole {
        id: serial
    }

    ScrollPage {
        id: page

        property bool followsEnd: true

        anchors.fill: parent
        anchors.margins: Theme.mediumSpacing
        contentHeight: block.height
        onMovementEnded: followsEnd = atYEnd
        onContentHeightChanged: showEnd()
        onHeightChanged: showEnd()

        function showEnd(): void {
            if (page.followsEnd)
                page.contentY = Math.max(0, page.contentHeight - page.height);
        }

        TextBlock {
            id: block

            width: page.width
            wrapMode: TextEdit.WrapAnywhere
            text: serial.text
            font.family: Theme.monospaceFamily
            color: Theme.screenText
        }
    }
    Label {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.largeSpacing
        visible: serial.text === ""
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        text: qsTr("The guest has said nothing on its serial line.")
        color: Theme.screenText
    }
}
