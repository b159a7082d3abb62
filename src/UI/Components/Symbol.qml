import QtQuick

/// A symbol of the catalogue, tinted.
Image {
    id: root

    required property string name
    property int size: Theme.smallSymbol
    property color color: Theme.text

    width: size
    height: size
    sourceSize.width: size
    sourceSize.height: size
    source: name === "" ? "" : "image://symbol/" + name + "/" + size + "/" + color
    Accessible.ignored: true
}
