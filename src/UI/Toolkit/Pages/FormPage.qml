import QtQuick

/// A scrolling column of sections, not wider than reads well.
ScrollPage {
    id: root

    default property alias sections: column.data
    property alias title: heading.text
    /// Where the window says the same already.
    property bool showsTitle: true

    contentHeight: column.implicitHeight + 2 * Theme.largeSpacing
    activeFocusOnTab: true
    Accessible.role: Accessible.Pane
    Accessible.name: root.title
    Accessible.focusable: true
    Keys.onUpPressed: flick(0, 700)
    Keys.onDownPressed: flick(0, -700)

    Column {
        id: column

        x: Math.round((root.width - width) / 2)
        y: Theme.largeSpacing
        width: Math.min(root.width - 2 * Theme.largeSpacing, Theme.scaled(680))
        spacing: Theme.largeSpacing

        Label {
            id: heading

            width: parent.width
            visible: root.showsTitle && text !== ""
            font.pixelSize: Theme.largeTitle
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
    }
}
