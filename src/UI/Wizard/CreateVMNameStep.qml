import QtQuick
import Kelvo.Toolkit
import Kelvo.UI

FocusScope {
    id: root

    required property CreateVMModel wizard

    implicitHeight: column.implicitHeight

    Column {
        id: column

        width: parent.width
        spacing: Theme.spacing

        FormSection {
            width: parent.width

            FormRow {
                label: qsTr("Virtual Machine Name")
                announcesLabel: false

                TextField {
                    width: Math.min(Theme.scaled(280), column.width - Theme.scaled(220))
                    focus: true
                    text: root.wizard.draft.name
                    Accessible.name: qsTr("Virtual Machine Name")
                    onTextEdited: root.wizard.draft.name = text
                    Component.onCompleted: selectAll()
                }
            }
            FormRow {
                label: qsTr("Storage Location")
                value: root.wizard.storageLocationPath
                elidesInMiddle: true
            }
            FormRow {
                label: ""
                announcesLabel: false

                PushButton {
                    small: true
                    symbol: "folder"
                    text: qsTr("Choose Location…")
                    onClicked: locationChooser.open()
                }
            }
        }
    }

    FileChooser {
        id: locationChooser

        title: qsTr("Choose Location")
        picksFolder: true
        startFolder: root.wizard.draft.storageLocation
        onPicked: folder => root.wizard.draft.storageLocation = folder
    }
}
