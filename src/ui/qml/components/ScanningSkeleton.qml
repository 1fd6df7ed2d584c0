pragma ComponentBehavior: Bound
import QtQuick
import Dustwhale

// Grey placeholder rows while the scan runs, breathing gently.
Item {
    id: skeleton
    property int rows: 6

    Column {
        id: column
        anchors.fill: parent
        anchors.margins: 18
        spacing: 22

        Repeater {
            model: skeleton.rows
            Row {
                id: placeholder
                required property int index
                spacing: 14
                width: column.width
                Rectangle { width: 18; height: 18; radius: 5; color: Theme.skeleton }
                Column {
                    spacing: 8
                    width: column.width - 18 - 14 - 90 - 14
                    Rectangle { width: parent.width * (0.42 + 0.13 * ((placeholder.index * 7) % 4)); height: 11; radius: 5; color: Theme.skeleton }
                    Rectangle { width: parent.width * (0.62 + 0.08 * ((placeholder.index * 5) % 3)); height: 9; radius: 4.5; color: Theme.skeleton }
                }
                Rectangle { width: 90; height: 11; radius: 5; color: Theme.skeleton }
            }
        }
    }

    SequentialAnimation on opacity {
        loops: Animation.Infinite
        running: skeleton.visible
        NumberAnimation { from: 1.0; to: 0.55; duration: 900; easing.type: Easing.InOutSine }
        NumberAnimation { from: 0.55; to: 1.0; duration: 900; easing.type: Easing.InOutSine }
    }
}
