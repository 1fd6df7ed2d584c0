import QtQuick
import QtQuick.Controls
import Dustwhale

// A menu in the theme's colours, light and dark.
Menu {
    id: menu
    topPadding: 5
    bottomPadding: 5
    background: Rectangle {
        implicitWidth: 240
        radius: 8
        color: Theme.card
        border.width: 1
        border.color: Theme.cardBorder
    }
}
