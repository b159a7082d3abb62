import QtQuick
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

FormPage {
    id: root

    title: qsTr("Settings")

    AppInfo {
        id: info

        manager: AppState.vmManager
    }

    InfoSection {
        width: parent.width
        title: qsTr("System Capabilities")
        values: info.capabilities
    }
    InfoSection {
        width: parent.width
        title: qsTr("Recommended Windows VM")
        values: info.recommendation
    }
    InfoSection {
        width: parent.width
        title: qsTr("QEMU Backend (Windows)")
        values: info.qemuStatus

        FormBlock {
            visible: info.installHint !== ""

            Label {
                width: parent.width
                wrapMode: Text.Wrap
                text: info.installHint
                font.pixelSize: Theme.caption
                color: Theme.secondaryText
            }
            PushButton {
                anchors.left: parent.left
                small: true
                text: qsTr("Copy Install Command")
                onClicked: info.copyInstallCommand()
            }
        }
    }
    FormSection {
        width: parent.width
        title: qsTr("Storage")

        FormRow {
            label: qsTr("Default Location")
            value: info.defaultLocation
            elidesInMiddle: true
        }
    }
    FormSection {
        width: parent.width
        title: qsTr("Diagnostics")

        FormBlock {
            TextBlock {
                width: parent.width
                wrapMode: TextEdit.WrapAnywhere
                text: info.diagnostics
                font.family: Theme.monospaceFamily
                font.pixelSize: Theme.caption
                color: Theme.secondaryText
            }
            PushButton {
                anchors.left: parent.left
                small: true
                text: qsTr("Copy Diagnostics")
                onClicked: info.copyDiagnostics()
            }
        }
    }

    onVisibleChanged: if (visible) info.refresh()
}
