import QtQuick
import QtQuick.Templates as T
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

T.ApplicationWindow {
    id: root

    property bool asksToQuit: false

    title: AppState.detailContent === DetailContent.MachineList ? AppState.sectionTitle : "Kelvo"
    width: Math.min(1120, Screen.desktopAvailableWidth)
    height: Math.min(740, Screen.desktopAvailableHeight)
    minimumWidth: Math.min(900, Screen.desktopAvailableWidth)
    minimumHeight: Math.min(600, Screen.desktopAvailableHeight)
    color: Theme.windowBackground
    // For the library's panels
    palette {
        window: Theme.popupBackground
        windowText: Theme.text
        light: Theme.popupBackground
        base: Theme.popupBackground
        text: Theme.text
        button: Theme.control
        buttonText: Theme.text
        highlight: Theme.accent
        highlightedText: Theme.accentText
        mid: Theme.cardBorder
        dark: Theme.disabledText
    }
    LayoutMirroring.enabled: Theme.mirrored
    LayoutMirroring.childrenInherit: true

    menuBar: MainMenuBar {}

    ContentView {
        anchors.fill: parent
        focus: true
    }

    HintToolTip {}

    SheetLoader {
        sheet: "CreateVMView.qml"
        shown: AppState.showingCreateVM
        onDismissed: AppState.showingCreateVM = false
    }

    SheetLoader {
        sheet: "ErrorAlert.qml"
        shown: AppState.errorMessage !== ""
        onDismissed: AppState.errorMessage = ""
    }

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
        stopAlert.createObject(root.contentItem, {
            vm: vm,
            isOverdue: isOverdue,
            isInConsole: false
        });
    }
}
