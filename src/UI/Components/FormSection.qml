import QtQuick

/// A titled group of rows.
Column {
    id: root

    property string title: ""
    default property alias rows: column.data

    spacing: Theme.smallSpacing
    Accessible.role: Accessible.Grouping
    Accessible.name: root.title

    Label {
        visible: root.title !== ""
        anchors.left: parent.left
        anchors.leftMargin: Theme.tightSpacing
        width: parent.width - 2 * Theme.tightSpacing
        text: root.title
        font.pixelSize: Theme.subheadline
        font.weight: Font.DemiBold
        color: Theme.secondaryText
        Accessible.role: Accessible.Heading
    }

    Rectangle {
        width: parent.width
        height: column.height
        radius: Theme.groupRadius
        color: Theme.groupBackground
        border.width: 1
        border.color: Theme.cardBorder

        Column {
            id: column

            width: parent.width
        }
    }
}
