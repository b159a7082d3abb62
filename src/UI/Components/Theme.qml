pragma Singleton

import QtQuick
import Kelvo.Components

QtObject {
    id: root

    readonly property bool dark: Appearance.dark

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
    readonly property int rowHeight: Math.round(body * 3.15)
    readonly property int headerHeight: 52
    readonly property int smallSymbol: 16
    readonly property int symbol: 22
    readonly property int heroSymbol: 66

    // Milliseconds
    readonly property int quick: 90
    readonly property int transition: 160

    // Surfaces
    readonly property color windowBackground: dark ? "#1b1c20" : "#fafafb"
    readonly property color sidebarBackground: dark ? "#232429" : "#f0f0f3"
    readonly property color cardBackground: dark ? "#26282e" : "#ffffff"
    readonly property color popupBackground: dark ? "#2b2d33" : "#ffffff"
    readonly property color groupBackground: dark ? "#26282e" : "#ffffff"
    readonly property color fieldBackground: dark ? "#1d1e22" : "#ffffff"
    readonly property color separator: dark ? "#16ffffff" : "#17000000"
    readonly property color cardBorder: dark ? "#1cffffff" : "#1a000000"
    readonly property color popupBorder: dark ? "#2affffff" : "#24000000"
    readonly property color dim: dark ? "#99000000" : "#59000000"
    readonly property color shadow: dark ? "#40000000" : "#16000000"
    readonly property color screen: "#000000"

    // Texts and symbols
    readonly property color text: dark ? "#f1f2f4" : "#1c1d21"
    readonly property color secondaryText: dark ? "#b0b3bd" : "#5b5e69"
    readonly property color disabledText: dark ? "#73767f" : "#9a9da6"
    readonly property color linkText: dark ? "#9db4ff" : "#2f52cf"
    readonly property color screenText: "#e8e9ec"
    readonly property color hintBackground: "#d926282e"
    readonly property color hintBorder: "#33ffffff"

    // Controls
    readonly property color accent: dark ? "#3f5fde" : "#3759da"
    readonly property color accentHovered: dark ? "#4868e6" : "#2e4dc4"
    readonly property color accentPressed: dark ? "#3552c6" : "#2642ad"
    readonly property color accentText: "#ffffff"
    readonly property color accentWash: dark ? "#2e5b7cff" : "#1a3759da"
    readonly property color control: dark ? "#3a3c44" : "#ffffff"
    readonly property color controlHovered: dark ? "#444750" : "#f3f3f6"
    readonly property color controlPressed: dark ? "#33353c" : "#e6e6eb"
    readonly property color controlDisabled: dark ? "#2c2e34" : "#f6f6f8"
    readonly property color controlBorder: dark ? "#14ffffff" : "#2b000000"
    readonly property color disabledBorder: dark ? "#0dffffff" : "#14000000"
    readonly property color fieldBorder: dark ? "#3cffffff" : "#45000000"
    readonly property color track: dark ? "#24ffffff" : "#1a000000"
    readonly property color handle: "#ffffff"
    readonly property color toggleOff: dark ? "#7c808b" : "#858892"
    readonly property color hoverWash: dark ? "#12ffffff" : "#0d000000"
    readonly property color pressedWash: dark ? "#1effffff" : "#18000000"
    readonly property color selectionWash: dark ? "#20ffffff" : "#15000000"
    readonly property color focus: dark ? "#8ea7ff" : "#3759da"
    readonly property color scrollHandle: dark ? "#66ffffff" : "#59000000"
    readonly property color toolTipBackground: dark ? "#43464f" : "#2b2d33"
    readonly property color toolTipText: "#f5f5f7"

    // Badges; each is also their background, at 15 %
    readonly property color neutralTone: dark ? "#b9bcc6" : "#50535d"
    readonly property color greenTone: dark ? "#5fd487" : "#17692f"
    readonly property color yellowTone: dark ? "#f2cc50" : "#775600"
    readonly property color orangeTone: dark ? "#ffaa63" : "#96420a"
    readonly property color redTone: dark ? "#ff9a94" : "#b3261e"

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
