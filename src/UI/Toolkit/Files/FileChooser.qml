import QtQuick
import Kelvo.Toolkit

/// Asks for one file or folder: with the desktop's own panel, or with ours where there is none.
Item {
    id: root

    required property string title
    property bool picksFolder: false
    property url startFolder
    property list<string> patterns: []

    signal picked(file: url)

    FileChooserPortal {
        id: portal

        onPicked: file => root.picked(file)
        onUnavailable: panel.setSource("FilePanel.qml", {
            title: root.title,
            picksFolder: root.picksFolder,
            startFolder: root.startFolder,
            patterns: root.patterns
        })
    }

    Loader {
        id: panel
    }

    Connections {
        target: panel.item
        ignoreUnknownSignals: true

        function onPicked(file: url): void {
            root.picked(file);
        }
        function onClosed(): void {
            panel.source = "";
        }
    }

    function open(): void {
        portal.open(root.Window.window, root.title, root.startFolder, root.picksFolder, root.patterns);
    }
}
