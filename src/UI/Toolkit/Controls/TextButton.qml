import QtQuick
import QtQuick.Templates as T

/// A bordered push button with a text alone; `prominent` is the one that people most likely want.
T.Button {
    id: root

    property bool prominent: false
    /// It loses something.
    property bool destructive: false
    property bool small: false
    /// Why the button is disabled, while it is; a tool tip says it.
    property string disabledReason: ""

    readonly property color foreground: !enabled ? Theme.disabledText : prominent ? Theme.accentText : destructive ? Theme.redTone : Theme.text

    /// Beside the content; less where the button is made narrow.
    readonly property real usualPadding: small ? 10 : 14

    implicitWidth: implicitContentWidth + 2 * usualPadding
    implicitHeight: small ? Theme.smallControlHeight : Theme.controlHeight
    horizontalPadding: Math.max(0, Math.min(usualPadding, (width - implicitContentWidth) / 2))
    font.pixelSize: small ? Theme.subheadline : Theme.body
    font.weight: prominent ? Font.DemiBold : Font.Medium
    focusPolicy: Qt.StrongFocus

    Accessible.description: root.enabled ? "" : root.disabledReason
    Accessible.onPressAction: if (root.enabled) root.act()
    Keys.onReturnPressed: root.act()
    Keys.onEnterPressed: root.act()

    contentItem: Text {
        text: root.text
        textFormat: Text.PlainText
        font: root.font
        color: root.foreground
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    background: Rectangle {
        radius: Theme.controlRadius
        color: {
            if (root.prominent && root.enabled)
                return root.down ? Theme.accentPressed : root.hovered ? Theme.accentHovered : Theme.accent;
            if (!root.enabled)
                return Theme.controlDisabled;
            return root.down ? Theme.controlPressed : root.hovered ? Theme.controlHovered : Theme.control;
        }
        border.width: root.prominent && root.enabled && !Theme.highContrast ? 0 : 1
        border.color: root.enabled ? Theme.controlBorder : Theme.disabledBorder

        Loader {
            anchors.fill: parent
            active: root.visualFocus
            sourceComponent: FocusRing {}
        }
    }

    /// What a click does.
    function act(): void {
        if (root.checkable)
            root.toggle();
        root.clicked();
    }
}
