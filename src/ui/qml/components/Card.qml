import QtQuick
import Dustwhale

// The card background every grouped list sits on.
Rectangle {
    radius: Theme.radius
    color: Theme.card
    border.width: 1
    border.color: Theme.cardBorder
}
