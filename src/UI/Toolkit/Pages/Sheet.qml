import QtQuick
import QtQuick.Templates as T
import Kelvo.Toolkit

/// A modal panel inside its window, over the dimmed rest; smaller where the window is.
T.Dialog {
    id: root

    property real preferredWidth: Theme.scaled(620)
    property real preferredHeight: Theme.scaled(520)
    property bool dismissible: true

    parent: T.Overlay.overlay
    anchors.centerIn: parent
    width: parent ? Math.min(preferredWidth, parent.width - 2 * Theme.spacing) : preferredWidth
    height: parent ? Math.min(preferredHeight, parent.height - 2 * Theme.spacing) : preferredHeight
    modal: true
    focus: true
    closePolicy: dismissible ? T.Popup.CloseOnEscape : T.Popup.NoAutoClose

    T.Overlay.modal: Rectangle {
        color: Theme.dim

        Behavior on opacity {
            NumberAnimation {
                duration: Theme.transition
            }
        }
    }

    readonly property WheelPassage wheelPassage: WheelPassage {
        content: root.contentItem
    }

    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: Theme.transition
            easing.type: Easing.OutCubic
        }
        NumberAnimation {
            property: "scale"
            from: 0.97
            to: 1
            duration: Theme.transition
            easing.type: Easing.OutCubic
        }
    }

    exit: Transition {
        NumberAnimation {
            property: "opacity"
            to: 0
            duration: Theme.quick
        }
    }

    background: Rectangle {
        radius: Theme.groupRadius
        color: Theme.windowBackground
        border.width: 1
        border.color: Theme.popupBorder
    }
}
