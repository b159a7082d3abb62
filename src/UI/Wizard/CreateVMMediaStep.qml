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
            text: qsTr("Installation Media")
            font.pixelSize: Theme.title2
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        SegmentedControl {
            width: parent.width
            focus: true
            label: qsTr("Media Type")
            segments: VMChoices.mediaTypes
            currentIndex: root.wizard.draft.mediaTypeIndex
            onActivated: index => root.wizard.draft.mediaTypeIndex = index
        }
        Label {
            visible: root.wizard.offersISO
            width: parent.width
            wrapMode: Text.Wrap
            text: qsTr("Select a legitimate Windows 11 ARM64 ISO. Kelvo does not download copyrighted images.")
            color: Theme.secondaryText
        }
        FileRow {
            visible: root.wizard.offersISO
            width: parent.width
            fileName: root.wizard.isoName
            hasFile: root.wizard.offersInstallation
            buttonText: qsTr("Choose ISO…")
            onChooseRequested: isoChooser.open()
            onDropped: file => root.wizard.draft.iso = file
        }
        Item {
            visible: root.wizard.offersDrivers
            width: parent.width
            implicitHeight: Math.max(hint.implicitHeight, needs.implicitHeight)

            Label {
                id: hint

                anchors.verticalCenter: parent.verticalCenter
                anchors.left: parent.left
                anchors.right: needs.left
                anchors.rightMargin: Theme.spacing
                visible: notes.lacksTPM
                wrapMode: Text.Wrap
                text: qsTr("The QEMU of this computer has no TPM that Windows setup is known to accept.")
                font.pixelSize: Theme.caption
                color: Theme.orangeTone
            }
            TextButton {
                id: needs

                anchors.verticalCenter: parent.verticalCenter
                anchors.right: parent.right
                text: qsTr("What Windows needs here…")
                onClicked: page.open()
            }
        }
        Divider {
            visible: root.wizard.offersDrivers
            width: parent.width
        }
        Column {
            visible: root.wizard.offersDrivers
            width: parent.width
            spacing: Theme.tightSpacing

            Label {
                width: parent.width
                wrapMode: Text.Wrap
                text: qsTr("Virtio drivers (recommended for Windows on QEMU)")
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }
            Label {
                width: parent.width
                wrapMode: Text.Wrap
                text: qsTr("Download the ARM64 virtio-win ISO from Fedora, then attach it here so Windows can see the virtual disk and network during setup.")
                font.pixelSize: Theme.caption
                color: Theme.secondaryText
            }
            Label {
                visible: !root.wizard.hasDrivers
                width: parent.width
                wrapMode: Text.Wrap
                text: qsTr("Without this image Windows setup finds no disk to install on.")
                font.pixelSize: Theme.caption
                color: Theme.orangeTone
            }
        }
        FileRow {
            visible: root.wizard.offersDrivers
            width: parent.width
            fileName: root.wizard.driversName
            hasFile: root.wizard.hasDrivers
            buttonText: qsTr("Choose Virtio ISO…")
            onChooseRequested: driversChooser.open()
            onDropped: file => root.wizard.draft.drivers = file
        }
    }

    WindowsNotes {
        id: notes
    }
    WindowsNotesView {
        id: page

        sections: notes.sections
    }
    FileChooser {
        id: isoChooser

        title: qsTr("Choose ISO")
        startFolder: root.wizard.startFolder
        patterns: root.wizard.imagePatterns
        onPicked: file => root.wizard.draft.iso = file
    }
    FileChooser {
        id: driversChooser

        title: qsTr("Select the ARM64 virtio-win driver ISO")
        startFolder: root.wizard.startFolder
        patterns: root.wizard.imagePatterns
        onPicked: file => root.wizard.draft.drivers = file
    }
}
