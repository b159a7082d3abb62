import QtQuick
import QtQuick.Templates as T

/// Two panes with a hairline between them that can be dragged.
T.SplitView {
    orientation: Qt.Horizontal

    handle: Rectangle {
        id: handleLine

        implicitWidth: 1
        color: T.SplitHandle.pressed ? Theme.focus : Theme.separator
        containmentMask: Item {
            x: -4
            width: 9
            height: handleLine.height
        }
    }
}
