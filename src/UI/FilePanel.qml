import QtQuick
import QtQuick.Dialogs

/// The desktop's panel for one existing file.
Item {
    id: root

    property string title: ""

    signal picked(file: url)

    FileDialog {
        id: dialog

        title: root.title
        fileMode: FileDialog.OpenFile
        nameFilters: [qsTr("Disk images (*.iso *.img *.dmg *.raw)"), qsTr("All files (*)")]
        onAccepted: root.picked(selectedFile)
    }

    Component.onCompleted: dialog.open()
}
