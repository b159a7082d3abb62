import QtQuick
import QtQuick.Templates as T

T.ScrollBar {
    id: root

    Accessible.ignored: true
    implicitWidth: 12
    implicitHeight: 12
    padding: 3
    visible: policy !== T.ScrollBar.AlwaysOff && size < 1
    minimumSize: 0.06

    contentItem: Rectangle {
        implicitWidth: root.interactive ? 6 : 2
        implicitHeight: root.interactive ? 6 : 2
        radius: 3
        color: Theme.scrollHandle
        opacity: root.pressed ? 1 : root.hovered ? 0.85 : root.active ? 0.65 : 0.35
    }
}
