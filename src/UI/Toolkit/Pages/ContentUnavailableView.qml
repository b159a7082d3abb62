import QtQuick
import Kelvo.Toolkit

/// Fills a place that has nothing to show: why, and what to do about it.
Item {
    id: root

    required property string label
    required property string symbol
    property string description: ""
    property color foreground: Theme.text
    property color secondaryForeground: Theme.secondaryText
    default property alias actions: actionRow.data

    implicitHeight: content.implicitHeight + 2 * Theme.largeSpacing
    Accessible.role: Accessible.Grouping
    Accessible.name: root.label

    Column {
        id: content

        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.largeSpacing, Theme.scaled(460))
        spacing: Theme.smallSpacing

        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: root.symbol
            size: Theme.heroSymbol
            color: root.secondaryForeground
            opacity: 0.75
        }
        Item {
            width: 1
            height: Theme.tightSpacing
        }
        Label {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: root.label
            font.pixelSize: Theme.title2
            font.weight: Font.DemiBold
            color: root.foreground
            Accessible.role: Accessible.Heading
        }
        Label {
            width: parent.width
            visible: root.description !== ""
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            lineHeight: 1.15
            text: root.description
            color: root.secondaryForeground
        }
        Item {
            width: 1
            height: Theme.smallSpacing
            visible: actionRow.implicitHeight > 0
        }
        Row {
            id: actionRow

            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.smallSpacing
        }
    }
}
