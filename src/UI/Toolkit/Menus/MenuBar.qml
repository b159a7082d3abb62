import QtQuick
import QtQuick.Templates as T

T.MenuBar {
    id: root

    implicitWidth: contentWidth + leftPadding + rightPadding
    implicitHeight: Theme.menuBarHeight
    padding: Theme.tightSpacing
    Accessible.name: qsTr("Menu bar")

    delegate: MenuBarItem {}

    contentItem: Row {
        spacing: 2

        Repeater {
            model: root.contentModel
        }
    }

    background: Rectangle {
        color: Theme.sidebarBackground
    }
}
