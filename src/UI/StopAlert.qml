import QtQuick
import Kelvo.Components
import Kelvo.UI

/// Asks before a guest loses what it has not saved, and says where it has not shut down though it was asked to.
Alert {
    id: root

    property VirtualMachine vm: null
    property bool isOverdue: false
    property bool isInConsole: false

    readonly property string loss: qsTr("Stopping is like pulling the plug: what the guest has not saved is lost.")

    title: (isOverdue ? qsTr("“%1” Has Not Shut Down") : qsTr("Stop “%1”?")).arg(vm?.name ?? "")
    message: isOverdue ? qsTr("It was asked to 30 seconds ago. It may still be busy, or wait for an answer on its screen.") + " " + loss
                       : loss + (vm?.canShutDown ? " " + qsTr("Shut Down asks it to end by itself.") : "")
    acceptText: qsTr("Stop")
    secondaryText: isOverdue ? qsTr("Keep Running") : qsTr("Cancel")
    isDestructive: true
    visible: true
    onAccepted: {
        if (isInConsole)
            AppState.performInConsole(vm, VMCommand.ForceStop);
        else
            AppState.perform(vm, VMCommand.ForceStop);
    }
    onVmChanged: if (!vm) close()

    /// First of all.
    function ask(machine: VirtualMachine, overdue: bool, inConsole: bool): void {
        isOverdue = overdue;
        isInConsole = inConsole;
        vm = machine;
    }

    Connections {
        target: root.vm

        function onCommandsChanged(): void {
            if (!root.vm.canStop)
                root.close();
        }
    }
}
