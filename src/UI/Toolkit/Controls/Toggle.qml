import QtQuick
import QtQuick.Templates as T

T.Switch {
    id: root

    readonly property real indicatorSpace: indicator.width + (text === "" ? 0 : 10)

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Theme.controlHeight
    leftPadding: root.mirrored ? 0 : root.indicatorSpace
    rightPadding: root.mirrored ? root.indicatorSpace : 0
    font.pixelSize: Theme.body
    Accessible.onPressAction: root.flip()
    Accessible.onToggleAction: root.flip()
    Keys.onReturnPressed: event => event.accepted = false

    indicator: Rectangle {
        x: root.mirrored ? root.width - width : 0
        anchors.verticalCenter: parent.verticalCenter
        width: 38
        height: 22
        radius: 11
        color: !root.enabled ? Theme.disabledText : root.checked ? Theme.accent : Theme.toggleOff

        Rectangle {
            x: 2 + root.visualPosition * (parent.width - width - 4)
            y: 2
            width: 18
            height: 18
            radius: 9
            color: Theme.handle

            Behavior on x {
                enabled: !root.down
                NumberAnimation {
                    duration: Theme.quick
                }
            }
        }

        FocusRing {
            visible: root.visualFocus
            controlRadius: 11
        }
    }

    contentItem: Text {
        text: root.text
        horizontalAlignment: Text.AlignLeft
        textFormat: Text.PlainText
        font: root.font
        color: root.enabled ? Theme.text : Theme.disabledText
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
        Accessible.ignored: true
    }

    function flip(): void {
        if (!root.enabled)
            return;
        root.toggle();
        root.toggled();
    }
}
