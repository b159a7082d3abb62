import QtQuick
import QtQuick.Templates as T
import Kelvo.Toolkit

T.MenuItem {
    id: root

    property string shortcutText: ""

    width: ListView.view ? ListView.view.width : implicitWidth
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Math.round(Theme.body * 2.15)
    horizontalPadding: Theme.mediumSpacing
    Accessible.name: MnemonicText.plain(root.text)
    Accessible.onPressAction: root.choose()

    component Content: Item {
        id: content

        required property string text
        required property string shortcutText
        required property bool isEnabled

        implicitWidth: label.implicitWidth + (shortcut.text === "" ? 0 : Theme.hugeSpacing + shortcut.implicitWidth)

        Text {
            id: label

            anchors.left: parent.left
            width: parent.width - (shortcut.text === "" ? 0 : Theme.spacing + shortcut.implicitWidth)
            anchors.verticalCenter: parent.verticalCenter
            text: content.text
            horizontalAlignment: Text.AlignLeft
            textFormat: Text.StyledText
            font.pixelSize: Theme.body
            color: content.isEnabled ? Theme.text : Theme.disabledText
            elide: Text.ElideRight
            Accessible.ignored: true
        }
        Text {
            id: shortcut

            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: content.shortcutText
            horizontalAlignment: Text.AlignLeft
            textFormat: Text.PlainText
            font.pixelSize: Theme.subheadline
            color: content.isEnabled ? Theme.secondaryText : Theme.disabledText
            Accessible.ignored: true
        }
    }

    contentItem: Content {
        text: MnemonicText.underlined(root.text)
        shortcutText: root.shortcutText
        isEnabled: root.enabled
    }

    background: Rectangle {
        radius: Theme.controlRadius - 2
        color: root.enabled && (root.highlighted || root.hovered) ? Theme.selectionWash : "transparent"
    }

    function choose(): void {
        if (!root.enabled)
            return;
        root.menu?.dismiss();
        if (root.action)
            root.action.trigger();
        else
            root.triggered();
    }
}
