import QtQuick
import Dustwhale

// The keyboard focus ring: a 2-pixel ring in the focus colour just outside its parent, shown
// while shown is true (a control's visualFocus: focus that came from the keyboard).
Rectangle {
    objectName: "focusRing"
    property bool shown: false
    property real cornerRadius: Theme.smallRadius
    property real gap: 2

    anchors.fill: parent
    anchors.margins: -gap - border.width
    radius: cornerRadius + gap + border.width
    color: "transparent"
    border.width: 2
    border.color: Theme.focusRing
    visible: shown
    z: 100
}
