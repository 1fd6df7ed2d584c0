pragma ComponentBehavior: Bound
import QtQuick
import Dustwhale

// A quiet activity sign: three dots that brighten in turn.
Row {
    id: dots
    property bool running: false
    property int phase: 0
    spacing: 3
    Repeater {
        model: 3
        Rectangle {
            required property int index
            width: 5; height: 5; radius: 2.5
            color: Theme.accent
            opacity: dots.phase === index ? 1.0 : 0.35
        }
    }
    Timer {
        interval: 300
        repeat: true
        running: dots.running && dots.visible
        onTriggered: dots.phase = (dots.phase + 1) % 3
    }
}
