import QtQuick
import QtQuick.Controls
import Dustwhale

// A modal sheet over the window, closed only by its own buttons.
Popup {
    id: sheet
    property int sheetWidth: 480

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(sheetWidth, parent ? parent.width - 48 : sheetWidth)
    modal: true
    focus: true
    closePolicy: Popup.NoAutoClose
    padding: 28

    Overlay.modal: Rectangle { color: Theme.scrim }

    background: Rectangle {
        radius: 14
        color: Theme.card
        border.width: 1
        border.color: Theme.cardBorder
    }
}
