import QtQuick
import QtQuick.Templates as T
import Kelvo.Toolkit

T.MenuBarItem {
    id: root

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Theme.menuBarHeight - 2 * Theme.tightSpacing
    horizontalPadding: Theme.mediumSpacing
    Accessible.name: MnemonicText.plain(root.text)
    Accessible.onPressAction: root.triggered()

    contentItem: Text {
        text: MnemonicText.underlined(root.text)
        horizontalAlignment: Text.AlignLeft
        textFormat: Text.StyledText
        font.pixelSize: Theme.subheadline
        color: Theme.text
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }

    background: Rectangle {
        radius: Theme.controlRadius - 1
        color: root.down || root.highlighted ? Theme.selectionWash : root.hovered ? Theme.hoverWash : "transparent"
    }
}
