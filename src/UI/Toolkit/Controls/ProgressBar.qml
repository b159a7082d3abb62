import QtQuick
import QtQuick.Templates as T

T.ProgressBar {
    id: root

    implicitWidth: 200
    implicitHeight: 4

    contentItem: Item {
        Rectangle {
            anchors.left: parent.left
            width: root.position * parent.width
            height: parent.height
            color: Theme.accent
            radius: root.background ? 0 : height / 2

            Behavior on width {
                NumberAnimation {
                    duration: Theme.transition
                    easing.type: Easing.OutCubic
                }
            }
        }
    }

    background: Rectangle {
        color: Theme.track
    }
}
