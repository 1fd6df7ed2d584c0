import QtQuick
import QtQuick.Controls
import Dustwhale

// A list of rows the keyboard can work: Tab gives it the keyboard, Up/Down/Home/End move the
// current row, Space toggles it, Return opens its details (rows listen to toggleCurrent and
// openCurrent). Rows are rowWidth wide, so the scroll bar, when there is one, has its own
// gutter and never lies over a row.
ListView {
    id: list
    signal toggleCurrent()
    signal openCurrent()
    readonly property bool scrolls: contentHeight > height + 1
    readonly property real rowWidth: scrolls ? width - bar.width - 2 : width

    clip: true
    activeFocusOnTab: true
    keyNavigationEnabled: true
    boundsBehavior: Flickable.StopAtBounds
    highlightMoveDuration: 0
    Accessible.role: Accessible.List
    // The keyboard lands on the first row when no row is current yet.
    onActiveFocusChanged: if (activeFocus && currentIndex < 0 && count > 0) currentIndex = 0
    Keys.onSpacePressed: toggleCurrent()
    Keys.onReturnPressed: openCurrent()
    Keys.onEnterPressed: openCurrent()
    Keys.onPressed: (event) => {
        if (event.key === Qt.Key_Home) { currentIndex = 0; event.accepted = true }
        else if (event.key === Qt.Key_End) { currentIndex = count - 1; event.accepted = true }
    }

    ScrollBar.vertical: ScrollBar {
        id: bar
        policy: list.scrolls ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
        width: 10
        contentItem: Rectangle {
            implicitWidth: 6
            radius: 3
            color: bar.pressed ? Theme.secondaryText : Theme.tertiaryText
            opacity: bar.hovered || bar.pressed ? 0.9 : 0.6
        }
        background: Item {}
    }
}
