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
                label: root.wizard.cpuText

                Stepper {
                    focus: true
                    label: root.wizard.cpuText
                    value: root.wizard.cpuCount
                    minimumValue: root.wizard.minimumCPUCount
                    maximumValue: root.wizard.maximumCPUCount
                    onEdited: value => root.wizard.cpuCount = value
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
                    currentIndex: root.wizard.memoryIndex
                    onActivated: index => root.wizard.memoryIndex = index
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
                    currentIndex: root.wizard.diskIndex
                    onActivated: index => root.wizard.diskIndex = index
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
                    currentIndex: root.wizard.networkIndex
                    onActivated: index => root.wizard.networkIndex = index
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
