import QtQuick
import QtQuick.Templates as T
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

MenuBar {
    id: root

    readonly property VirtualMachine vm: AppState.selectedVM

    component CommandItem: MenuItem {
        required property int command

        onTriggered: AppState.performOnSelectedVM(command)
    }

    Menu {
        title: qsTr("&File")

        MenuItem {
            shortcutText: qsTr("Ctrl+N")
            action: T.Action {
                text: qsTr("&New Virtual Machine…")
                shortcut: "Ctrl+N"
                onTriggered: AppState.showingCreateVM = true
            }
        }
        MenuItem {
            shortcutText: qsTr("Ctrl+,")
            action: T.Action {
                text: qsTr("&Settings…")
                shortcut: "Ctrl+,"
                onTriggered: AppState.showingAppSettings = true
            }
        }
        MenuSeparator {}
        MenuItem {
            shortcutText: qsTr("Ctrl+Q")
            action: T.Action {
                text: qsTr("&Quit")
                shortcut: "Ctrl+Q"
                onTriggered: Qt.quit()
            }
        }
    }

    Menu {
        title: qsTr("&Virtual Machine")

        CommandItem {
            text: qsTr("&Install")
            command: VMCommand.Install
            enabled: root.vm?.canInstall ?? false
        }
        CommandItem {
            text: qsTr("&Start")
            command: VMCommand.Start
            enabled: root.vm?.canStart ?? false
        }
        CommandItem {
            text: qsTr("Shut &Down")
            command: VMCommand.ShutDown
            enabled: root.vm?.canShutDown ?? false
        }
        CommandItem {
            text: qsTr("S&top")
            command: VMCommand.Stop
            enabled: root.vm?.canStop ?? false
        }
        CommandItem {
            text: qsTr("&Pause")
            command: VMCommand.Pause
            enabled: root.vm?.canPause ?? false
        }
        CommandItem {
            text: qsTr("&Resume")
            command: VMCommand.Resume
            enabled: root.vm?.canResume ?? false
        }
        MenuSeparator {}
        MenuItem {
            text: qsTr("S&ettings…")
            enabled: root.vm !== null
            onTriggered: AppState.showSettings(root.vm)
        }
    }
}
