import QtQuick
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

AppWindow {
    title: AppState.detailContent === DetailContent.MachineList ? AppState.sectionTitle : "Kelvo"
    width: Math.min(1120, Screen.desktopAvailableWidth)
    height: Math.min(740, Screen.desktopAvailableHeight)
    minimumWidth: Math.min(900, Screen.desktopAvailableWidth)
    minimumHeight: Math.min(600, Screen.desktopAvailableHeight)
    // For the library's panels
    palette {
        window: Theme.popupBackground
        windowText: Theme.text
        light: Theme.popupBackground
        base: Theme.popupBackground
        text: Theme.text
        button: Theme.control
        buttonText: Theme.text
        highlight: Theme.accent
        highlightedText: Theme.accentText
        mid: Theme.cardBorder
        dark: Theme.disabledText
    }

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
