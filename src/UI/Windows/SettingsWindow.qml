import QtQuick
import QtQuick.Templates as T
import Kelvo.Toolkit
import Kelvo.UI

T.ApplicationWindow {
    id: root

    property bool asksToQuit: false

    title: qsTr("Settings")
    width: Math.min(720, Screen.desktopAvailableWidth)
    height: Math.min(680, Screen.desktopAvailableHeight)
    minimumWidth: Math.min(420, Screen.desktopAvailableWidth)
    minimumHeight: Math.min(360, Screen.desktopAvailableHeight)
    color: Theme.windowBackground
    LayoutMirroring.enabled: Theme.mirrored
    LayoutMirroring.childrenInherit: true

    AppSettingsView {
        anchors.fill: parent
        focus: true
    }

    Shortcut {
        enabled: !root.asksToQuit
        sequences: ["Esc", "Ctrl+W"]
        onActivated: root.close()
    }

    HintToolTip {}

    SheetLoader {
        sheet: "QuitAlert.qml"
        shown: root.asksToQuit
        onDismissed: root.asksToQuit = false
    }
}
