pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

/// The machines as a grid of cards.
Item {
    id: root

    required property VMListModel machines
    required property AdaptiveGrid columns

    readonly property int padding: Theme.largeSpacing

    Binding {
        target: root.columns
        property: "availableWidth"
        value: root.width - 2 * root.padding
    }

    Loader {
        anchors.fill: parent
        anchors.margins: root.padding
        active: root.machines.count === 0
        source: "NoMachinesView.qml"
    }

    GridView {
        id: grid

        anchors.fill: parent
        visible: count > 0
        clip: true
        model: root.machines
        topMargin: root.padding
        bottomMargin: root.padding - root.columns.spacing
        // The cells share the width, and the cards stand in the middle of it: with margins of its own the view may count
        // its columns by what these were before.
        cellWidth: Math.floor(width / root.columns.columns)
        cellHeight: cardHeight + root.columns.spacing
        cacheBuffer: 120 // a notch of the wheel
        reuseItems: true
        activeFocusOnTab: true
        keyNavigationEnabled: true
        boundsBehavior: Flickable.StopAtBounds
        currentIndex: -1
        T.ScrollBar.vertical: ScrollBar {}
        Accessible.role: Accessible.List
        Accessible.name: AppState.sectionTitle
        Accessible.focusable: true

        readonly property real cardPitch: root.columns.columnWidth + root.columns.spacing
        readonly property real sideMargin: Math.floor((width - root.columns.columns * cardPitch + root.columns.spacing) / 2)
        readonly property int cardHeight: 2 * Theme.spacing + Math.round(Theme.title3 * 1.35)
                                          + Math.round(Theme.body * 1.3)
                                          + 2 * Math.max(20, Math.round(Theme.body * 1.4)) + 6
                                          + 3 * Math.round(Theme.body * 1.45)
                                          + 3 * Theme.mediumSpacing
                                          + 2 * Theme.smallControlHeight + Theme.smallSpacing

        property bool isKeyboardUsed: true
        /// While the list gets the keyboard, which selects nothing; keys do.
        property bool isEntered: false

        Keys.onPressed: isKeyboardUsed = true
        Keys.onSpacePressed: root.selectCurrent()
        onActiveFocusChanged: {
            if (activeFocus && currentIndex < 0) {
                isEntered = true;
                currentIndex = 0;
                isEntered = false;
            }
        }
        onCurrentIndexChanged: if (activeFocus && !isEntered) root.selectCurrent()
        Keys.onReturnPressed: root.openCurrent()
        Keys.onEnterPressed: root.openCurrent()

        delegate: Item {
            id: cell

            required property VirtualMachine vm
            required property int index

            width: grid.cellWidth
            height: grid.cellHeight

            VMCardView {
                anchors.left: parent.left
                anchors.leftMargin: grid.sideMargin + cell.index % root.columns.columns * (grid.cardPitch - grid.cellWidth)
                width: root.columns.columnWidth
                height: grid.cardHeight
                vm: cell.vm
                selected: AppState.selectedVM === cell.vm
                current: cell.GridView.isCurrentItem
                showsFocus: grid.activeFocus && grid.isKeyboardUsed && current
                onTapped: {
                    grid.isKeyboardUsed = false;
                    grid.forceActiveFocus(Qt.MouseFocusReason);
                }
            }
        }

        Connections {
            target: AppState

            function onSelectedVMChanged(): void {
                grid.currentIndex = root.machines.rowOf(AppState.selectedVM);
            }
        }

        Component.onCompleted: currentIndex = root.machines.rowOf(AppState.selectedVM)
    }

    function selectCurrent(): void {
        AppState.select(root.machines.machineAt(grid.currentIndex));
    }

    function openCurrent(): void {
        const vm = root.machines.machineAt(grid.currentIndex);
        if (vm)
            AppState.showConsole(vm);
    }
}
