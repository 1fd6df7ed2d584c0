pragma Singleton
import QtQuick

// One palette for light and dark, the accent, type sizes and spacing.
QtObject {
    property bool dark: false

    readonly property color accent: dark ? "#2BB3A1" : "#0E7A6D"
    readonly property color accentTint: dark ? Qt.rgba(0.17, 0.70, 0.63, 0.20) : Qt.rgba(0.05, 0.48, 0.43, 0.12)
    // Text on the accent: white on the deep light-mode teal, a near-black teal on the brighter
    // dark-mode one, where white would read poorly.
    readonly property color accentForeground: dark ? "#06211D" : "#FFFFFF"

    readonly property color window: dark ? "#1E1F21" : "#F5F5F4"
    readonly property color sidebar: dark ? "#252628" : "#EBEBEA"
    readonly property color content: dark ? "#1E1F21" : "#FBFBFA"
    readonly property color card: dark ? "#2A2B2E" : "#FFFFFF"
    readonly property color cardBorder: dark ? "#3A3B3F" : "#E3E3E1"
    readonly property color separator: dark ? "#38393C" : "#E6E6E4"
    readonly property color field: dark ? "#2F3033" : "#FFFFFF"
    readonly property color fieldBorder: dark ? "#46474B" : "#D5D5D3"
    readonly property color hover: dark ? Qt.rgba(1, 1, 1, 0.05) : Qt.rgba(0, 0, 0, 0.035)
    readonly property color scrim: dark ? Qt.rgba(0, 0, 0, 0.55) : Qt.rgba(0, 0, 0, 0.28)

    readonly property color text: dark ? "#ECECEC" : "#1D1D1F"
    readonly property color secondaryText: dark ? "#A1A1A6" : "#6E6E73"
    readonly property color tertiaryText: dark ? "#76767B" : "#9A9A9F"

    readonly property color skeleton: dark ? "#35363A" : "#E8E8E6"
    readonly property color skeletonShine: dark ? "#414246" : "#F3F3F1"

    // Badge tones: background and text.
    readonly property color safeBack: dark ? Qt.rgba(0.17, 0.70, 0.63, 0.18) : "#E3F2EF"
    readonly property color safeText: dark ? "#5FD3C2" : "#0B6B5F"
    readonly property color reviewBack: dark ? Qt.rgba(0.95, 0.65, 0.20, 0.18) : "#FCF0DC"
    readonly property color reviewText: dark ? "#F2B65C" : "#8A5A0B"
    readonly property color neutralBack: dark ? "#37383C" : "#EFEFED"
    readonly property color neutralText: dark ? "#B0B0B5" : "#5E5E63"
    readonly property color warning: dark ? "#F2B65C" : "#B26B00"
    readonly property color warningBack: dark ? Qt.rgba(0.95, 0.65, 0.20, 0.12) : "#FDF5E7"

    readonly property int radius: 10
    readonly property int smallRadius: 6
    readonly property int spacing: 8
    readonly property int pagePadding: 28

    readonly property int titleSize: 22
    readonly property int largeSize: 17
    readonly property int bodySize: 13
    readonly property int smallSize: 11
}
