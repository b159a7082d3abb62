import QtQuick

/// A push button with room for a symbol before its text.
TextButton {
    id: root

    property string symbol: ""

    spacing: Theme.smallSpacing

    contentItem: ButtonContent {
        symbol: root.symbol
        text: root.text
        font: root.font
        color: root.foreground
        spacing: root.spacing
    }
}
