import QtQuick
import QtQuick.Templates as T
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

/// What all windows have: their colour, hints, and the questions that may come up in any of them.
T.ApplicationWindow {
    id: root

    /// Quitting waits for an answer.
    property bool asksToQuit: false
    /// How many questions whether to stop a machine are open.
    property int stopQuestions: 0
    property bool isConsole: false

    color: Theme.windowBackground
    LayoutMirroring.enabled: Theme.mirrored
    LayoutMirroring.childrenInherit: true

    HintToolTip {}

    SheetLoader {
        sheet: "QuitAlert.qml"
        shown: root.asksToQuit
        onDismissed: root.asksToQuit = false
    }

    Component {
        id: stopAlert

        StopAlert {}
    }

    function askToStop(vm: VirtualMachine, isOverdue: bool): void {
        if (!vm.canStop)
            return; // its guest has just ended
        const alert = stopAlert.createObject(root.contentItem, {
            vm: vm,
            isOverdue: isOverdue,
            isInConsole: root.isConsole
        }) as StopAlert;
        root.stopQuestions += 1;
        alert.closed.connect(() => {
            if (root) // which may be what closes it
                root.stopQuestions -= 1;
        });
    }
}
