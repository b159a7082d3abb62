import QtQuick
import QtQuick.Templates as T

T.Slider {
    id: root

    required property string label

    implicitWidth: Theme.scaled(200)
    implicitHeight: Theme.smallControlHeight
    Accessible.name: root.label
    Accessible.onIncreaseAction: root.step(1)
    Accessible.onDecreaseAction: root.step(-1)

    background: Rectangle {
        x: root.leftPadding
        y: Math.round((root.height - height) / 2)
        width: root.availableWidth
        height: 4
        radius: 2
        color: Theme.track

        Rectangle {
            x: root.mirrored ? parent.width - width : 0
            width: root.position * parent.width
            height: parent.height
            radius: 2
            color: root.enabled ? Theme.accent : Theme.disabledText
        }
    }

    handle: Rectangle {
        x: root.leftPadding + root.visualPosition * (root.availableWidth - width)
        y: Math.round((root.height - height) / 2)
        width: 18
        height: 18
        radius: 9
        color: root.enabled ? Theme.handle : Theme.controlDisabled
        border.width: 1
        border.color: Theme.fieldBorder

        FocusRing {
            visible: root.visualFocus
        }
    }

    function step(direction: int): void {
        root.value += direction * (root.to - root.from) / 20;
        root.moved();
    }
}
