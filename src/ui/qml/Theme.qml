pragma Singleton
import QtQuick
import Dustwhale

// One palette for light and dark (its colours are the table in bridge/palette.cpp, which the
// contrast test reads too), type sizes and spacing.
QtObject {
    property bool dark: false

    function named(name: string): color { return ThemeColors.color(name, dark) }

    readonly property color accent: named("accent")
    readonly property color accentTint: named("accentTint")
    readonly property color accentForeground: named("accentForeground")
    readonly property color accentHover: named("accentHover")
    readonly property color accentPressed: named("accentPressed")

    readonly property color window: named("window")
    readonly property color sidebar: named("sidebar")
    readonly property color content: named("content")
    readonly property color card: named("card")
    readonly property color cardBorder: named("cardBorder")
    readonly property color separator: named("separator")
    readonly property color field: named("field")
    readonly property color fieldBorder: named("fieldBorder")
    readonly property color hover: named("hover")
    readonly property color pressed: named("pressed")
    readonly property color scrim: named("scrim")
    readonly property color focusRing: named("focusRing")

    readonly property color text: named("text")
    readonly property color secondaryText: named("secondaryText")
    readonly property color tertiaryText: named("tertiaryText")

    readonly property color skeleton: named("skeleton")
    readonly property color skeletonShine: named("skeletonShine")

    // Badge tones: background and text.
    readonly property color safeBack: named("safeBack")
    readonly property color safeText: named("safeText")
    readonly property color reviewBack: named("reviewBack")
    readonly property color reviewText: named("reviewText")
    readonly property color neutralBack: named("neutralBack")
    readonly property color neutralText: named("neutralText")
    readonly property color warning: named("warning")
    readonly property color warningBack: named("warningBack")

    readonly property color chartUsed: named("chartUsed")
    readonly property color chartHeld: named("chartHeld")
    readonly property color chartOutline: named("chartOutline")

    // A row as a screen reader says it: its parts that are not empty, joined by commas.
    function spoken(first: string, second: string, third: string): string {
        let out = first
        for (const part of [second, third])
            if (part !== "") out += (out !== "" ? ", " : "") + part
        return out
    }

    function spaceMapCell(rank: int): color { return ThemeColors.spaceMapCell(rank, dark) }
    function spaceMapLabel(rank: int): color { return ThemeColors.spaceMapLabel(rank, dark) }

    // A window near its smallest height tightens the fixed parts (header, footers, rows) so that
    // every list still shows at least four rows.
    property bool compact: false
    readonly property int rowHeight: compact ? 44 : 60

    readonly property int radius: 10
    readonly property int smallRadius: 6
    readonly property int spacing: 8
    readonly property int pagePadding: 28

    readonly property int titleSize: 22
    readonly property int largeSize: 17
    readonly property int bodySize: 13
    readonly property int smallSize: 11
}
