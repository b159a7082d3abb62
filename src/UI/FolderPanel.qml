import QtQuick
import QtQuick.Dialogs

/// The desktop's panel for one folder.
Item {
    id: root

    property string title: ""

    signal picked(file: url)

    FolderDialog {
        id: dialog

        title: root.title
        onAccepted: root.picked(selectedFolder)
    }

    Component.onCompleted: dialog.open()
}
