import QtQuick

/// A short word in a capsule of its colour.
Rectangle {
    id: root

    required property string text
    required property int tone

    readonly property color toneColor: Theme.toneColor(tone)

    implicitWidth: label.implicitWidth + 16
    implicitHeight: label.implicitHeight + 8
    radius: height / 2
    border.width: Theme.highContrast ? 1 : 0
    border.color: root.toneColor
    color: Qt.rgba(toneColor.r, toneColor.g, toneColor.b, 0.15)
    Accessible.role: Accessible.StaticText
    Accessible.name: root.text

    Text {
        id: label

        anchors.centerIn: parent
        text: root.text
        horizontalAlignment: Text.AlignLeft
        textFormat: Text.PlainText
        font.pixelSize: Theme.caption
        font.weight: Font.DemiBold
        color: root.toneColor
        Accessible.ignored: true
    }
}
