pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Dustwhale

// Space Map: the home folder's size tree one level at a time, as a strip of cells as wide as
// their share; a breadcrumb back up, and the selected folder's advice. Arrow keys move between
// cells, Return steps in, Backspace or Esc step out.
Item {
    id: page
    readonly property SpaceMapModel map: App.spaceMap
    signal openPage(string key)

    // The cells of the folder shown. Replaced only when the folder or the widths change, not
    // when the selection does, so a cell lives through the first click of a double-click.
    property var cellList: []
    function refreshCells() {
        const next = map.hasMap ? map.cells(strip.width) : []
        const shape = (cells) => JSON.stringify(cells.map(cell => [cell.path, cell.x, cell.width]))
        if (shape(next) !== shape(cellList)) cellList = next
    }
    Connections {
        target: page.map
        function onChanged() { page.refreshCells() }
    }
    Component.onCompleted: refreshCells()
    function stepOut() {
        const crumbs = page.map.crumbs
        if (crumbs.length > 1) page.map.leave(crumbs.length - 2)
    }

    activeFocusOnTab: true
    Accessible.role: Accessible.List
    Accessible.name: map.hasMap ? map.currentTitle : "Space Map"
    Keys.onUpPressed: map.move(-1)
    Keys.onDownPressed: map.move(1)
    Keys.onLeftPressed: map.move(-1)
    Keys.onRightPressed: map.move(1)
    Keys.onReturnPressed: if (map.hasSelection) map.enter(map.selectedPath)
    Keys.onEnterPressed: if (map.hasSelection) map.enter(map.selectedPath)
    Keys.onBackPressed: stepOut()
    Keys.onEscapePressed: stepOut()
    Keys.onPressed: (event) => { if (event.key === Qt.Key_Backspace) { stepOut(); event.accepted = true } }

    ColumnLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.pagePadding
        anchors.rightMargin: Theme.pagePadding
        anchors.bottomMargin: 18
        spacing: 14

        RowLayout {
            Layout.fillWidth: true
            Layout.topMargin: 4
            spacing: 10
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 4
                Text {
                    objectName: "spaceMap.title"
                    text: page.map.hasMap ? page.map.currentTitle : "Where the space goes"
                    color: Theme.text
                    font.pixelSize: Theme.largeSize
                    font.weight: Font.DemiBold
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
                Text {
                    Layout.fillWidth: true
                    text: "Folders of your home folder, each as wide as its share. Select one to see what it is; step in to see inside. The map does not move anything."
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                    wrapMode: Text.WordWrap
                }
                Text {
                    objectName: "spaceMap.sizes"
                    Layout.fillWidth: true
                    visible: page.map.hasMap
                    text: page.map.sizesText
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                    wrapMode: Text.WordWrap
                }
            }
            DwButton {
                objectName: "spaceMap.build"
                primary: !page.map.building
                enabled: !page.map.building
                text: page.map.building ? "Building…" : page.map.hasMap ? "Rebuild" : "Build map"
                onClicked: page.map.build()
            }
        }

        Row {
            objectName: "spaceMap.crumbs"
            Layout.fillWidth: true
            spacing: 4
            visible: page.map.hasMap
            Repeater {
                model: page.map.crumbs
                delegate: Row {
                    id: crumb
                    required property var modelData
                    required property int index
                    spacing: 4
                    Text {
                        visible: crumb.index > 0
                        anchors.verticalCenter: parent.verticalCenter
                        text: "›"
                        color: Theme.tertiaryText
                        font.pixelSize: Theme.bodySize
                    }
                    DwButton {
                        objectName: "spaceMap.crumb"
                        plain: true
                        text: crumb.modelData.name
                        onClicked: { page.forceActiveFocus(); page.map.leave(crumb.modelData.level) }
                    }
                }
            }
        }

        Card {
            Layout.fillWidth: true
            // Shorter in a small window, so that the detail below keeps its buttons in view.
            Layout.preferredHeight: page.height < 480 ? 84 : 150
            clip: true
            EmptyState {
                anchors.fill: parent
                visible: !page.map.hasMap
                symbol: "rectangle.split.3x3"
                title: page.map.building ? "Mapping your home folder…" : "No map yet"
                detail: page.map.building ? "" : "Build the map to see which folders hold the most."
            }
            Flickable {
                anchors.fill: parent
                anchors.margins: 12
                contentWidth: Math.max(width, strip.rowWidth)
                clip: true
                boundsBehavior: Flickable.StopAtBounds
                Item {
                    id: strip
                    objectName: "spaceMap.strip"
                    width: parent.parent.width
                    height: parent.parent.height
                    onWidthChanged: page.refreshCells()
                    property real rowWidth: page.cellList.length > 0
                        ? page.cellList[page.cellList.length - 1].x + page.cellList[page.cellList.length - 1].width : 0
                    Repeater {
                        model: page.cellList
                        delegate: Rectangle {
                            id: cell
                            required property var modelData
                            objectName: "spaceMap.cell"
                            property string name: modelData.name
                            x: modelData.x
                            width: modelData.width
                            height: strip.height
                            radius: 6
                            readonly property bool selected: page.map.selectedPath === modelData.path
                            readonly property color label: Theme.spaceMapLabel(modelData.rank)
                            color: Theme.spaceMapCell(modelData.rank)
                            // Each cell's edge stands out from the card and from its neighbours.
                            border.width: selected ? 2 : 1
                            border.color: selected ? Theme.text : Theme.accent
                            Accessible.role: Accessible.ListItem
                            Accessible.name: modelData.name + ", " + modelData.sizeText
                            Accessible.selectable: true
                            Accessible.selected: selected
                            FocusRing { objectName: "spaceMap.focusRing"; shown: cell.selected && page.activeFocus; gap: -5; cornerRadius: 6 }
                            Column {
                                visible: parent.width >= 64
                                anchors.left: parent.left
                                anchors.right: parent.right
                                anchors.bottom: parent.bottom
                                anchors.margins: 8
                                spacing: 2
                                Text {
                                    objectName: "spaceMap.cellName"
                                    width: parent.width
                                    text: cell.modelData.name
                                    color: cell.label
                                    font.pixelSize: Theme.smallSize + 1
                                    font.weight: Font.DemiBold
                                    elide: Text.ElideRight
                                }
                                Text {
                                    width: parent.width
                                    text: cell.modelData.sizeText
                                    color: cell.label
                                    font.pixelSize: Theme.smallSize
                                    elide: Text.ElideRight
                                }
                            }
                            TapHandler {
                                // The arrows work from the cell clicked; a second click steps in.
                                onTapped: { page.forceActiveFocus(); page.map.select(cell.modelData.path) }
                                onDoubleTapped: page.map.enter(cell.modelData.path)
                            }
                        }
                    }
                }
            }
        }

        Card {
            objectName: "spaceMap.detail"
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: page.map.hasMap
            ColumnLayout {
                anchors.fill: parent
                anchors.margins: 18
                spacing: 6
                visible: page.map.hasSelection
                RowLayout {
                    Layout.fillWidth: true
                    Text {
                        objectName: "spaceMap.selectedName"
                        Layout.fillWidth: true
                        text: page.map.selectedName
                        color: Theme.text
                        font.pixelSize: Theme.bodySize + 2
                        font.weight: Font.DemiBold
                        elide: Text.ElideRight
                    }
                    Text {
                        text: page.map.selectedSize
                        color: Theme.text
                        font.pixelSize: Theme.bodySize + 2
                        font.weight: Font.DemiBold
                    }
                }
                Text {
                    objectName: "spaceMap.adviceTitle"
                    Layout.fillWidth: true
                    text: page.map.adviceTitle
                    color: Theme.text
                    font.pixelSize: Theme.bodySize
                    wrapMode: Text.WordWrap
                }
                Text {
                    Layout.fillWidth: true
                    text: page.map.adviceDetail
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                    wrapMode: Text.WordWrap
                }
                Text {
                    Layout.fillWidth: true
                    text: page.map.selectedPath
                    color: Theme.tertiaryText
                    font.pixelSize: Theme.smallSize + 1
                    elide: Text.ElideMiddle
                }
                Item { Layout.fillHeight: true }
                RowLayout {
                    spacing: 10
                    DwButton { text: App.revealTitle; onClicked: page.map.reveal() }
                    DwButton {
                        objectName: "spaceMap.enter"
                        visible: page.map.selectedHasChildren
                        text: "Show inside"
                        onClicked: { page.map.enter(page.map.selectedPath); page.forceActiveFocus() }
                    }
                    DwButton {
                        visible: page.map.linkedPage !== ""
                        primary: true
                        objectName: "spaceMap.openPage"
                        text: page.map.linkedTitle
                        onClicked: page.openPage(page.map.linkedPage)
                    }
                }
            }
            Text {
                anchors.centerIn: parent
                visible: !page.map.hasSelection
                text: "Select a folder to see what it holds."
                color: Theme.secondaryText
                font.pixelSize: Theme.bodySize
            }
        }
    }
}
