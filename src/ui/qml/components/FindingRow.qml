import QtQuick
import QtQuick.Layouts
import Dustwhale

// One reviewable item: selection control (or lock), name and note, badge, size, and the
// details that say why it can move.
Item {
    id: row
    property string name
    property string note
    property string sizeText
    property string badge
    property string badgeKind: "neutral"
    property bool selected: false
    property bool selectable: true
    property bool showsLock: false
    property string whySafe
    property string lastUsed
    property string location
    property string largestFiles
    property bool sizeMuted: false
    property bool startsExpanded: false
    property string proofActionTitle
    property bool expanded: startsExpanded
    property bool showsSeparator: true
    // The row under the list's keyboard cursor, while the list has the keyboard.
    property bool current: false
    // The list whose keys work this row: Space toggles it, Return shows or hides its details.
    property RowList list: null
    Connections {
        target: row.list
        function onToggleCurrent() { if (row.current && row.selectable) row.toggled() }
        function onOpenCurrent() { if (row.current) row.expanded = !row.expanded }
    }
    signal toggled()
    signal proofAction()

    implicitHeight: main.height + (expanded ? details.height + 14 : 0)

    // A screen reader reads the row as its name, size and badge, and whether it is selected.
    Accessible.role: Accessible.ListItem
    Accessible.name: Theme.spoken(name, sizeText, badge)
    Accessible.checkable: selectable
    Accessible.checked: selectable && selected

    Rectangle {
        anchors.fill: parent
        color: hover.hovered ? Theme.hover : "transparent"
    }
    HoverHandler { id: hover }
    FocusRing { shown: row.current; gap: -4; cornerRadius: Theme.smallRadius }

    RowLayout {
        id: main
        width: parent.width
        height: Theme.rowHeight
        anchors.top: parent.top
        spacing: 14

        Item {
            Layout.leftMargin: 14
            Layout.preferredWidth: 26
            Layout.preferredHeight: 30
            CheckMark {
                objectName: "row.check"
                anchors.centerIn: parent
                width: 18
                height: 18
                visible: row.selectable
                checked: row.selected
                // The list takes the keys (Space toggles the current row).
                focusPolicy: Qt.NoFocus
                // Two items of one name (copies, files in two folders) are told apart by where
                // they are.
                Accessible.name: "Select " + row.name + (row.location !== "" ? ", " + row.location : "")
                onClicked: row.toggled()
            }
            // Not selectable: the lock and the word in the control's place.
            Column {
                anchors.centerIn: parent
                visible: !row.selectable && row.showsLock
                spacing: 1
                Icon {
                    objectName: "row.lock"
                    anchors.horizontalCenter: parent.horizontalCenter
                    symbol: "lock"
                    size: 14
                    color: Theme.tertiaryText
                }
                Text {
                    objectName: "row.kept"
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: "Kept"
                    color: Theme.tertiaryText
                    font.pixelSize: Theme.smallSize - 1
                }
            }
        }
        Column {
            Layout.fillWidth: true
            spacing: 3
            Text {
                objectName: "row.name"
                width: parent.width
                text: row.name
                color: Theme.text
                font.pixelSize: Theme.bodySize + 1
                font.weight: Font.Medium
                elide: Text.ElideMiddle
            }
            Text {
                id: noteLine
                objectName: "row.note"
                width: parent.width
                text: row.note
                color: Theme.secondaryText
                font.pixelSize: Theme.smallSize + 1
                elide: Text.ElideRight
            }
        }
        Badge {
            objectName: "row.badge"
            text: row.badge
            tone: row.badgeKind
            Layout.maximumWidth: 220
        }
        Text {
            objectName: "row.size"
            Layout.preferredWidth: 78
            horizontalAlignment: Text.AlignRight
            text: row.sizeText
            color: row.sizeMuted ? Theme.secondaryText : Theme.text
            font.pixelSize: Theme.bodySize + 1
            font.weight: Font.DemiBold
        }
        DwButton {
            objectName: "row.disclosure"
            Layout.rightMargin: 10
            Layout.preferredWidth: 122
            plain: true
            focusPolicy: Qt.NoFocus
            symbol: row.expanded ? "chevron.up" : "chevron.down"
            text: row.expanded ? "Hide details" : "Show details"
            onClicked: row.expanded = !row.expanded
        }
    }

    GridLayout {
        id: details
        visible: row.expanded
        anchors.top: main.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.leftMargin: 14 + 26 + 14
        anchors.rightMargin: 24
        columns: 2
        columnSpacing: 16
        rowSpacing: 6

        // A note the row had to cut is shown whole here.
        Text { visible: noteLine.truncated; text: "Note"; color: Theme.tertiaryText; font.pixelSize: Theme.smallSize + 1; Layout.alignment: Qt.AlignTop }
        Text { objectName: "row.fullNote"; visible: noteLine.truncated; Layout.fillWidth: true; text: row.note; color: Theme.text; font.pixelSize: Theme.smallSize + 1; wrapMode: Text.WordWrap }
        Text { text: "Why it's safe"; color: Theme.tertiaryText; font.pixelSize: Theme.smallSize + 1; Layout.alignment: Qt.AlignTop }
        Text { objectName: "row.whySafe"; Layout.fillWidth: true; text: row.whySafe; color: Theme.text; font.pixelSize: Theme.smallSize + 1; wrapMode: Text.WordWrap }
        Text { text: "Last used"; color: Theme.tertiaryText; font.pixelSize: Theme.smallSize + 1 }
        Text { Layout.fillWidth: true; text: row.lastUsed; color: Theme.text; font.pixelSize: Theme.smallSize + 1 }
        Text { text: "Location"; color: Theme.tertiaryText; font.pixelSize: Theme.smallSize + 1; Layout.alignment: Qt.AlignTop }
        Text { Layout.fillWidth: true; text: row.location; color: Theme.text; font.pixelSize: Theme.smallSize + 1; wrapMode: Text.WrapAnywhere }
        Text { visible: row.largestFiles !== ""; text: "Largest files"; color: Theme.tertiaryText; font.pixelSize: Theme.smallSize + 1; Layout.alignment: Qt.AlignTop }
        Text { objectName: "row.largestFiles"; visible: row.largestFiles !== ""; Layout.fillWidth: true; text: row.largestFiles; color: Theme.text; font.pixelSize: Theme.smallSize + 1; wrapMode: Text.WordWrap }
        Item { width: 1; height: 1; visible: row.proofActionTitle !== "" }
        DwButton {
            objectName: "row.proof"
            visible: row.proofActionTitle !== ""
            text: row.proofActionTitle
            symbol: "folder"
            implicitHeight: 26
            onClicked: row.proofAction()
        }
    }

    Rectangle {
        visible: row.showsSeparator
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.leftMargin: 18
        anchors.right: parent.right
        height: 1
        color: Theme.separator
    }
}
