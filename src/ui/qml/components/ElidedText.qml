import QtQuick
import QtQuick.Controls
import Dustwhale

// A line of text that may be cut; while it is, hovering it shows the whole text just below
// the line (never over it), and a screen reader reads the whole text.
Text {
    id: line
    Accessible.name: text
    HoverHandler { id: hover; enabled: line.truncated }
    ToolTip {
        objectName: "elided.tip"
        visible: hover.hovered && line.truncated
        delay: 500
        y: line.height + 4
        text: line.text
    }
}
