import QtQuick
import Kelvo.Components

/// Embeds the hypervisor layer's own view of a guest.
Item {
    id: root

    required property VZVirtualMachine virtualMachine

    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("VM display")

    VZVirtualMachineView {
        anchors.fill: parent
        virtualMachine: root.virtualMachine
        Accessible.role: Accessible.Graphic
        Accessible.name: qsTr("Guest screen")
    }
}
