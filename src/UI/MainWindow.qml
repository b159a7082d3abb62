import QtQuick
import QtQuick.Templates as T
import Kelvo.Components
import Kelvo.UI

T.ApplicationWindow {
    id: root

    title: AppState.detailContent === DetailContent.MachineList ? AppState.sectionTitle : "Kelvo"
    width: 1120
    height: 740
    minimumWidth: Math.min(900, Screen.desktopAvailableWidth)
    minimumHeight: Math.min(600, Screen.desktopAvailableHeight)
    color: Theme.windowBackground

    menuBar: MainMenuBar {}

    ContentView {
        anchors.fill: parent
        focus: true
    }

    SheetLoader {
        sheet: "CreateVMView.qml"
        shown: AppState.showingCreateVM
        onDismissed: AppState.showingCreateVM = false
    }

    SheetLoader {
        sheet: "ErrorAlert.qml"
        shown: AppState.errorMessage !== ""
        onDismissed: AppState.errorMessage = ""
    }
}
