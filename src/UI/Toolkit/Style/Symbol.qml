import QtQuick

/// One of our own drawings in one colour, a square as large as a line of text unless it is told its size.
Image {
    required property string name
    property int size: Theme.smallSymbol
    property color color: "black"

    width: size
    height: size
    source: name === "" ? "" : Theme.symbolSource(name, color)
    sourceSize.width: size
    sourceSize.height: size
}
