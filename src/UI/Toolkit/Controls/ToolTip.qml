import QtQuick
import QtQuick.Templates as T

T.ToolTip {
    id: root

    x: parent ? Math.round((parent.width - implicitWidth) / 2) : 0
    y: parent ? parent.height + Theme.smallSpacing : 0
    implicitWidth: Math.min(Theme.scaled(420), implicitContentWidth) + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    margins: Theme.smallSpacing
    horizontalPadding: Theme.smallSpacing
    verticalPadding: Theme.tightSpacing
    delay: 600
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent | T.Popup.CloseOnReleaseOutsideParent

    contentItem: Text {
        text: root.text
        horizontalAlignment: Text.AlignLeft
        textFormat: Text.PlainText
        font.pixelSize: Theme.caption
        wrapMode: Text.Wrap
        color: Theme.toolTipText
    }

    background: Rectangle {
        radius: 6
        color: Theme.toolTipBackground
    }
}
