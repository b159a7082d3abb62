import QtQuick
import QtQuick.Templates as T

T.Menu {
    id: root

    property real widest: 0

    implicitWidth: Math.max(Theme.scaled(258), root.widest) + leftPadding + rightPadding
    implicitHeight: contentHeight + topPadding + bottomPadding
    padding: Theme.tightSpacing
    margins: Theme.tightSpacing
    overlap: 0

    delegate: MenuItem {}

    contentItem: ListView {
        implicitHeight: contentHeight
        model: root.contentModel
        interactive: false
        currentIndex: root.currentIndex
    }

    background: PopupBackground {}

    onAboutToShow: {
        let widest = 0;
        for (let i = 0; i < root.count; ++i)
            widest = Math.max(widest, root.itemAt(i)?.implicitWidth ?? 0);
        root.widest = widest;
    }
}
