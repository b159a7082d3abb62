import QtQuick

/// Turns while something is awaited; the label says what.
Column {
    id: root

    required property string text
    property color color: Theme.text

    spacing: Theme.spacing

    Spinner {
        anchors.horizontalCenter: parent.horizontalCenter
        color: root.color
    }

    Label {
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(implicitWidth, Theme.scaled(480))
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        text: root.text
        color: root.color
    }
}
