import QtQuick
import QtQuick.Controls
import Dustwhale

// A push button in our look: filled with the accent when primary, quiet otherwise; "plain"
// draws only the accent text (for links like "Select all"). Each kind has its hover, pressed,
// disabled and keyboard-focus look; Space and Return press it.
Button {
    id: control
    property bool primary: false
    property bool plain: false
    property string symbol: ""

    implicitHeight: plain ? 22 : 30
    leftPadding: plain ? 4 : 14
    rightPadding: plain ? 4 : 14
    font.pixelSize: Theme.bodySize
    font.weight: primary ? Font.DemiBold : Font.Normal
    hoverEnabled: true
    Accessible.name: text
    // A screen reader's "press" is a click (the control alone does not act on it here).
    Accessible.onPressAction: if (enabled) clicked()
    // Return presses it too, except where Return means something else (a sheet where it cancels).
    property bool returnPresses: true
    Keys.onReturnPressed: (event) => { if (returnPresses) clicked(); else event.accepted = false }
    Keys.onEnterPressed: (event) => { if (returnPresses) clicked(); else event.accepted = false }
    readonly property color labelColor: !enabled ? Theme.tertiaryText
                                      : primary ? Theme.accentForeground
                                      : plain ? Theme.accent : Theme.text

    contentItem: Row {
        spacing: 6
        Icon {
            anchors.verticalCenter: parent.verticalCenter
            symbol: control.symbol
            size: 14
            color: control.labelColor
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: control.text
            font: control.font
            color: control.labelColor
            elide: Text.ElideRight
        }
    }
    background: Rectangle {
        radius: control.plain ? 4 : Theme.smallRadius
        color: control.plain
               ? (control.down ? Theme.pressed : control.hovered && control.enabled ? Theme.hover : "transparent")
               : control.primary
               ? (!control.enabled ? Theme.skeleton
                  : control.down ? Theme.accentPressed : control.hovered ? Theme.accentHover : Theme.accent)
               : (control.down ? Qt.tint(Theme.field, Theme.pressed)
                  : control.hovered && control.enabled ? Qt.tint(Theme.field, Theme.hover) : Theme.field)
        border.width: control.primary || control.plain ? 0 : 1
        border.color: Theme.fieldBorder
    }
    FocusRing {
        shown: control.visualFocus
        cornerRadius: control.plain ? 4 : Theme.smallRadius
    }
}
