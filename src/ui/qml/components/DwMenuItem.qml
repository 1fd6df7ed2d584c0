import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Dustwhale

// A menu item in the theme's colours with its keyboard shortcut at the right; shortcut is both
// what it answers to (anywhere in the window) and what it shows. unavailable draws it dimmed.
MenuItem {
    id: item
    property string shortcut: ""
    property bool unavailable: false
    readonly property string shortcutText: shortcut === "" ? "" : shortcutKeys.nativeText

    implicitHeight: 26
    leftPadding: 12
    rightPadding: 12
    font.pixelSize: Theme.bodySize
    Accessible.name: text
    Accessible.description: shortcutText

    Shortcut {
        id: shortcutKeys
        sequence: item.shortcut
        enabled: item.shortcut !== "" && item.enabled && !item.unavailable
        onActivated: item.triggered()
    }

    contentItem: RowLayout {
        spacing: 24
        Text {
            Layout.fillWidth: true
            text: item.text
            font: item.font
            color: item.unavailable || !item.enabled ? Theme.tertiaryText : Theme.text
            verticalAlignment: Text.AlignVCenter
        }
        Text {
            objectName: "menu.shortcut"
            visible: item.shortcutText !== ""
            text: item.shortcutText
            font.pixelSize: Theme.bodySize
            color: Theme.secondaryText
        }
    }
    background: Rectangle {
        x: 4
        width: item.width - 8
        radius: 4
        color: item.highlighted ? Theme.accentTint : "transparent"
    }
}
