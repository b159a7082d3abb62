pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Kelvo.Toolkit

/// One choice out of a few, one row each.
FocusScope {
    id: root

    required property string label
    required property list<string> choices
    property list<string> details: []
    property list<string> symbols: []
    property int currentIndex: 0

    signal activated(index: int)

    implicitWidth: 420
    implicitHeight: column.implicitHeight
    Accessible.role: Accessible.Grouping
    Accessible.name: root.label

    Column {
        id: column

        width: parent.width
        spacing: Theme.smallSpacing

        Repeater {
            id: repeater

            model: root.choices

            T.RadioButton {
                id: row

                required property string modelData
                required property int index

                readonly property string detail: root.details[index] ?? ""

                width: column.width
                height: Math.round(Theme.body * 4.4)
                text: modelData
                checked: root.currentIndex === index
                focus: checked
                activeFocusOnTab: checked
                Accessible.description: detail
                onClicked: root.activated(index)
                Accessible.onPressAction: root.choose(index)
                Accessible.onToggleAction: root.choose(index)
                Keys.onUpPressed: root.choose(index - 1)
                Keys.onDownPressed: root.choose(index + 1)

                contentItem: Item {
                    Symbol {
                        anchors.left: parent.left
                        anchors.leftMargin: Theme.spacing
                        anchors.verticalCenter: parent.verticalCenter
                        name: root.symbols[row.index] ?? ""
                        size: Theme.symbol
                        color: row.checked ? Theme.linkText : Theme.secondaryText
                    }
                    Column {
                        anchors.left: parent.left
                        anchors.leftMargin: Theme.symbol + 2 * Theme.spacing
                        anchors.right: parent.right
                        anchors.rightMargin: 46
                        anchors.verticalCenter: parent.verticalCenter
                        spacing: 2

                        Text {
                            width: parent.width
                            text: row.text
                            horizontalAlignment: Text.AlignLeft
                            textFormat: Text.PlainText
                            font.pixelSize: Theme.body
                            font.weight: Font.DemiBold
                            color: Theme.text
                            elide: Text.ElideRight
                            Accessible.ignored: true
                        }
                        Text {
                            width: parent.width
                            visible: text !== ""
                            text: row.detail
                            horizontalAlignment: Text.AlignLeft
                            textFormat: Text.PlainText
                            font.pixelSize: Theme.subheadline
                            color: Theme.secondaryText
                            elide: Text.ElideRight
                            Accessible.ignored: true
                        }
                    }
                    Rectangle {
                        anchors.right: parent.right
                        anchors.rightMargin: Theme.spacing
                        anchors.verticalCenter: parent.verticalCenter
                        width: 18
                        height: 18
                        radius: 9
                        color: row.checked ? Theme.accent : "transparent"
                        border.width: row.checked ? 0 : 2
                        border.color: Theme.fieldBorder

                        Rectangle {
                            anchors.centerIn: parent
                            width: 8
                            height: 8
                            radius: 4
                            visible: row.checked
                            color: Theme.accentText
                        }
                    }
                }

                background: Rectangle {
                    radius: Theme.groupRadius
                    color: row.checked ? Theme.accentWash : row.down ? Theme.pressedWash
                                       : row.hovered ? Theme.hoverWash : "transparent"
                    border.width: row.checked ? 2 : 1
                    border.color: row.checked ? Theme.focus : Theme.cardBorder

                    FocusRing {
                        visible: row.visualFocus
                        controlRadius: Theme.groupRadius
                    }
                }
            }
        }
    }

    function choose(index: int): void {
        if (index < 0 || index >= root.choices.length)
            return;
        root.activated(index);
        repeater.itemAt(index).forceActiveFocus(Qt.TabFocusReason);
    }
}
