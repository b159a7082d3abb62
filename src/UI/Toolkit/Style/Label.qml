import QtQuick

/// A text in the running font, announced as it stands.
Text {
    id: root

    horizontalAlignment: Text.AlignLeft
    color: Theme.text
    font.pixelSize: Theme.body
    textFormat: Text.PlainText
    elide: Text.ElideRight
    Accessible.role: Accessible.StaticText
    Accessible.name: root.text
}
