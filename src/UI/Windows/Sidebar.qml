pragma ComponentBehavior: Bound

import QtQuick
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

/// The sections of the main window; there is always one selected.
Rectangle {
    id: root

    color: Theme.sidebarBackground

    ListView {
        id: list

        anchors.fill: parent
        anchors.margins: Theme.smallSpacing
        spacing: 2
        model: AppState.sectionTitles
        currentIndex: AppState.selectedSection
        activeFocusOnTab: true
        keyNavigationEnabled: true
        interactive: contentHeight > height
        highlightMoveDuration: 0
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Sidebar")
        Accessible.focusable: true
        Keys.onUpPressed: list.choose(list.currentIndex - 1)
        Keys.onDownPressed: list.choose(list.currentIndex + 1)

        delegate: SidebarRow {
            id: row

            required property string modelData
            required property int index

            width: list.width
            text: modelData
            symbol: AppState.sectionSymbols[index]
            highlighted: AppState.selectedSection === index
            Accessible.selectable: true
            Accessible.selected: highlighted
            onClicked: AppState.selectedSection = index

            FocusRing {
                visible: list.activeFocus && row.highlighted
                controlRadius: Theme.rowRadius
                anchors.margins: 0
                radius: Theme.rowRadius
            }
        }

        function choose(index: int): void {
            const row = list.itemAtIndex(index) as SidebarRow;
            if (row)
                row.clicked();
        }
    }
}
