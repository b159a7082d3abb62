import QtQuick
import Kelvo.Toolkit

/// A chosen file's name with the button that chooses it; a file can also be dropped here.
Rectangle {
    id: root

    required property string fileName
    required property string buttonText
    required property bool hasFile

    signal chooseRequested
    signal dropped(file: url)

    implicitHeight: Theme.rowHeight + 6
    radius: Theme.groupRadius
    color: drop.containsDrag ? Theme.accentWash : Theme.groupBackground
    border.width: drop.containsDrag ? 2 : 1
    border.color: drop.containsDrag ? Theme.focus : Theme.cardBorder

    Symbol {
        id: symbol

        anchors.left: parent.left
        anchors.leftMargin: Theme.spacing
        anchors.verticalCenter: parent.verticalCenter
        name: "opticaldisc"
        color: root.hasFile ? Theme.linkText : Theme.secondaryText
    }

    Label {
        anchors.left: symbol.right
        anchors.leftMargin: Theme.smallSpacing
        anchors.right: button.left
        anchors.rightMargin: Theme.spacing
        anchors.verticalCenter: parent.verticalCenter
        text: root.fileName
        color: root.hasFile ? Theme.text : Theme.secondaryText
        elide: Text.ElideMiddle
        maximumLineCount: 1
    }

    PushButton {
        id: button

        anchors.right: parent.right
        anchors.rightMargin: Theme.mediumSpacing
        anchors.verticalCenter: parent.verticalCenter
        text: root.buttonText
        onClicked: root.chooseRequested()
    }

    DropArea {
        id: drop

        anchors.fill: parent
        keys: ["text/uri-list"]
        onDropped: event => {
            if (event.hasUrls) {
                root.dropped(event.urls[0]);
                event.accept();
            }
        }
    }
}
