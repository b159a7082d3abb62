import QtQuick

/// Makes a sheet anew each time it is shown, and lets it go when it has been closed.
Loader {
    id: root

    required property string sheet
    required property bool shown

    signal dismissed

    active: false
    source: root.sheet

    Connections {
        target: root.item
        ignoreUnknownSignals: true

        function onClosed(): void {
            root.dismissed();
            root.active = false;
        }
    }

    onShownChanged: if (shown) active = true
    Component.onCompleted: if (shown) active = true
}
