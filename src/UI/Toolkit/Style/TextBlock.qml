import QtQuick

/// Running text that can be selected and copied.
TextEdit {
    id: root

    readOnly: true
    selectByMouse: true
    selectByKeyboard: true
    activeFocusOnTab: text !== ""
    textFormat: TextEdit.PlainText
    wrapMode: TextEdit.Wrap
    font.pixelSize: Theme.body
    color: Theme.text
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentText
    Accessible.role: Accessible.StaticText
    Accessible.name: root.text

    HoverHandler {
        cursorShape: Qt.IBeamCursor
    }
}
