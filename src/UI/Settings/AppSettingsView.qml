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

        Item {
            visible: info.installHint !== ""
            width: parent.width
            height: visible ? hint.implicitHeight + copy.height + 3 * Theme.mediumSpacing : 0

            Label {
                id: hint

                anchors.left: parent.left
                anchors.leftMargin: Theme.spacing
                y: Theme.mediumSpacing
                width: parent.width - 2 * Theme.spacing
                wrapMode: Text.Wrap
                text: info.installHint
                font.pixelSize: Theme.caption
                color: Theme.secondaryText
            }
            PushButton {
                id: copy

                anchors.top: hint.bottom
                anchors.topMargin: Theme.mediumSpacing
                anchors.left: parent.left
                anchors.leftMargin: Theme.spacing
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

        Item {
            width: parent.width
            height: log.implicitHeight + copyLog.height + 3 * Theme.mediumSpacing

            TextBlock {
                id: log

                anchors.left: parent.left
                anchors.leftMargin: Theme.spacing
                y: Theme.mediumSpacing
                width: parent.width - 2 * Theme.spacing
                wrapMode: TextEdit.WrapAnywhere
                text: info.diagnostics
                font.family: Theme.monospaceFamily
                font.pixelSize: Theme.caption
                color: Theme.secondaryText
            }
            PushButton {
                id: copyLog

                anchors.top: log.bottom
                anchors.topMargin: Theme.mediumSpacing
                anchors.left: parent.left
                anchors.leftMargin: Theme.spacing
                small: true
                text: qsTr("Copy Diagnostics")
                onClicked: info.copyDiagnostics()
            }
        }
    }

    onVisibleChanged: if (visible) info.refresh()
}
