pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/// One choice out of a few, all of them visible side by side.
FocusScope {
    id: root

    required property string label
    required property list<string> segments
    property int currentIndex: 0

    signal activated(index: int)

    readonly property real segmentWidth: (root.width - 4) / Math.max(1, root.segments.length)

    implicitHeight: Theme.controlHeight
    implicitWidth: 420
    Accessible.role: Accessible.Grouping
    Accessible.name: root.label

    Rectangle {
        anchors.fill: parent
        radius: Theme.rowRadius
        color: Theme.track
    }

    Rectangle {
        x: 2 + (Theme.mirrored ? root.segments.length - 1 - root.currentIndex : root.currentIndex) * root.segmentWidth
        y: 2
        width: root.segmentWidth
        height: parent.height - 4
        radius: Theme.rowRadius - 2
        color: Theme.dark ? Theme.controlHovered : Theme.control
        border.width: 1
        border.color: Theme.separator

        Behavior on x {
            NumberAnimation {
                duration: Theme.transition
                easing.type: Easing.OutCubic
            }
        }
    }

    Row {
        anchors.left: parent.left
        anchors.leftMargin: 2
        y: 2

        Repeater {
            id: repeater

            model: root.segments

            T.RadioButton {
                id: segment

                required property string modelData
                required property int index

                width: root.segmentWidth
                height: root.height - 4
                text: modelData
                checked: root.currentIndex === index
                font.pixelSize: Theme.body
                font.weight: checked ? Font.DemiBold : Font.Normal
                onClicked: root.activated(index)
                Accessible.onPressAction: root.choose(index)
                Accessible.onToggleAction: root.choose(index)
                Keys.onLeftPressed: root.choose(Theme.mirrored ? index + 1 : index - 1)
                Keys.onRightPressed: root.choose(Theme.mirrored ? index - 1 : index + 1)
                focus: checked
                activeFocusOnTab: checked

                contentItem: Text {
                    text: segment.text
                    textFormat: Text.PlainText
                    font: segment.font
                    color: segment.checked || segment.hovered ? Theme.text : Theme.secondaryText
                    elide: Text.ElideRight
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                    Accessible.ignored: true
                }

                background: Item {
                    FocusRing {
                        visible: segment.visualFocus
                        controlRadius: Theme.rowRadius - 2
                    }
                }
            }
        }
    }

    function choose(index: int): void {
        if (index < 0 || index >= root.segments.length)
            return;
        root.activated(index);
        repeater.itemAt(index).forceActiveFocus(Qt.TabFocusReason);
    }
}
