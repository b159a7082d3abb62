import QtQuick
import Kelvo.Components
import Kelvo.UI

Alert {
    title: "Kelvo"
    message: AppState.errorMessage
    visible: AppState.errorMessage !== ""
    secondaryText: qsTr("Show Diagnostics")
    onSecondaryChosen: AppState.showingAppSettings = true
}
