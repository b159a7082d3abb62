pragma ComponentBehavior: Bound

import QtQuick
import Kelvo.Toolkit
import Kelvo.UI

/// The page on installing Windows, over whatever has led to it.
Sheet {
    id: root

    required property list<labeledValue> sections

    title: qsTr("Windows on This Computer")
    padding: Theme.largeSpacing

    ScrollPage {
        id: page

        anchors.top: parent.top
        anchors.bottom: done.top
        anchors.bottomMargin: Theme.spacing
        width: parent.width
        contentHeight: column.height

        Column {
            id: column

            width: page.width - Theme.spacing
            spacing: Theme.largeSpacing

            Label {
                width: parent.width
                wrapMode: Text.Wrap
                text: root.title
                font.pixelSize: Theme.title2
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }
            Repeater {
                model: root.sections

                Column {
                    id: section

                    required property labeledValue modelData

                    width: column.width
                    spacing: Theme.tightSpacing

                    Label {
                        visible: text !== ""
                        width: parent.width
                        wrapMode: Text.Wrap
                        text: section.modelData.label
                        font.weight: Font.DemiBold
                        Accessible.role: Accessible.Heading
                    }
                    Repeater {
                        model: section.modelData.value.split("\n\n")

                        TextBlock {
                            required property string modelData

                            width: section.width
                            textFormat: TextEdit.MarkdownText
                            text: modelData
                        }
                    }
                }
            }
        }
    }
    PushButton {
        id: done

        anchors.bottom: parent.bottom
        anchors.right: parent.right
        focus: true
        prominent: true
        text: qsTr("Done")
        onClicked: root.close()
    }
}
