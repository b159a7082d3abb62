import QtQuick

/// Small buttons side by side. Where they do not fit into the available width, all give up some of their padding, and
/// what is still missing is cut from the widest.
Row {
    id: root

    required property real availableWidth

    readonly property real sparePadding: 16
    readonly property var widths: fittingWidths()

    spacing: Theme.smallSpacing
    onWidthsChanged: {
        for (let index = 0; index < root.widths.length; ++index)
            root.visibleChildren[index].width = root.widths[index];
    }

    function fittingWidths(): var {
        const widths = [];
        for (let index = 0; index < root.visibleChildren.length; ++index)
            widths.push(root.visibleChildren[index].implicitWidth);
        const wanted = widths.reduce((sum, width) => sum + width + root.spacing, -root.spacing);
        const shortage = Math.max(0, wanted - root.availableWidth);
        const evenly = Math.min(root.sparePadding, shortage / widths.length);
        const narrower = widths.map(width => width - evenly);
        narrower[narrower.indexOf(Math.max(...narrower))] -= shortage - evenly * widths.length;
        return narrower;
    }
}
