pragma ComponentBehavior: Bound

import QtQuick
import Kelvo.Components

/// Turns while something is awaited; the label says what.
Column {
    id: root

    required property string text
    property color color: Theme.text

    spacing: Theme.spacing

    Item {
        id: dial

        anchors.horizontalCenter: parent.horizontalCenter
        width: 32
        height: 32

        Repeater {
            model: 8

            Rectangle {
                id: spoke

                required property int index

                x: 14
                y: 0
                width: 4
                height: 9
                radius: 2
                color: root.color
                opacity: 0.15 + 0.85 * spoke.index / 7
                transform: Rotation {
                    origin.x: 2
                    origin.y: 16
                    angle: spoke.index * 45
                }
            }
        }

        RotationAnimator on rotation {
            from: 0
            to: 360
            duration: 1000
            loops: Animation.Infinite
            running: root.visible && Appearance.animated
        }
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
