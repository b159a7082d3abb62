import QtQuick
import Kelvo.Toolkit
import Kelvo.UI

AppWindow {
    id: root

    title: qsTr("Settings")
    width: Math.min(720, Screen.desktopAvailableWidth)
    height: Math.min(680, Screen.desktopAvailableHeight)
    minimumWidth: Math.min(420, Screen.desktopAvailableWidth)
    minimumHeight: Math.min(360, Screen.desktopAvailableHeight)

    AppSettingsView {
        anchors.fill: parent
        focus: true
    }

    Shortcut {
        enabled: !root.asksToQuit
        sequences: ["Esc", "Ctrl+W"]
        onActivated: root.close()
    }
}
