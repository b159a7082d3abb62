import QtQuick
import QtQuick.Dialogs
import Kelvo.Toolkit

/// Asks for one file or folder: with the desktop's own panel, or with the library's where there is none.
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
        onUnavailable: root.picksFolder ? folderPanel.open() : filePanel.open()
    }

    FileDialog {
        id: filePanel

        title: root.title
        currentFolder: root.startFolder
        nameFilters: [qsTr("Disk images") + ` (${Array.from(root.patterns).join(" ")})`, qsTr("All files") + " (*)"]
        onAccepted: root.picked(selectedFile)
    }

    FolderDialog {
        id: folderPanel

        title: root.title
        currentFolder: root.startFolder
        onAccepted: root.picked(selectedFolder)
    }

    function open(): void {
        portal.open(root.Window.window, root.title, root.startFolder, root.picksFolder, root.patterns);
    }
}
