import QtQuick
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

Alert {
    title: "Kelvo"
    message: AppState.errorMessage
    visible: AppState.errorMessage !== ""
    secondaryText: qsTr("Show Diagnostics")
    onSecondaryChosen: AppState.showingAppSettings = true
}
