import QtQuick
import QtQuick.Templates as T
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

/// The main window's content: the sidebar and what its selection shows.
SidebarSplitView {
    id: root

    Sidebar {
        T.SplitView.minimumWidth: Theme.scaled(180)
        T.SplitView.preferredWidth: Theme.scaled(210)
    }

    Rectangle {
        T.SplitView.fillWidth: true
        T.SplitView.minimumWidth: Math.max(320, Math.min(720, root.width - Theme.scaled(180) - 1))
        color: Theme.windowBackground

        Item {
            id: header

            width: parent.width
            height: Theme.headerHeight

            Label {
                anchors.left: parent.left
                anchors.leftMargin: Theme.largeSpacing
                anchors.right: newButton.left
                anchors.rightMargin: Theme.spacing
                anchors.verticalCenter: parent.verticalCenter
                text: AppState.detailContent === DetailContent.MachineSettings ? qsTr("VM Settings") : AppState.sectionTitle
                font.pixelSize: Theme.title3
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }
            PushButton {
                id: newButton

                anchors.right: parent.right
                anchors.rightMargin: Theme.largeSpacing
                anchors.verticalCenter: parent.verticalCenter
                visible: AppState.detailContent === DetailContent.MachineList
                symbol: "plus"
                text: qsTr("New Virtual Machine")
                onClicked: AppState.showingCreateVM = true
            }
        }

        Divider {
            anchors.top: header.bottom
            width: parent.width
        }

        Loader {
            id: detail

            anchors.top: header.bottom
            anchors.topMargin: 1
            anchors.bottom: parent.bottom
            width: parent.width
        }
    }

    Component {
        id: machineList

        VMListView {
            machines: VMListModel {
                source: AppState
            }
            columns: AdaptiveGrid {
                minimumColumnWidth: Theme.scaled(320)
                maximumColumnWidth: Theme.scaled(420)
                spacing: 16
            }
        }
    }
    Connections {
        target: AppState

        function onDetailContentChanged(): void {
            root.showDetail();
        }
        function onSelectedVMChanged(): void {
            if (AppState.detailContent === DetailContent.MachineSettings)
                root.showDetail();
        }
    }

    Component.onCompleted: {
        if (Theme.mirrored)
            root.moveItem(0, 1);
        root.showDetail();
    }

    function showDetail(): void {
        switch (AppState.detailContent) {
        case DetailContent.MachineList:
            detail.sourceComponent = machineList;
            break;
        case DetailContent.Downloads:
            detail.setSource("DownloadsPlaceholderView.qml");
            break;
        case DetailContent.MachineSettings:
            detail.setSource("VMSettingsView.qml", {vm: AppState.selectedVM, showsTitle: false});
            break;
        case DetailContent.ApplicationSettings:
            detail.setSource("AppSettingsView.qml", {showsTitle: false});
            break;
        }
    }
}
