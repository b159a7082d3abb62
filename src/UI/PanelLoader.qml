import QtQuick

/// Makes a file or folder panel when it is asked for: its toolkit module costs time at start-up.
Loader {
    id: root

    required property string panel
    required property string title

    signal picked(file: url)

    Connections {
        target: root.item
        ignoreUnknownSignals: true

        function onPicked(file: url): void {
            root.picked(file);
        }
    }

    function open(): void {
        root.source = "";
        root.setSource(root.panel, {title: root.title});
    }
}
