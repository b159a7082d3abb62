import QtQuick
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

FormPage {
    id: root

    required property VirtualMachine vm

    title: qsTr("VM Settings")

    VMSettingsModel {
        id: settings

        vm: root.vm
        appState: AppState
    }

    FormSection {
        width: parent.width
        title: qsTr("General")

        FormRow {
            label: qsTr("Name")
            announcesLabel: false
            enabled: !settings.isRunning

            TextField {
                height: Theme.smallControlHeight
                text: settings.draft.name
                Accessible.name: qsTr("Name")
                onTextEdited: settings.draft.name = text
            }
        }
        FormRow {
            label: qsTr("Operating System")
            value: settings.guestName
        }
    }
    FormSection {
        width: parent.width
        title: qsTr("CPU")

        FormRow {
            label: qsTr("%1 cores").arg(settings.draft.cpuCount)
            enabled: !settings.isRunning

            Stepper {
                label: qsTr("%1 cores").arg(settings.draft.cpuCount)
                value: settings.draft.cpuCount
                minimumValue: settings.minimumCPUCount
                maximumValue: settings.maximumCPUCount
                onEdited: value => settings.draft.cpuCount = value
            }
        }
    }
    FormSection {
        width: parent.width
        title: qsTr("Memory")

        FormRow {
            label: qsTr("RAM")
            announcesLabel: false
            enabled: !settings.isRunning

            Picker {
                label: qsTr("RAM")
                model: VMChoices.memorySizes
                displayText: settings.draft.memoryText
                currentIndex: settings.draft.memoryIndex
                onActivated: index => settings.draft.memoryIndex = index
            }
        }
    }
    InfoSection {
        width: parent.width
        title: qsTr("Storage")
        values: settings.storage

        FormRow {
            label: ""

            PushButton {
                small: true
                text: qsTr("Refresh Disk Usage")
                onClicked: settings.refreshDiskUsage()
            }
        }
    }
    FormSection {
        width: parent.width
        title: qsTr("Network")

        FormRow {
            label: qsTr("Mode")
            announcesLabel: false
            enabled: !settings.isRunning

            Picker {
                label: qsTr("Mode")
                model: VMChoices.networks
                currentIndex: settings.draft.networkIndex
                onActivated: index => settings.draft.networkIndex = index
            }
        }
    }
    FormSection {
        width: parent.width
        title: qsTr("Display")
        note: !settings.offersDisplayDriver ? "" : settings.draft.hasDisplayDriver ? qsTr("The guest chooses the size of its screen. Without the driver it shows no picture.") : qsTr("The screen has 1024 × 768 pixels, for which a guest needs no driver.")

        FormRow {
            label: qsTr("Width: %1").arg(settings.draft.displayWidth)
            enabled: !settings.isRunning

            NumberStepper {
                label: qsTr("Width")
                value: settings.draft.displayWidth
                minimum: settings.minimumDisplayWidth
                maximum: settings.maximumDisplayWidth
                onEdited: value => settings.draft.displayWidth = value
            }
        }
        FormRow {
            label: qsTr("Height: %1").arg(settings.draft.displayHeight)
            enabled: !settings.isRunning

            NumberStepper {
                label: qsTr("Height")
                value: settings.draft.displayHeight
                minimum: settings.minimumDisplayHeight
                maximum: settings.maximumDisplayHeight
                onEdited: value => settings.draft.displayHeight = value
            }
        }
        FormRow {
            label: qsTr("Scaling")
            announcesLabel: false
            enabled: !settings.isRunning

            Row {
                spacing: Theme.mediumSpacing

                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    text: Number(settings.draft.displayScaling).toLocaleString(Qt.locale(), "f", 2)
                    color: Theme.secondaryText
                    Accessible.ignored: true
                }
                Slider {
                    label: qsTr("Scaling")
                    from: settings.minimumDisplayScaling
                    to: settings.maximumDisplayScaling
                    value: settings.draft.displayScaling
                    onMoved: settings.draft.displayScaling = value
                }
            }
        }
        FormRow {
            visible: settings.offersDisplayDriver
            label: driver.Accessible.name
            announcesLabel: false
            enabled: !settings.isRunning

            Toggle {
                id: driver

                checked: settings.draft.hasDisplayDriver
                Accessible.name: qsTr("Guest has the virtio display driver")
                onToggled: settings.draft.hasDisplayDriver = checked
            }
        }
    }
    FormSection {
        width: parent.width
        title: qsTr("Advanced")

        FormRow {
            label: qsTr("Boot")
            value: qsTr("EFI")
        }
        Divider {
            anchors.right: parent.right
            width: parent.width - Theme.spacing
        }
        FormBlock {
            spacing: Theme.tightSpacing

            Label {
                anchors.left: parent.left
                text: qsTr("Logs")
            }
            TextBlock {
                width: parent.width
                wrapMode: TextEdit.WrapAnywhere
                text: settings.recentLog
                font.family: Theme.monospaceFamily
                font.pixelSize: Theme.caption
                color: Theme.secondaryText
            }
        }
    }

    Label {
        id: stopFirst

        width: parent.width
        visible: settings.isRunning
        wrapMode: Text.Wrap
        text: qsTr("Stop the virtual machine to change hardware settings.")
        color: Theme.secondaryText
    }
    Row {
        width: parent.width
        spacing: Theme.mediumSpacing

        PushButton {
            id: save

            prominent: true
            enabled: settings.canSave
            disabledReason: settings.isRunning ? stopFirst.text : settings.problem
            text: qsTr("Save Changes")
            onClicked: settings.saveChanges()
        }
        Label {
            anchors.verticalCenter: save.verticalCenter
            width: parent.width - save.width - parent.spacing
            wrapMode: Text.Wrap
            text: settings.isRunning ? "" : settings.problem !== "" ? settings.problem : settings.saveMessage
            color: settings.problem !== "" ? Theme.redTone : Theme.secondaryText
        }
    }
}
