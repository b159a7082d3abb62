import QtQuick

/// What fills a form's section over its whole width, one below the other.
Item {
    id: root

    property alias spacing: column.spacing
    default property alias content: column.data

    width: parent?.width ?? 0
    implicitHeight: column.implicitHeight + 2 * Theme.mediumSpacing

    Column {
        id: column

        anchors.left: parent.left
        anchors.leftMargin: Theme.spacing
        y: Theme.mediumSpacing
        width: root.width - 2 * Theme.spacing
        spacing: Theme.mediumSpacing
    }
}
