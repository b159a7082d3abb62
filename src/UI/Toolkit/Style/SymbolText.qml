import QtQuick
import Kelvo.Toolkit

/// A symbol before a short text, in one colour.
Text {
    id: root

    required property string symbol
    property int pixelSize: Theme.caption

    readonly property int symbolPadding: Theme.smallSymbol + Theme.smallSpacing

    height: Math.max(Theme.smallSymbol, implicitHeight)
    leftPadding: Theme.mirrored ? 0 : root.symbolPadding
    rightPadding: Theme.mirrored ? root.symbolPadding : 0
    horizontalAlignment: Text.AlignLeft
    verticalAlignment: Text.AlignVCenter
    textFormat: Text.PlainText
    font.pixelSize: pixelSize
    color: Theme.secondaryText
    elide: Text.ElideRight
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Symbol {
        anchors.left: parent.left
        y: Math.round((parent.height - height) / 2)
        name: root.symbol
        color: root.color
    }
}
