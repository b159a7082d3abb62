pragma Singleton

import QtQuick
import Kelvo.Toolkit

QtObject {
    id: root

    readonly property bool dark: Appearance.dark
    readonly property bool highContrast: Appearance.highContrast

    /// From right to left
    readonly property bool mirrored: Appearance.mirrored

    // Type scale, pixels
    readonly property int body: Appearance.baseFontPixelSize
    readonly property int caption: Math.round(body * 0.86)
    readonly property int subheadline: Math.round(body * 0.93)
    readonly property int title3: Math.round(body * 1.2)
    readonly property int title2: Math.round(body * 1.5)
    readonly property int largeTitle: Math.round(body * 1.7)

    readonly property string monospaceFamily: "monospace"

    // Spacing grid, pixels
    readonly property int tightSpacing: 4
    readonly property int smallSpacing: 8
    readonly property int mediumSpacing: 12
    readonly property int spacing: 16
    readonly property int largeSpacing: 24
    readonly property int hugeSpacing: 32

    readonly property int controlRadius: 7
    readonly property int rowRadius: 8
    readonly property int groupRadius: 12
    readonly property int cardRadius: 16

    readonly property int controlHeight: Math.round(body * 2.3)
    readonly property int smallControlHeight: Math.round(body * 2)
    readonly property int menuBarHeight: Math.round(body * 1.9) + 2 * tightSpacing
    readonly property int rowHeight: Math.round(body * 3.15)
    readonly property int headerHeight: scaled(52)
    readonly property int smallSymbol: scaled(16)
    readonly property int symbol: scaled(22)
    readonly property int heroSymbol: scaled(56)

    // Milliseconds; nothing moves where the desktop wants it so
    readonly property int quick: Appearance.animated ? 90 : 0
    readonly property int transition: Appearance.animated ? 160 : 0

    // What high contrast is made of
    readonly property color paper: dark ? "#000000" : "#ffffff"
    readonly property color ink: dark ? "#ffffff" : "#000000"
    readonly property color fadedInk: dark ? "#a6a6a6" : "#595959"

    // Surfaces
    readonly property color windowBackground: highContrast ? paper : dark ? "#1b1c20" : "#fafafb"
    readonly property color sidebarBackground: highContrast ? paper : dark ? "#232429" : "#f0f0f3"
    readonly property color cardBackground: highContrast ? paper : dark ? "#26282e" : "#ffffff"
    readonly property color popupBackground: highContrast ? paper : dark ? "#2b2d33" : "#ffffff"
    readonly property color groupBackground: highContrast ? paper : dark ? "#26282e" : "#ffffff"
    readonly property color fieldBackground: highContrast ? paper : dark ? "#1d1e22" : "#ffffff"
    readonly property color separator: highContrast ? fadedInk : dark ? "#16ffffff" : "#17000000"
    readonly property color cardBorder: highContrast ? ink : dark ? "#1cffffff" : "#1a000000"
    readonly property color popupBorder: highContrast ? ink : dark ? "#2affffff" : "#24000000"
    readonly property color dim: dark ? "#73000000" : "#59000000"
    readonly property color shadow: highContrast ? "transparent" : dark ? "#40000000" : "#16000000"
    readonly property color screen: "#000000"

    // Texts and symbols
    readonly property color text: highContrast ? ink : dark ? "#f1f2f4" : "#1c1d21"
    readonly property color secondaryText: highContrast ? ink : dark ? "#b0b3bd" : "#5b5e69"
    readonly property color disabledText: highContrast ? fadedInk : dark ? "#73767f" : "#9a9da6"
    readonly property color linkText: highContrast ? dark ? "#c2d0ff" : "#0b2a9e" : dark ? "#9db4ff" : "#2f52cf"
    readonly property color screenText: "#e8e9ec"
    readonly property color hintBackground: "#d926282e"
    readonly property color hintBorder: "#33ffffff"

    // Controls
    readonly property color accent: highContrast ? dark ? "#3a58d6" : "#1d3cb4" : dark ? "#3f5fde" : "#3759da"
    readonly property color accentHovered: dark ? "#4868e6" : "#2e4dc4"
    readonly property color accentPressed: dark ? "#3552c6" : "#2642ad"
    readonly property color accentText: "#ffffff"
    readonly property color accentWash: dark ? "#2e5b7cff" : "#1a3759da"
    readonly property color control: highContrast ? paper : dark ? "#3a3c44" : "#ffffff"
    readonly property color controlHovered: highContrast ? dark ? "#262626" : "#e6e6e6" : dark ? "#444750" : "#f3f3f6"
    readonly property color controlPressed: highContrast ? dark ? "#404040" : "#cccccc" : dark ? "#33353c" : "#e6e6eb"
    readonly property color controlDisabled: highContrast ? paper : dark ? "#2c2e34" : "#f6f6f8"
    readonly property color controlBorder: highContrast ? ink : dark ? "#14ffffff" : "#2b000000"
    readonly property color disabledBorder: highContrast ? fadedInk : dark ? "#0dffffff" : "#14000000"
    readonly property color fieldBorder: highContrast ? ink : dark ? "#3cffffff" : "#45000000"
    readonly property color track: highContrast ? dark ? "#66ffffff" : "#55000000" : dark ? "#24ffffff" : "#1a000000"
    readonly property color handle: "#ffffff"
    readonly property color toggleOff: highContrast ? fadedInk : dark ? "#7c808b" : "#858892"
    readonly property color hoverWash: highContrast ? dark ? "#33ffffff" : "#1f000000" : dark ? "#12ffffff" : "#0d000000"
    readonly property color pressedWash: dark ? "#1effffff" : "#18000000"
    readonly property color selectionWash: highContrast ? dark ? "#4dffffff" : "#33000000" : dark ? "#20ffffff" : "#15000000"
    readonly property color focus: highContrast ? dark ? "#c2d0ff" : "#0b2a9e" : dark ? "#8ea7ff" : "#3759da"
    readonly property color scrollHandle: highContrast ? ink : dark ? "#66ffffff" : "#59000000"
    readonly property color toolTipBackground: dark ? "#43464f" : "#2b2d33"
    readonly property color toolTipText: "#f5f5f7"

    // Badges; each is also their background, at 15 %
    readonly property color neutralTone: dark ? "#b9bcc6" : "#50535d"
    readonly property color greenTone: dark ? "#5fd487" : "#17692f"
    readonly property color yellowTone: dark ? "#f2cc50" : "#775600"
    readonly property color orangeTone: dark ? "#ffaa63" : "#96420a"
    readonly property color redTone: dark ? "#ff9a94" : "#b3261e"

    /// A length that goes with the size of the text: the given pixels where that is the usual one.
    function scaled(pixels: real): int {
        return Math.round(pixels * root.body / 14);
    }

    /// Where a drawing in that color is.
    function symbolSource(name: string, color: color): url {
        return `image://symbol/${name}/${color.toString().slice(1)}`;
    }

    function toneColor(tone: int): color {
        switch (tone) {
        case BadgeTone.Green:
            return root.greenTone;
        case BadgeTone.Yellow:
            return root.yellowTone;
        case BadgeTone.Orange:
            return root.orangeTone;
        case BadgeTone.Red:
            return root.redTone;
        default:
            return root.neutralTone;
        }
    }
}
