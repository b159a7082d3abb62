import QtQuick
import Kelvo.Display
import Kelvo.Toolkit

/// Says over a guest's screen, quietly, where keys go: for a while when that has changed, and as long as the
/// guest cannot be operated.
Rectangle {
    id: root

    required property GuestScreenItem screen
    property bool isAvailable: true

    readonly property bool isFullScreen: root.Window.visibility === Window.FullScreen
    // A guest that is paused takes no keys; the way out of a full screen is said all the same.
    readonly property bool isShown: !root.isAvailable || timer.running && (root.screen.inputEnabled || root.isFullScreen)

    anchors.horizontalCenter: parent.horizontalCenter
    anchors.bottom: parent.bottom
    anchors.bottomMargin: Theme.spacing
    width: Math.min(label.implicitWidth + 2 * Theme.spacing, parent.width - 2 * Theme.spacing)
    height: label.implicitHeight + 2 * Theme.smallSpacing
    radius: height / 2
    visible: opacity > 0 && root.screen.visible
    opacity: root.isShown ? 1 : 0
    color: Theme.hintBackground
    border.color: Theme.hintBorder
    Accessible.role: Accessible.StaticText
    Accessible.name: label.text

    Behavior on opacity {
        NumberAnimation {
            duration: Theme.transition
        }
    }

    Label {
        id: label

        anchors.centerIn: parent
        width: Math.min(implicitWidth, root.parent.width - 4 * Theme.spacing)
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        color: Theme.screenText
        Accessible.ignored: true
        text: {
            if (!root.isAvailable)
                return qsTr("Keyboard and pointer are not available.");
            if (root.screen.hasKeyboard)
                return qsTr("Keys go to the guest. Press Ctrl+Alt to get out.");
            if (root.isFullScreen)
                return qsTr("Press F11 or Escape to leave full screen. Click into the screen to type in the guest.");
            return qsTr("Click into the screen to type in the guest.");
        }
    }

    Timer {
        id: timer

        interval: 4000
    }

    Connections {
        target: root.screen

        function onHasKeyboardChanged(): void {
            timer.restart();
        }
    }
}
