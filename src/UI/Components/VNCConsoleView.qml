import QtQuick
import Kelvo.Display
import Kelvo.Toolkit

/// The screen behind a VNC server, scaled to fit on black, with its keys and pointer; until there is a picture,
/// what it waits for.
Rectangle {
    id: root

    required property string host
    required property int port
    /// The connection is there while this is true.
    property bool active: true

    /// Where to be connected to; 0 for nowhere.
    readonly property int serverPort: root.active ? root.port : 0

    /// Keys and pointer go to the guest.
    property bool inputEnabled: true

    /// The guest's screen has given the keyboard back: the focus should go elsewhere.
    signal keyboardReleased

    /// Until the user gives the keyboard back, also while the screen is gone for a moment.
    property bool wantsKeyboard: false

    /// Keys go to the guest now.
    readonly property bool hasKeyboard: screen.hasKeyboard
    readonly property bool hasPicture: screen.implicitWidth > 0

    /// What the server has said since the picture was asked for, while that is not there: it may be of another size.
    property size announcedSize

    color: Theme.screen
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("VM display")

    VNCClient {
        id: vnc
    }

    VNCInputConnection {
        id: vncInput

        onSizeKnown: size => {
            root.announcedSize = size;
            root.checkSize();
        }
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

    onHasPictureChanged: {
        if (root.hasPicture && root.wantsKeyboard)
            screen.forceActiveFocus();
        root.checkSize();
    }
    onServerPortChanged: root.follow()
    Component.onDestruction: {
        vncInput.disconnect();
        vnc.disconnect();
    }

    function takeKeyboard(): void {
        root.wantsKeyboard = true;
        screen.forceActiveFocus();
    }

    function connectScreen(): void {
        root.announcedSize = Qt.size(0, 0);
        vnc.connect(root.host, root.serverPort);
    }

    /// Connects anew where that tells another size than the picture's, or where no picture will come; each time blanks the
    /// screen for a moment.
    function checkSize(): void {
        if (root.announcedSize.width <= 0 || (!root.hasPicture && vnc.errorMessage === ""))
            return;
        const isOther = root.announcedSize.width !== screen.implicitWidth || root.announcedSize.height !== screen.implicitHeight;
        root.announcedSize = Qt.size(0, 0);
        if (isOther)
            root.connectScreen();
    }

    function follow(): void {
        root.wantsKeyboard = root.active;
        if (root.serverPort > 0) {
            root.connectScreen();
            vncInput.connect(root.host, root.serverPort);
        } else {
            vncInput.disconnect();
            vnc.disconnect();
        }
    }
}
