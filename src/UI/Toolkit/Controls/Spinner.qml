pragma ComponentBehavior: Bound

import QtQuick
import Kelvo.Toolkit

/// Turns while something is under way.
Item {
    id: root

    property color color: Theme.text
    property int size: 32

    implicitWidth: size
    implicitHeight: size

    Repeater {
        model: 8

        Rectangle {
            id: spoke

            required property int index

            x: (root.size - width) / 2
            width: root.size / 8
            height: root.size * 9 / 32
            radius: width / 2
            color: root.color
            opacity: 0.15 + 0.85 * spoke.index / 7
            transform: Rotation {
                origin.x: spoke.width / 2
                origin.y: root.size / 2
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
