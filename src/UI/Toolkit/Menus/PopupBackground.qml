import QtQuick

/// The surface of menus and drop-down lists.
Rectangle {
    radius: Theme.rowRadius + 2
    color: Theme.popupBackground
    border.width: 1
    border.color: Theme.popupBorder

    Repeater {
        model: 3

        Rectangle {
            required property int index

            z: -1
            anchors.fill: parent
            anchors.margins: -1 - index
            anchors.topMargin: 1 - index
            anchors.bottomMargin: -2 - index
            radius: Theme.rowRadius + 3 + index
            color: "transparent"
            border.width: 1
            border.color: Theme.shadow
            opacity: 0.6 - 0.2 * index
        }
    }
}
