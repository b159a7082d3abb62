import QtQuick
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

/// A machine's buttons and state above its screen, or above a panel that says why there is none.
Item {
    id: root

    required property VirtualMachine vm
    /// The screen then has all the room, and the buttons lie above it unless keys go to the guest.
    property bool isFullScreen: false

    /// Instead of its screen.
    readonly property bool showsSerialLine: serialLine.checked

    signal fullScreenToggled

    readonly property bool guestHasKeyboard: vncView.hasKeyboard || hypervisorView.hasKeyboard
    readonly property bool showsButtons: !root.isFullScreen || !root.guestHasKeyboard || edge.hovered
                                         || toolbarHover.hovered

    VMPresenter {
        id: presenter

        vm: root.vm
    }

    ConsolePresenter {
        id: consolePresenter

        vm: root.vm
        manager: AppState.vmManager
    }

    Rectangle {
        id: toolbar

        width: parent.width
        height: Theme.smallControlHeight + 16
        z: 1
        visible: root.showsButtons
        color: Theme.sidebarBackground
        Accessible.role: Accessible.ToolBar
        Accessible.name: qsTr("Virtual machine controls")

        HoverHandler {
            id: toolbarHover
        }

        ButtonRow {
            id: buttons

            anchors.left: parent.left
            anchors.leftMargin: Theme.mediumSpacing
            y: Theme.smallSpacing
            height: Theme.smallControlHeight
            availableWidth: toolbar.width - serialLine.width - fullScreen.width - badge.width - 6 * Theme.mediumSpacing

            PushButton {
                small: true
                prominent: true
                visible: presenter.shown.showsInstall
                text: qsTr("Install")
                onClicked: AppState.performInConsole(root.vm, VMCommand.Install)
            }
            PushButton {
                small: true
                symbol: "play"
                enabled: presenter.shown.startEnabled
                disabledReason: presenter.shown.startHint
                text: qsTr("Start")
                onClicked: AppState.performInConsole(root.vm, VMCommand.Start)
            }
            PushButton {
                small: true
                symbol: "pause"
                enabled: presenter.shown.pauseEnabled
                disabledReason: presenter.shown.pauseHint
                text: qsTr("Pause")
                onClicked: AppState.performInConsole(root.vm, VMCommand.Pause)
            }
            PushButton {
                small: true
                symbol: "play"
                enabled: presenter.shown.resumeEnabled
                disabledReason: presenter.shown.resumeHint
                text: qsTr("Resume")
                onClicked: AppState.performInConsole(root.vm, VMCommand.Resume)
            }
            PushButton {
                small: true
                symbol: "power"
                enabled: presenter.shown.shutDownEnabled
                disabledReason: presenter.shown.shutDownHint
                text: qsTr("Shut Down")
                onClicked: AppState.performInConsole(root.vm, VMCommand.ShutDown)
            }
            PushButton {
                small: true
                symbol: "stop"
                enabled: presenter.shown.stopEnabled
                disabledReason: presenter.shown.stopHint
                text: qsTr("Stop")
                onClicked: AppState.performInConsole(root.vm, VMCommand.Stop)
            }
        }
        Divider {
            id: separator

            anchors.left: buttons.right
            anchors.leftMargin: Theme.mediumSpacing
            anchors.verticalCenter: parent.verticalCenter
            width: 1
            height: 20
        }
        Label {
            anchors.left: separator.right
            anchors.leftMargin: Theme.mediumSpacing
            anchors.right: serialLine.left
            anchors.rightMargin: Theme.spacing
            anchors.verticalCenter: parent.verticalCenter
            text: presenter.shown.backendText
            font.pixelSize: Theme.caption
            color: Theme.secondaryText
        }
        PushButton {
            id: serialLine

            anchors.right: fullScreen.left
            anchors.rightMargin: Theme.smallSpacing
            anchors.verticalCenter: parent.verticalCenter
            small: true
            symbol: "terminal"
            checkable: true
            prominent: checked
            Accessible.name: qsTr("Serial Output")

            ToolTip {
                visible: serialLine.hovered
                text: root.showsSerialLine ? qsTr("Show the guest's screen") : qsTr("Show what the guest says on its serial line")
            }
        }
        PushButton {
            id: fullScreen

            anchors.right: badge.left
            anchors.rightMargin: Theme.mediumSpacing
            anchors.verticalCenter: parent.verticalCenter
            small: true
            symbol: "arrow.up.left.and.arrow.down.right"
            Accessible.name: qsTr("Full Screen")
            onClicked: root.fullScreenToggled()

            ToolTip {
                visible: fullScreen.hovered
                text: root.isFullScreen ? qsTr("Leave full screen (F11)") : qsTr("Full Screen (F11)")
            }
        }
        VMStateBadge {
            id: badge

            anchors.right: parent.right
            anchors.rightMargin: Theme.mediumSpacing
            anchors.verticalCenter: parent.verticalCenter
            presenter: presenter
        }
    }

    Divider {
        id: divider

        anchors.top: toolbar.bottom
        width: parent.width
        z: 1
        visible: root.showsButtons
    }

    // Where a pointer fetches the buttons that are not shown.
    Item {
        z: 1
        width: parent.width
        height: 2
        visible: root.isFullScreen

        HoverHandler {
            id: edge
        }
    }

    Item {
        id: content

        anchors.top: root.isFullScreen ? parent.top : divider.bottom
        anchors.bottom: parent.bottom
        width: parent.width
    }

    VNCConsoleView {
        id: vncView

        anchors.fill: content
        visible: active && !root.showsSerialLine
        active: consolePresenter.display === ConsolePresenter.VNC
        host: consolePresenter.vncHost
        port: consolePresenter.vncPort
        inputEnabled: presenter.shown.pauseEnabled
        onKeyboardReleased: toolbar.forceActiveFocus(Qt.TabFocusReason)
    }

    VirtualMachineViewRepresentable {
        id: hypervisorView

        anchors.fill: content
        visible: consolePresenter.display === ConsolePresenter.HypervisorView && !root.showsSerialLine
        virtualMachine: consolePresenter.vzMachine
        onKeyboardReleased: toolbar.forceActiveFocus(Qt.TabFocusReason)
    }

    ContentUnavailableView {
        anchors.fill: content
        visible: consolePresenter.display === ConsolePresenter.StatusPanel && !root.showsSerialLine
        label: consolePresenter.statusTitle
        symbol: "display"
        description: consolePresenter.statusMessage

        Spinner {
            visible: consolePresenter.isBusy
            size: Theme.scaled(24)
            color: Theme.secondaryText
        }
        PushButton {
            visible: presenter.shown.showsInstall
            prominent: true
            text: qsTr("Install Windows")
            onClicked: AppState.performInConsole(root.vm, VMCommand.Install)
        }
        PushButton {
            visible: presenter.shown.startEnabled
            prominent: true
            text: qsTr("Start")
            onClicked: AppState.performInConsole(root.vm, VMCommand.Start)
        }
        PushButton {
            visible: presenter.shown.showsFinishInstall
            text: qsTr("Finish Install")
            onClicked: AppState.finishInstallationInConsole(root.vm)
        }
        PushButton {
            visible: consolePresenter.offersDiagnostics
            text: qsTr("Show Diagnostics")
            onClicked: AppState.showingAppSettings = true
        }
    }

    SerialConsoleView {
        anchors.fill: content
        visible: root.showsSerialLine
        // A start makes the file anew.
        active: root.showsSerialLine && !consolePresenter.isBusy
        file: consolePresenter.serialLog
    }

    function takeKeyboard(): void {
        if (vncView.visible)
            vncView.takeKeyboard();
        else if (hypervisorView.visible)
            hypervisorView.takeKeyboard();
    }
}
