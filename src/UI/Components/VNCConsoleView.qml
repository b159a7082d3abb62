import QtQuick
import Kelvo.Components

/// The screen behind a VNC server, scaled to fit on black, with its keys and pointer; until there is a picture,
/// what it waits for.
Rectangle {
    id: root

    required property string host
    required property int port
    /// The connection is there while this is true.
    property bool active: true

    /// Keys and pointer go to the guest.
    property bool inputEnabled: true

    /// The guest's screen has given the keyboard back: the focus should go elsewhere.
    signal keyboardReleased

    /// Until the user gives the keyboard back, also while the screen is gone for a moment.
    property bool wantsKeyboard: false

    /// Keys go to the guest now.
    readonly property bool hasKeyboard: screen.hasKeyboard
    readonly property bool hasPicture: screen.implicitWidth > 0

    color: Theme.screen
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("VM display")

    VNCClient {
        id: vnc
    }

    VNCInputConnection {
        id: vncInput

        onSizeKnown: vnc.connect(root.host, root.port)
    }

    VNCScreenItem {
        id: screen

        anchors.fill: parent
        visible: root.hasPicture
        client: vnc
        input: vncInput
        inputEnabled: root.inputEnabled
        Accessible.role: Accessible.Graphic
        Accessible.name: qsTr("Guest screen")
        Accessible.focusable: true
        onHasKeyboardChanged: if (hasKeyboard) root.wantsKeyboard = true
        onKeyboardReleased: {
            root.wantsKeyboard = false;
            root.keyboardReleased();
        }
    }

    ProgressIndicator {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.largeSpacing
        visible: !root.hasPicture
        text: vnc.errorMessage !== "" ? vnc.errorMessage : qsTr("Connecting to VM display…")
        color: Theme.screenText
    }

    GuestInputHint {
        screen: screen
        isAvailable: !vncInput.hasFailed
    }

    onHasPictureChanged: if (root.hasPicture && root.wantsKeyboard) screen.forceActiveFocus()
    onActiveChanged: root.follow()
    onPortChanged: if (root.active) root.follow()
    Component.onCompleted: root.follow()
    Component.onDestruction: {
        vncInput.disconnect();
        vnc.disconnect();
    }

    function takeKeyboard(): void {
        root.wantsKeyboard = true;
        screen.forceActiveFocus();
    }

    function follow(): void {
        root.wantsKeyboard = root.active;
        if (root.active) {
            vnc.connect(root.host, root.port);
            vncInput.connect(root.host, root.port);
        } else {
            vncInput.disconnect();
            vnc.disconnect();
        }
    }
}
