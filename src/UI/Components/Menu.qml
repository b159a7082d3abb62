import QtQuick
import QtQuick.Templates as T

T.Menu {
    id: root

    implicitWidth: 268
    implicitHeight: contentHeight + topPadding + bottomPadding
    padding: 5
    margins: 4
    overlap: 0

    delegate: MenuItem {}

    contentItem: ListView {
        implicitHeight: contentHeight
        model: root.contentModel
        interactive: false
        currentIndex: root.currentIndex
    }

    background: PopupBackground {}
}
