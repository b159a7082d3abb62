import QtQuick
import QtQuick.Templates as T

/// A page that scrolls when it is too long, also to the control that gets the keyboard.
Flickable {
    id: root

    readonly property Item focusItem: Window.activeFocusItem

    contentWidth: width
    boundsBehavior: Flickable.StopAtBounds
    clip: true
    T.ScrollBar.vertical: ScrollBar {}

    onFocusItemChanged: root.reveal(root.focusItem)

    function reveal(item: Item): void {
        let ancestor = item;
        while (ancestor && ancestor !== root.contentItem)
            ancestor = ancestor.parent;
        if (!ancestor)
            return;
        const top = item.mapToItem(root.contentItem, 0, 0).y - Theme.spacing;
        const bottom = top + item.height + 2 * Theme.spacing;
        if (top < root.contentY || bottom - top > root.height)
            root.contentY = Math.max(0, top);
        else if (bottom > root.contentY + root.height)
            root.contentY = Math.max(0, Math.min(bottom, root.contentHeight) - root.height);
    }
}
