import QtQuick
import QtQuick.Templates as T
import Kelvo.Toolkit

/// A pair of buttons that moves a whole number within a range; it does not hold the number. That may be outside of the range:
/// then a step leads to the nearest end. The range's names are those that assistive technologies are told of.
Item {
    id: root

    required property string label
    required property int value
    required property int minimumValue
    required property int maximumValue

    signal edited(value: int)

    implicitWidth: row.implicitWidth
    implicitHeight: Theme.smallControlHeight
    activeFocusOnTab: enabled
    Accessible.role: Accessible.SpinBox
    Accessible.name: root.label
    Accessible.focusable: true
    Accessible.onIncreaseAction: root.step(1)
    Accessible.onDecreaseAction: root.step(-1)
    Keys.onPressed: event => {
        event.accepted = true;
        switch (event.key) {
        case Qt.Key_Up:
        case Qt.Key_Right:
        case Qt.Key_Plus:
            return root.step(1);
        case Qt.Key_Down:
        case Qt.Key_Left:
        case Qt.Key_Minus:
            return root.step(-1);
        case Qt.Key_PageUp:
            return root.step(10);
        case Qt.Key_PageDown:
            return root.step(-10);
        case Qt.Key_Home:
            return root.step(root.minimumValue - root.value);
        case Qt.Key_End:
            return root.step(root.maximumValue - root.value);
        default:
            event.accepted = false;
        }
    }

    function step(by: int): void {
        const next = Math.min(Math.max(root.value + by, root.minimumValue), root.maximumValue);
        if (by < 0 ? next < root.value : next > root.value)
            root.edited(next);
    }

    component StepButton: T.AbstractButton {
        id: stepButton

        required property string symbol

        implicitWidth: Theme.scaled(34)
        implicitHeight: Theme.smallControlHeight
        autoRepeat: true
        focusPolicy: Qt.NoFocus
        Accessible.onPressAction: if (stepButton.enabled) stepButton.clicked()

        contentItem: Item {
            Symbol {
                anchors.centerIn: parent
                name: stepButton.symbol
                color: stepButton.enabled ? Theme.text : Theme.disabledText
            }
        }

        background: Rectangle {
            radius: Theme.controlRadius - 1
            color: stepButton.down ? Theme.pressedWash : stepButton.hovered ? Theme.hoverWash : "transparent"
        }
    }

    Rectangle {
        anchors.fill: parent
        radius: Theme.controlRadius
        color: root.enabled ? Theme.control : Theme.controlDisabled
        border.width: 1
        border.color: Theme.controlBorder

        Row {
            id: row

            anchors.centerIn: parent

            StepButton {
                symbol: "minus"
                text: qsTr("Decrease %1").arg(root.label)
                enabled: root.value > root.minimumValue
                onClicked: root.step(-1)
            }
            Divider {
                anchors.verticalCenter: parent.verticalCenter
                height: parent.height - 12
            }
            StepButton {
                symbol: "plus"
                text: qsTr("Increase %1").arg(root.label)
                enabled: root.value < root.maximumValue
                onClicked: root.step(1)
            }
        }
    }

    FocusRing {
        visible: root.activeFocus
    }
}
