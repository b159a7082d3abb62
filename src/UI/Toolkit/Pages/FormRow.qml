import QtQuick

/// A label with its value or control at the other end.
Item {
    id: root

    required property string label
    property string value: ""
    property bool elidesInMiddle: false
    property bool announcesLabel: true
    default property alias control: slot.data

    width: parent ? parent.width : 0
    height: Math.max(Theme.rowHeight, slot.childrenRect.height + 14)

    Divider {
        visible: root.y > 0
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacing
        width: parent.width - Theme.spacing
    }

    Label {
        id: labelItem

        anchors.left: parent.left
        anchors.leftMargin: Theme.spacing
        width: Math.min(implicitWidth, root.width - slot.childrenRect.width - 3 * Theme.spacing)
        anchors.verticalCenter: parent.verticalCenter
        text: root.label
        color: root.enabled ? Theme.text : Theme.disabledText
        Accessible.ignored: !root.announcesLabel || root.label === "" || root.value !== ""
    }

    Label {
        visible: root.value !== ""
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacing
        anchors.left: labelItem.right
        anchors.leftMargin: Theme.spacing
        anchors.verticalCenter: parent.verticalCenter
        horizontalAlignment: Text.AlignRight
        text: root.value
        color: Theme.secondaryText
        elide: root.elidesInMiddle ? Text.ElideMiddle : Text.ElideRight
        Accessible.name: root.label + ": " + root.value
    }

    Item {
        id: slot

        anchors.right: parent.right
        anchors.rightMargin: Theme.spacing
        anchors.verticalCenter: parent.verticalCenter
        width: childrenRect.width
        height: childrenRect.height
    }
}
