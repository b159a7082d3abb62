import QtQuick
import Kelvo.Components
import Kelvo.UI

FormPage {
    id: root

    required property VirtualMachine vm

    title: qsTr("VM Settings")

    VMInfo {
        id: info

        vm: root.vm
        manager: AppState.vmManager
    }

    InfoSection {
        width: parent.width
        title: qsTr("General")
        values: info.general
    }
    InfoSection {
        width: parent.width
        title: qsTr("Hardware")
        values: info.hardware
    }
    InfoSection {
        width: parent.width
        title: qsTr("Storage")
        values: info.storage

        FormRow {
            label: ""

            PushButton {
                small: true
                text: qsTr("Refresh Disk Usage")
                onClicked: info.refreshDiskUsage()
            }
        }
    }
    InfoSection {
        width: parent.width
        title: qsTr("Display")
        values: info.display
    }
    FormSection {
        width: parent.width
        title: qsTr("Advanced")

        FormRow {
            label: qsTr("Boot")
            value: qsTr("EFI")
        }
        Item {
            width: parent.width
            height: logs.implicitHeight + logLabel.implicitHeight + 2 * Theme.mediumSpacing + 4

            Divider {
                x: Theme.spacing
                width: parent.width - Theme.spacing
            }
            Label {
                id: logLabel

                x: Theme.spacing
                y: Theme.mediumSpacing
                text: qsTr("Logs")
            }
            Label {
                id: logs

                anchors.top: logLabel.bottom
                anchors.topMargin: 4
                x: Theme.spacing
                width: parent.width - 2 * Theme.spacing
                wrapMode: Text.WrapAnywhere
                text: info.recentLog
                font.family: Theme.monospaceFamily
                font.pixelSize: Theme.caption
                color: Theme.secondaryText
            }
        }
    }
}
