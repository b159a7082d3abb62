import QtQuick

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
            anchors.verticalCenter: parent.verticalCenter
            name: root.symbol
            color: root.color
        }

        Text {
            id: label

            x: root.textStart
            width: parent.width - x
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            textFormat: Text.PlainText
            font: root.font
            color: root.color
            elide: Text.ElideRight
            Accessible.ignored: true
        }
    }
}
