import QtQuick

/// The frame around a control that has the keyboard.
Rectangle {
    id: root

    property real controlRadius: Theme.controlRadius

    anchors.fill: parent
    anchors.margins: -3
    radius: controlRadius + 3
    color: "transparent"
    border.color: Theme.focus
    border.width: 2
}
