import QtQuick

/// A symbol before a short text, in one colour.
Text {
    id: root

    required property string symbol
    property int pixelSize: Theme.caption

    height: Math.max(Theme.smallSymbol, implicitHeight)
    leftPadding: Theme.smallSymbol + Theme.smallSpacing
    verticalAlignment: Text.AlignVCenter
    textFormat: Text.PlainText
    font.pixelSize: pixelSize
    color: Theme.secondaryText
    elide: Text.ElideRight
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Symbol {
        y: Math.round((parent.height - height) / 2)
        name: root.symbol
        color: root.color
    }
}
