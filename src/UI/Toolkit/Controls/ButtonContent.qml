import QtQuick
import Kelvo.Toolkit

/// A symbol, a text, or both, in the middle of a button.
Item {
    id: root

    required property string symbol
    required property string text
    required property font font
    required property color color
    property int spacing: Theme.smallSpacing

    readonly property int textStart: symbol === "" ? 0 : Theme.smallSymbol + (text === "" ? 0 : spacing)

    implicitWidth: textStart + (text === "" ? 0 : label.implicitWidth)
    implicitHeight: label.implicitHeight

    Item {
        anchors.centerIn: parent
        width: Math.min(root.implicitWidth, root.width)
        height: root.height

        Symbol {
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            name: root.symbol
            color: root.color
        }

        Text {
            id: label

            anchors.left: parent.left
            anchors.leftMargin: root.textStart
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            horizontalAlignment: Text.AlignLeft
            textFormat: Text.PlainText
            font: root.font
            color: root.color
            elide: Text.ElideRight
            Accessible.ignored: true
        }
    }
}
