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

        Label {
            width: parent.width
            text: qsTr("Choose Operating System")
            font.pixelSize: Theme.title2
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        InlinePicker {
            width: parent.width
            focus: true
            label: qsTr("Operating System")
            choices: VMChoices.guests
            details: VMChoices.guestBackends
            symbols: ["display", "terminal", "desktopcomputer"]
            currentIndex: root.wizard.draft.guestIndex
            onActivated: index => root.wizard.draft.guestIndex = index
        }
    }
}
