import QtQuick
import QtQuick.Templates as T
import Kelvo.Toolkit

T.ItemDelegate {
    id: root

    required property string symbol

    implicitWidth: Theme.scaled(180)
    implicitHeight: Math.round(Theme.body * 2.45)
    horizontalPadding: Theme.mediumSpacing
    focusPolicy: Qt.NoFocus
    Accessible.onPressAction: root.clicked()

    contentItem: Item {
        Symbol {
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            name: root.symbol
            color: root.highlighted ? Theme.linkText : Theme.secondaryText
        }
        Text {
            anchors.left: parent.left
            anchors.leftMargin: Theme.smallSymbol + Theme.mediumSpacing
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            horizontalAlignment: Text.AlignLeft
            textFormat: Text.PlainText
            font.pixelSize: Theme.body
            font.weight: root.highlighted ? Font.DemiBold : Font.Normal
            color: Theme.text
            elide: Text.ElideRight
            Accessible.ignored: true
        }
    }

    background: Rectangle {
        radius: Theme.rowRadius
        color: root.highlighted ? Theme.selectionWash : root.down ? Theme.pressedWash
                                : root.hovered ? Theme.hoverWash : "transparent"
    }
}
