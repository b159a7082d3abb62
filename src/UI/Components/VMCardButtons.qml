import QtQuick
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

/// What can be done with a card's machine.
Column {
    id: root

    required property VMPresenter presenter
    required property int focusPolicy

    readonly property VirtualMachine vm: presenter.vm

    spacing: Theme.smallSpacing

    ButtonRow {
        availableWidth: root.width

        TextButton {
            small: true
            prominent: true
            visible: root.presenter.shown.showsInstall
            focusPolicy: root.focusPolicy
            text: qsTr("Install")
            onClicked: AppState.installAndShowConsole(root.vm)
        }
        TextButton {
            small: true
            enabled: root.presenter.shown.startEnabled
            disabledReason: root.presenter.shown.startHint
            focusPolicy: root.focusPolicy
            text: qsTr("Start")
            onClicked: AppState.perform(root.vm, VMCommand.Start)
        }
        TextButton {
            small: true
            enabled: root.presenter.shown.stopEnabled
            disabledReason: root.presenter.shown.stopHint
            focusPolicy: root.focusPolicy
            text: qsTr("Stop")
            onClicked: AppState.perform(root.vm, VMCommand.Stop)
        }
        TextButton {
            small: true
            enabled: root.presenter.shown.pauseEnabled
            disabledReason: root.presenter.shown.pauseHint
            focusPolicy: root.focusPolicy
            text: qsTr("Pause")
            onClicked: AppState.perform(root.vm, VMCommand.Pause)
        }
    }

    ButtonRow {
        availableWidth: root.width

        TextButton {
            small: true
            focusPolicy: root.focusPolicy
            text: qsTr("Console")
            onClicked: AppState.showConsole(root.vm)
        }
        TextButton {
            small: true
            focusPolicy: root.focusPolicy
            text: qsTr("Settings")
            onClicked: AppState.showSettings(root.vm)
        }
        TextButton {
            small: true
            visible: root.presenter.shown.showsShutDown
            enabled: root.presenter.shown.shutDownEnabled
            disabledReason: root.presenter.shown.shutDownHint
            focusPolicy: root.focusPolicy
            text: qsTr("Shut Down")
            onClicked: AppState.perform(root.vm, VMCommand.ShutDown)
        }
        TextButton {
            small: true
            visible: root.presenter.shown.showsFinishInstall
            focusPolicy: root.focusPolicy
            text: qsTr("Finish Install")
            onClicked: AppState.finishInstallation(root.vm)
        }
    }
}
