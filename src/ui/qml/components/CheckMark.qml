import QtQuick
import QtQuick.Controls
import Dustwhale

// A selection control: a rounded square, filled with the accent when on. A check box to a
// screen reader, with its state.
CheckBox {
    id: box
    // The owner binds checked to its model and changes the model on clicked; the binding stays
    // (a click sets checked from C++, which keeps it) and the model's answer settles the state.
    implicitWidth: 18
    implicitHeight: 18
    focusPolicy: Qt.TabFocus
    hoverEnabled: true
    Accessible.checkable: true
    Accessible.checked: checked
    // A screen reader's "press" or "toggle" is a click.
    Accessible.onPressAction: if (enabled) clicked()
    Accessible.onToggleAction: if (enabled) clicked()
    padding: 0
    spacing: 0

    contentItem: Item {}
    indicator: Rectangle {
        implicitWidth: 18
        implicitHeight: 18
        radius: 5
        color: box.checked ? (box.down ? Theme.accentPressed : box.hovered ? Theme.accentHover : Theme.accent)
             : box.down ? Qt.tint(Theme.field, Theme.pressed)
             : box.hovered ? Qt.tint(Theme.field, Theme.hover) : Theme.field
        border.width: box.checked ? 0 : 1.5
        border.color: Theme.fieldBorder
        Icon {
            anchors.centerIn: parent
            visible: box.checked
            symbol: "checkmark"
            size: 16
            color: Theme.accentForeground
        }
    }

    FocusRing { shown: box.visualFocus; cornerRadius: 5 }
}
