import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

/// In place of the list while it is empty.
ContentUnavailableView {
    label: qsTr("No Virtual Machines")
    symbol: "desktopcomputer.trianglebadge.exclamationmark"
    description: qsTr("Create a virtual machine to run Windows 11 ARM64 or other ARM64 operating systems.")

    PushButton {
        text: qsTr("New Virtual Machine")
        symbol: "plus"
        prominent: true
        onClicked: AppState.showingCreateVM = true
    }
}
