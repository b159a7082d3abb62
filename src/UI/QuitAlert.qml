import QtQuick
import Kelvo.Components
import Kelvo.UI

/// Asks before Kelvo quits while machines run.
Alert {
    title: qsTr("Quit Kelvo?")
    message: AppState.quitNotice()
    acceptText: qsTr("Quit")
    secondaryText: qsTr("Cancel")
    visible: true
    onAccepted: AppState.confirmQuit()
}
