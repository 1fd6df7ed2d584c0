import QtQuick
import QtQuick.Controls
import Dustwhale

// A push button in our look: filled with the accent when primary, quiet otherwise; "plain"
// draws only the accent text (for links like "Select all").
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
        visible: !control.plain
        radius: Theme.smallRadius
        color: control.primary
               ? (control.enabled ? (control.down ? Qt.darker(Theme.accent, 1.15) : Theme.accent) : Theme.skeleton)
               : (control.down ? Theme.separator : control.hovered ? Qt.tint(Theme.field, Theme.hover) : Theme.field)
        border.width: control.primary ? 0 : 1
        border.color: Theme.fieldBorder
    }
}
