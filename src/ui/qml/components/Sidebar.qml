pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import Dustwhale

// The sidebar: the pages under their section titles, the shown one marked. It is one stop of
// the Tab chain; Up/Down move to the page above or below, Home/End to the first or last. A
// screen reader reads it as a list of pages with the shown one selected.
FocusScope {
    id: sidebar
    // { key, title, symbol, section } in order.
    required property var pages
    required property string page
    // byKeys: chosen with the arrows (the keyboard stays here) rather than clicked.
    signal chosen(string key, bool byKeys)

    readonly property int currentIndex: pages.findIndex(entry => entry.key === page)
    function choose(index: int) {
        if (index >= 0 && index < pages.length) chosen(pages[index].key, true)
    }

    activeFocusOnTab: true
    Accessible.role: Accessible.List
    Accessible.name: "Pages"
    Keys.onUpPressed: choose(currentIndex - 1)
    Keys.onDownPressed: choose(currentIndex + 1)
    Keys.onRightPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
    Keys.onPressed: (event) => {
        if (event.key === Qt.Key_Home) { choose(0); event.accepted = true }
        else if (event.key === Qt.Key_End) { choose(pages.length - 1); event.accepted = true }
    }

    Rectangle { anchors.fill: parent; color: Theme.sidebar }
    Rectangle { anchors.right: parent.right; width: 1; height: parent.height; color: Theme.separator }

    Column {
        anchors.fill: parent
        anchors.topMargin: 16
        anchors.leftMargin: 10
        anchors.rightMargin: 11
        spacing: 2
        Repeater {
            model: sidebar.pages
            Column {
                id: entry
                required property var modelData
                required property int index
                width: parent.width
                spacing: 2
                Text {
                    visible: entry.index === 0 || sidebar.pages[entry.index - 1].section !== entry.modelData.section
                    leftPadding: 10
                    topPadding: entry.index === 0 ? 0 : 14
                    bottomPadding: 4
                    text: entry.modelData.section
                    color: Theme.tertiaryText
                    font.pixelSize: Theme.smallSize
                    font.weight: Font.DemiBold
                    Accessible.ignored: true
                }
                // An item delegate: a list item to a screen reader, selected while its page shows.
                ItemDelegate {
                    id: rowButton
                    objectName: "sidebar." + entry.modelData.key
                    width: parent.width
                    height: 32
                    hoverEnabled: true
                    padding: 0
                    highlighted: shown
                    // The sidebar as a whole takes the keyboard.
                    focusPolicy: Qt.NoFocus
                    readonly property bool shown: sidebar.page === entry.modelData.key
                    Accessible.name: entry.modelData.title
                    Accessible.selectable: true
                    Accessible.selected: shown
                    onClicked: sidebar.chosen(entry.modelData.key, false)
                    // A screen reader's "press" shows the page, as a click does.
                    Accessible.onPressAction: sidebar.chosen(entry.modelData.key, false)
                    background: Rectangle {
                        radius: 7
                        color: rowButton.shown ? Theme.accentTint
                             : rowButton.down ? Theme.pressed
                             : rowButton.hovered ? Theme.hover : "transparent"
                    }
                    contentItem: Row {
                        leftPadding: 10
                        spacing: 10
                        Icon {
                            anchors.verticalCenter: parent.verticalCenter
                            symbol: entry.modelData.symbol
                            size: 17
                            color: rowButton.shown ? Theme.accent : Theme.secondaryText
                        }
                        Text {
                            anchors.verticalCenter: parent.verticalCenter
                            text: entry.modelData.title
                            color: Theme.text
                            font.pixelSize: Theme.bodySize + 1
                            font.weight: rowButton.shown ? Font.DemiBold : Font.Normal
                        }
                    }
                    FocusRing {
                        shown: rowButton.shown && sidebar.activeFocus
                        gap: -1
                        cornerRadius: 7
                    }
                }
            }
        }
    }
}
