pragma ComponentBehavior: Bound

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
            text: qsTr("Summary")
            font.pixelSize: Theme.title2
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        Column {
            width: parent.width
            spacing: Theme.smallSpacing

            Repeater {
                model: root.wizard.summaryRows

                Item {
                    id: row

                    required property labeledValue modelData

                    width: parent ? parent.width : 0
                    height: value.implicitHeight

                    Label {
                        anchors.left: parent.left
                        width: Theme.scaled(120)
                        text: row.modelData.label
                        color: Theme.secondaryText
                        Accessible.ignored: true
                    }
                    Label {
                        id: value

                        anchors.left: parent.left
                        anchors.leftMargin: Theme.scaled(120)
                        anchors.right: parent.right
                        wrapMode: Text.Wrap
                        elide: Text.ElideNone
                        text: row.modelData.value
                        Accessible.name: row.modelData.label + ": " + row.modelData.value
                    }
                }
            }
        }
        Label {
            width: parent.width
            visible: text !== ""
            wrapMode: Text.Wrap
            text: root.wizard.summaryHint
            font.pixelSize: Theme.caption
            color: Theme.secondaryText
        }
        Toggle {
            width: parent.width
            focus: true
            visible: root.wizard.offersInstallation
            text: qsTr("Start installation after creating the virtual machine")
            checked: root.wizard.draft.startsInstallation
            onToggled: root.wizard.draft.startsInstallation = checked
        }
    }
}
