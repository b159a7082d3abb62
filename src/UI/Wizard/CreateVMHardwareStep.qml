import QtQuick
import Kelvo.Toolkit
import Kelvo.UI

FocusScope {
    id: root

    required property CreateVMModel wizard

    signal submitted

    implicitHeight: column.implicitHeight

    Column {
        id: column

        width: parent.width
        spacing: Theme.spacing

        FormSection {
            width: parent.width
            title: qsTr("CPU")

            FormRow {
                id: cores

                label: qsTr("%1 virtual CPU cores").arg(root.wizard.draft.cpuCount)

                Stepper {
                    focus: true
                    label: cores.label
                    value: root.wizard.draft.cpuCount
                    minimumValue: root.wizard.minimumCPUCount
                    maximumValue: root.wizard.maximumCPUCount
                    onEdited: value => root.wizard.draft.cpuCount = value
                }
            }
        }
        FormSection {
            width: parent.width
            title: qsTr("Memory")

            FormRow {
                label: qsTr("RAM")

                Picker {
                    label: qsTr("RAM")
                    model: VMChoices.memorySizes
                    currentIndex: root.wizard.draft.memoryIndex
                    onActivated: index => root.wizard.draft.memoryIndex = index
                    onSubmitted: root.submitted()
                }
            }
        }
        FormSection {
            width: parent.width
            title: qsTr("Disk")

            FormRow {
                label: qsTr("Disk Size")

                Picker {
                    label: qsTr("Disk Size")
                    model: VMChoices.diskSizes
                    currentIndex: root.wizard.draft.diskIndex
                    onActivated: index => root.wizard.draft.diskIndex = index
                    onSubmitted: root.submitted()
                }
            }
        }
        FormSection {
            width: parent.width
            title: qsTr("Network")

            FormRow {
                label: qsTr("Network")

                Picker {
                    label: qsTr("Network")
                    model: VMChoices.networks
                    currentIndex: root.wizard.draft.networkIndex
                    onActivated: index => root.wizard.draft.networkIndex = index
                    onSubmitted: root.submitted()
                }
            }
        }
        Label {
            width: parent.width
            visible: text !== ""
            wrapMode: Text.Wrap
            text: root.wizard.hardwareHint
            font.pixelSize: Theme.caption
            color: Theme.orangeTone
        }
    }
}
