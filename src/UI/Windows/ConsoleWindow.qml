import QtQuick
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

/// One machine's console, or a line that says that there is no such machine.
AppWindow {
    id: root

    /// What failed in here; empty when nothing has.
    property string errorMessage: ""
    property VirtualMachine vm: null

    isConsole: true
    title: vm ? vm.name : qsTr("VM Console")
    width: Math.min(1120, Screen.desktopAvailableWidth)
    height: Math.min(760, Screen.desktopAvailableHeight)
    minimumWidth: Math.min(vm ? 960 : 640, Screen.desktopAvailableWidth)
    minimumHeight: Math.min(vm ? 640 : 480, Screen.desktopAvailableHeight)

    readonly property bool isFullScreen: visibility === Window.FullScreen
    property int visibilityBefore: Window.Windowed

    VMConsoleView {
        id: view

        anchors.fill: parent
        visible: root.vm !== null
        focus: true
        vm: root.vm
        isFullScreen: root.isFullScreen
        onFullScreenToggled: root.toggleFullScreen()
    }

    // While the guest has the keyboard these are the guest's.
    Shortcut {
        enabled: root.vm !== null
        sequence: "F11"
        onActivated: root.toggleFullScreen()
    }
    Shortcut {
        enabled: root.isFullScreen && !root.asksToQuit && root.stopQuestions === 0 && root.errorMessage === ""
        sequence: "Esc"
        onActivated: root.toggleFullScreen()
    }

    Label {
        anchors.centerIn: parent
        visible: root.vm === null
        text: qsTr("Virtual machine not found.")
        color: Theme.secondaryText
    }

    Connections {
        target: AppState

        function onConsoleFailed(vm: VirtualMachine, message: string): void {
            if (vm === root.vm)
                root.errorMessage = message;
        }
    }

    Alert {
        title: "Kelvo"
        message: root.errorMessage
        visible: root.errorMessage !== ""
        onClosed: root.errorMessage = ""
    }

    function toggleFullScreen(): void {
        if (root.isFullScreen) {
            root.visibility = root.visibilityBefore;
        } else {
            root.visibilityBefore = root.visibility;
            root.visibility = Window.FullScreen;
            view.takeKeyboard();
        }
    }
}
