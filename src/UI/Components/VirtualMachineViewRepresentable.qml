import QtQuick
import Kelvo.Display
import Kelvo.Toolkit

/// Embeds the hypervisor layer's own view of a guest, which has the keyboard as soon as it is shown.
Item {
    id: root

    required property VZVirtualMachine virtualMachine
    /// Keys go to the guest now.
    readonly property bool hasKeyboard: screen.hasKeyboard

    /// The guest's screen has given the keyboard back: the focus should go elsewhere.
    signal keyboardReleased

    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("VM display")

    VZVirtualMachineView {
        id: screen

        anchors.fill: parent
        virtualMachine: root.virtualMachine
        Accessible.role: Accessible.Graphic
        Accessible.name: qsTr("Guest screen")
        Accessible.focusable: true
        onKeyboardReleased: root.keyboardReleased()
    }

    GuestInputHint {
        screen: screen
    }

    onVisibleChanged: root.takeKeyboard()
    Component.onCompleted: root.takeKeyboard()

    function takeKeyboard(): void {
        if (root.visible)
            screen.forceActiveFocus();
    }
}
