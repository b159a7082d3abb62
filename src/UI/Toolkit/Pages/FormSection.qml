import QtQuick

/// A titled group of rows, with a note below them where there is something to say.
Column {
    id: root

    property string title: ""
    property string note: ""
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

    Label {
        visible: root.note !== ""
        anchors.left: parent.left
        anchors.leftMargin: Theme.tightSpacing
        width: parent.width - 2 * Theme.tightSpacing
        wrapMode: Text.Wrap
        text: root.note
        font.pixelSize: Theme.caption
        color: Theme.secondaryText
    }
}
