import QtQuick
import QtQuick.Templates as T
import Kelvo.Components

T.MenuItem {
    id: root

    property string shortcutText: ""

    width: ListView.view ? ListView.view.width : implicitWidth
    implicitWidth: 258
    implicitHeight: Math.round(Theme.body * 2.15)
    horizontalPadding: 12
    Accessible.name: MnemonicText.plain(root.text)
    Accessible.onPressAction: root.choose()

    contentItem: Item {
        Text {
            width: parent.width - (root.shortcutText === "" ? 0 : 72)
            anchors.verticalCenter: parent.verticalCenter
            text: MnemonicText.underlined(root.text)
            textFormat: Text.StyledText
            font.pixelSize: Theme.body
            color: root.enabled ? Theme.text : Theme.disabledText
            elide: Text.ElideRight
            Accessible.ignored: true
        }
        Text {
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: root.shortcutText
            textFormat: Text.PlainText
            font.pixelSize: Theme.subheadline
            color: root.enabled ? Theme.secondaryText : Theme.disabledText
            Accessible.ignored: true
        }
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
