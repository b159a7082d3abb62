import QtQuick
import Kelvo.Components

/// The screen behind a VNC server, scaled to fit on black; until there is a picture, what it waits for.
Rectangle {
    id: root

    required property string host
    required property int port
    /// The connection is there while this is true.
    property bool active: true

    readonly property bool hasPicture: screen.implicitWidth > 0

    color: Theme.screen
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("VM display")

    VNCClient {
        id: vnc
    }

    VNCSizeWatch {
        id: sizeWatch

        onSizeKnown: vnc.connect(root.host, root.port)
    }

    VNCScreenItem {
        id: screen

        anchors.fill: parent
        visible: root.hasPicture
        client: vnc
        Accessible.role: Accessible.Graphic
        Accessible.name: qsTr("Guest screen")
    }

    ProgressIndicator {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.largeSpacing
        visible: !root.hasPicture
        text: vnc.errorMessage !== "" ? vnc.errorMessage : qsTr("Connecting to VM display…")
        color: Theme.screenText
    }

    onActiveChanged: root.follow()
    onPortChanged: if (root.active) root.follow()
    Component.onCompleted: root.follow()
    Component.onDestruction: vnc.disconnect()

    function follow(): void {
        if (root.active) {
            vnc.connect(root.host, root.port);
            sizeWatch.watch(root.host, root.port);
        } else {
            sizeWatch.stop();
            vnc.disconnect();
        }
    }
}
