import QtQuick
import Kelvo.State
import Kelvo.Toolkit
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
