import QtQuick
import QtQuick.Controls
import Dustwhale

// The row's selection control: a rounded square, filled with the accent when on.
AbstractButton {
    id: box
    checkable: true
    implicitWidth: 18
    implicitHeight: 18
    focusPolicy: Qt.TabFocus

    background: Rectangle {
        radius: 5
        color: box.checked ? Theme.accent : Theme.field
        border.width: box.checked ? 0 : 1.5
        border.color: Theme.fieldBorder
    }
    contentItem: Item {
        Icon {
            anchors.centerIn: parent
            visible: box.checked
            symbol: "checkmark"
            size: 16
            color: Theme.accentForeground
        }
    }
}
