import QtQuick
import QtQuick.Templates as T
import Kelvo.Toolkit

/// A pair of buttons that moves a number one step down or up; it does not hold the number.
Item {
    id: root

    required property string label
    property string valueText: ""
    property bool canDecrease: true
    property bool canIncrease: true

    signal decreased
    signal increased

    implicitWidth: row.implicitWidth
    implicitHeight: Theme.smallControlHeight
    activeFocusOnTab: enabled
    Accessible.role: Accessible.SpinBox
    Accessible.name: root.label
    Accessible.description: root.valueText
    Accessible.focusable: true
    Accessible.onIncreaseAction: if (root.canIncrease) root.increased()
    Accessible.onDecreaseAction: if (root.canDecrease) root.decreased()
    Keys.onUpPressed: if (root.canIncrease) root.increased()
    Keys.onDownPressed: if (root.canDecrease) root.decreased()
    Keys.onPressed: event => {
        if ((event.key === Qt.Key_Plus || event.key === Qt.Key_Right) && root.canIncrease) {
            root.increased();
            event.accepted = true;
        } else if ((event.key === Qt.Key_Minus || event.key === Qt.Key_Left) && root.canDecrease) {
            root.decreased();
            event.accepted = true;
        }
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
                enabled: root.canDecrease
                onClicked: root.decreased()
            }
            Divider {
                anchors.verticalCenter: parent.verticalCenter
                height: parent.height - 12
            }
            StepButton {
                symbol: "plus"
                text: qsTr("Increase %1").arg(root.label)
                enabled: root.canIncrease
                onClicked: root.increased()
            }
        }
    }

    FocusRing {
        visible: root.activeFocus
    }
}
