import QtQuick

/// A symbol before a short text, in one colour.
Item {
    id: root

    required property string symbol
    required property string text
    property int pixelSize: Theme.caption
    property color color: Theme.secondaryText

    implicitWidth: label.x + label.implicitWidth
    implicitHeight: Math.max(Theme.smallSymbol, label.implicitHeight)

    Symbol {
        anchors.verticalCenter: parent.verticalCenter
        name: root.symbol
        color: root.color
    }

    Text {
        id: label

        x: Theme.smallSymbol + 7
        width: parent.width - x
        anchors.verticalCenter: parent.verticalCenter
        text: root.text
        textFormat: Text.PlainText
        font.pixelSize: root.pixelSize
        color: root.color
        elide: Text.ElideRight
        Accessible.role: Accessible.StaticText
        Accessible.name: root.text
    }
}
