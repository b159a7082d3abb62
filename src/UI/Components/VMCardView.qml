import QtQuick
import Kelvo.State
import Kelvo.Toolkit
import Kelvo.UI

/// One machine: what it is, how it stands, and what can be done with it.
Item {
    id: root

    required property VirtualMachine vm
    property bool selected: false
    property bool current: false
    property bool showsFocus: false

    signal tapped

    Accessible.role: Accessible.ListItem
    Accessible.name: presenter.shown.name
    Accessible.description: presenter.shown.guestName + ", " + presenter.shown.stateText
    Accessible.selectable: true
    Accessible.selected: selected
    Accessible.onPressAction: AppState.select(root.vm)

    VMPresenter {
        id: presenter

        vm: root.vm
    }

    TapHandler {
        onTapped: {
            AppState.select(root.vm);
            root.tapped();
        }
        onDoubleTapped: AppState.showConsole(root.vm)
    }

    HoverHandler {
        id: hover
    }

    Rectangle {
        anchors.fill: parent
        anchors.topMargin: 1
        anchors.bottomMargin: -1
        radius: Theme.cardRadius
        color: Theme.shadow
        visible: !root.selected
    }

    Rectangle {
        anchors.fill: parent
        radius: Theme.cardRadius
        color: Theme.cardBackground
        border.width: root.selected ? 2 : 1
        border.color: root.selected ? Theme.focus : hover.hovered ? Theme.popupBorder : Theme.cardBorder
    }

    Loader {
        anchors.fill: parent
        active: root.showsFocus

        sourceComponent: FocusRing {
            controlRadius: Theme.cardRadius
        }
    }

    Text {
        id: name

        anchors.left: parent.left
        anchors.leftMargin: Theme.spacing
        y: Theme.spacing
        anchors.right: badge.left
        anchors.rightMargin: Theme.smallSpacing
        text: presenter.shown.name
        horizontalAlignment: Text.AlignLeft
        textFormat: Text.PlainText
        font.pixelSize: Theme.title3
        font.weight: Font.DemiBold
        color: Theme.text
        elide: Text.ElideRight
        maximumLineCount: 1
        Accessible.ignored: true
    }

    Text {
        id: guest

        anchors.top: name.bottom
        anchors.topMargin: 1
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacing
        width: name.width
        text: presenter.shown.guestName
        horizontalAlignment: Text.AlignLeft
        textFormat: Text.PlainText
        font.pixelSize: Theme.subheadline
        color: Theme.secondaryText
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    VMStateBadge {
        id: badge

        anchors.right: parent.right
        anchors.rightMargin: Theme.spacing
        y: Theme.spacing
        presenter: presenter
    }

    Grid {
        id: facts

        anchors.top: guest.bottom
        anchors.topMargin: Theme.mediumSpacing
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacing
        columns: 2
        columnSpacing: Theme.spacing
        rowSpacing: 6

        SymbolText {
            width: Math.max(implicitWidth, Theme.scaled(104)) // so that cards side by side are alike
            symbol: "cpu"
            text: presenter.shown.architecture
            pixelSize: Theme.subheadline
        }
        SymbolText {
            symbol: "square.grid.2x2"
            text: presenter.shown.cpuText
            pixelSize: Theme.subheadline
        }
        SymbolText {
            width: Math.max(implicitWidth, Theme.scaled(104)) // so that cards side by side are alike
            symbol: "memorychip"
            text: presenter.shown.memoryText
            pixelSize: Theme.subheadline
        }
        SymbolText {
            symbol: "internaldrive"
            text: presenter.shown.diskText
            pixelSize: Theme.subheadline
        }
    }

    Column {
        anchors.top: facts.bottom
        anchors.topMargin: Theme.mediumSpacing
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacing
        width: root.width - 2 * Theme.spacing
        spacing: Theme.tightSpacing

        Text {
            width: parent.width
            visible: text !== ""
            text: presenter.shown.errorText || presenter.shown.hostUsageText
            horizontalAlignment: Text.AlignLeft
            textFormat: Text.PlainText
            font.pixelSize: Theme.caption
            color: presenter.shown.errorText !== "" ? Theme.redTone : Theme.secondaryText
            wrapMode: Text.Wrap
            maximumLineCount: presenter.shown.installationText === "" ? 2 : 1 // what the card has room for
            elide: Text.ElideRight
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        SymbolText {
            width: parent.width
            visible: text !== ""
            symbol: "opticaldisc"
            text: presenter.shown.installationText
        }
        SymbolText {
            width: parent.width
            symbol: presenter.shown.backendSymbol
            text: presenter.shown.backendText
        }
    }

    VMCardButtons {
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.spacing
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacing
        width: root.width - 2 * Theme.spacing
        presenter: presenter
        focusPolicy: root.current ? Qt.StrongFocus : Qt.ClickFocus
    }
}
