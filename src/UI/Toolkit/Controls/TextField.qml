import QtQuick
import QtQuick.Templates as T

T.TextField {
    id: root

    implicitWidth: Theme.scaled(260)
    implicitHeight: Theme.controlHeight
    leftPadding: Theme.mediumSpacing
    rightPadding: Theme.mediumSpacing
    topPadding: Theme.tightSpacing
    bottomPadding: Theme.tightSpacing
    font.pixelSize: Theme.body
    color: enabled ? Theme.text : Theme.disabledText
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentText
    placeholderTextColor: Theme.secondaryText
    verticalAlignment: TextInput.AlignVCenter
    selectByMouse: true

    Text {
        anchors.left: parent.left
        anchors.leftMargin: root.leftPadding
        width: root.width - root.leftPadding - root.rightPadding
        anchors.verticalCenter: parent.verticalCenter
        visible: root.length === 0 && root.preeditText === ""
        text: root.placeholderText
        horizontalAlignment: Text.AlignLeft
        textFormat: Text.PlainText
        font: root.font
        color: root.placeholderTextColor
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    background: Rectangle {
        radius: Theme.controlRadius
        color: Theme.fieldBackground
        border.width: root.activeFocus ? 2 : 1
        border.color: root.activeFocus ? Theme.focus : root.enabled ? Theme.fieldBorder : Theme.disabledBorder
    }
}
