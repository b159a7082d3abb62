import QtQuick
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

/// Asks before a guest loses what it has not saved, and says where it has not shut down though it was asked to. Opens by
/// itself, and goes when it has been answered.
Alert {
    id: root

    required property VirtualMachine vm
    required property bool isOverdue
    required property bool isInConsole

    readonly property string loss: qsTr("Stopping is like pulling the plug: what the guest has not saved is lost.")

    title: (isOverdue ? qsTr("“%1” Has Not Shut Down") : qsTr("Stop “%1”?")).arg(vm?.name ?? "")
    message: isOverdue ? qsTr("Half a minute after it was asked to, it still runs. It may be busy, or wait for an answer on its screen.") + " " + loss
                       : loss + (vm?.canShutDown ? " " + qsTr("Shut Down asks it to end by itself.") : "")
    acceptText: qsTr("Stop")
    secondaryText: isOverdue ? qsTr("Keep Running") : qsTr("Cancel")
    isDestructive: true
    isSudden: isOverdue
    onAccepted: {
        if (!vm?.canStop)
            return;
        if (isInConsole)
            AppState.performInConsole(vm, VMCommand.ForceStop);
        else
            AppState.perform(vm, VMCommand.ForceStop);
    }
    onVmChanged: if (!vm) close()
    onClosed: destroy()
    Component.onCompleted: open()

    Connections {
        target: root.vm

        function onChanged(): void {
            if (!root.vm.canStop)
                root.close();
        }
    }
}
