import QtQuick
import Kelvo.Toolkit

/// Explains, in its window, disabled controls and texts that were cut off.
Item {
    id: root

    HintFinder {
        id: finder

        window: root.Window.window
    }

    ToolTip {
        parent: finder.item ?? root
        visible: finder.text !== ""
        delay: 0
        text: finder.text
    }
}
