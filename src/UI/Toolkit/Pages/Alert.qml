import QtQuick
import QtQuick.Templates as T

/// Says something until it is answered: with the button at its end or Return, which accept it, or with Escape.
Sheet {
    id: root

    required property string message
    property string acceptText: qsTr("OK")
    /// A second way out; none when empty.
    property string secondaryText: ""
    /// Accepting it loses something, so that Return takes the second way out.
    property bool isDestructive: false
    /// Nobody has asked for it: what people are just typing must not answer it.
    property bool isSudden: false

    signal secondaryChosen

    preferredWidth: Theme.scaled(400)
    preferredHeight: content.implicitHeight + 2 * Theme.largeSpacing
    padding: Theme.largeSpacing
    dismissible: !typing.running

    Timer {
        id: typing

        interval: 1000
        running: root.isSudden && root.visible
    }

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
            height: Math.min(contentHeight, Theme.scaled(260))
            contentHeight: messageLabel.implicitHeight
            clip: contentHeight > height
            T.ScrollBar.vertical: ScrollBar {}

            TextBlock {
                id: messageLabel

                width: parent.width
                text: root.message
                color: Theme.secondaryText
            }
        }
        Item {
            width: 1
            height: Theme.smallSpacing
        }
        Row {
            anchors.right: parent.right
            enabled: !typing.running
            spacing: Theme.smallSpacing

            PushButton {
                visible: root.secondaryText !== ""
                text: root.secondaryText
                focus: root.isDestructive
                onClicked: {
                    root.close();
                    root.secondaryChosen();
                }
            }
            PushButton {
                width: Math.max(implicitWidth, 88)
                text: root.acceptText
                prominent: !root.isDestructive
                destructive: root.isDestructive
                focus: !root.isDestructive
                onClicked: root.accept()
            }
        }
    }
}
