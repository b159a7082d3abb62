pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Kelvo.Toolkit

/// One choice out of a list of texts that opens below the button.
T.ComboBox {
    id: root

    required property string label

    /// Return was pressed while the list is closed, where it belongs to the form.
    signal submitted

    implicitWidth: Math.max(Theme.scaled(150), implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Theme.smallControlHeight
    leftPadding: root.mirrored ? Theme.hugeSpacing : Theme.mediumSpacing
    rightPadding: root.mirrored ? Theme.mediumSpacing : Theme.hugeSpacing
    font.pixelSize: Theme.body
    Accessible.name: root.label
    Accessible.description: root.displayText
    Accessible.onPressAction: if (root.enabled) root.popup.open()

    Keys.onReturnPressed: event => root.submit(event)
    Keys.onEnterPressed: event => root.submit(event)

    contentItem: Text {
        text: root.displayText
        horizontalAlignment: Text.AlignLeft
        textFormat: Text.PlainText
        font: root.font
        color: root.enabled ? Theme.text : Theme.disabledText
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }

    indicator: Symbol {
        anchors.right: parent.right
        anchors.rightMargin: Theme.mediumSpacing
        anchors.verticalCenter: parent.verticalCenter
        name: "chevron.down"
        color: root.enabled ? Theme.secondaryText : Theme.disabledText
    }

    background: Rectangle {
        radius: Theme.controlRadius
        color: !root.enabled ? Theme.controlDisabled : root.down ? Theme.controlPressed
                             : root.hovered ? Theme.controlHovered : Theme.control
        border.width: 1
        border.color: Theme.controlBorder

        FocusRing {
            visible: root.visualFocus
        }
    }

    delegate: T.ItemDelegate {
        id: row

        required property string modelData
        required property int index

        width: ListView.view ? ListView.view.width : 0
        height: Theme.controlHeight
        text: modelData
        highlighted: root.highlightedIndex === index
        Accessible.onPressAction: root.choose(row.index)

        contentItem: Item {
            Symbol {
                anchors.left: parent.left
                anchors.leftMargin: 10
                anchors.verticalCenter: parent.verticalCenter
                visible: root.currentIndex === row.index
                name: "checkmark"
                color: Theme.text
            }
            Text {
                anchors.left: parent.left
                anchors.leftMargin: Theme.smallSymbol + 18
                anchors.right: parent.right
                anchors.rightMargin: 10
                anchors.verticalCenter: parent.verticalCenter
                text: row.text
                horizontalAlignment: Text.AlignLeft
                textFormat: Text.PlainText
                font: root.font
                color: Theme.text
                elide: Text.ElideRight
                Accessible.ignored: true
            }
        }

        background: Rectangle {
            radius: Theme.controlRadius - 2
            color: row.highlighted || row.hovered ? Theme.selectionWash : "transparent"
        }
    }

    popup: T.Popup {
        y: root.height + 4
        width: Math.max(root.width, 160)
        height: Math.min(contentItem.implicitHeight + 8, 320)
        padding: Theme.tightSpacing
        margins: Theme.smallSpacing

        contentItem: ListView {
            implicitHeight: contentHeight
            clip: true
            model: root.delegateModel // qmllint disable type
            currentIndex: root.highlightedIndex
            highlightMoveDuration: 0
            T.ScrollBar.vertical: ScrollBar {}
        }

        background: PopupBackground {}
    }

    function submit(event: var): void {
        event.accepted = !root.popup.visible;
        if (event.accepted)
            root.submitted();
    }

    function choose(index: int): void {
        root.popup.close();
        root.currentIndex = index;
        root.activated(index);
    }
}
