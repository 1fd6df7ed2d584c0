import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Dustwhale

// Above every page: its title, when it was scanned (or what is being scanned), "Scan again" on
// Overview, and the search field on the pages that list things.
Item {
    id: header
    property string title
    property bool showsScan: false
    property string status
    property bool scanning: false
    property bool showsSearch: false
    property string searchPrompt: "Search"
    property string query: ""
    signal scan()
    signal queryEdited(string text)

    implicitHeight: Theme.compact ? 58 : 76
    function focusSearch() { search.forceActiveFocus(); search.selectAll() }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.pagePadding
        anchors.rightMargin: Theme.pagePadding
        spacing: 12

        Column {
            Layout.fillWidth: true
            spacing: 3
            Text {
                objectName: "header.title"
                text: header.title
                color: Theme.text
                font.pixelSize: Theme.titleSize
                font.weight: Font.Bold
            }
            Row {
                spacing: 6
                BusyDots {
                    anchors.verticalCenter: parent.verticalCenter
                    visible: header.scanning
                    running: header.scanning
                }
                Text {
                    objectName: "header.scanned"
                    text: header.status
                    color: Theme.secondaryText
                    font.pixelSize: Theme.smallSize + 1
                }
            }
        }
        DwButton {
            objectName: "header.scan"
            visible: header.showsScan
            text: "Scan again"
            enabled: !header.scanning
            onClicked: header.scan()
        }
        TextField {
            id: search
            objectName: "searchField"
            visible: header.showsSearch
            Layout.preferredWidth: 220
            implicitHeight: 30
            leftPadding: 30
            placeholderText: header.searchPrompt
            placeholderTextColor: Theme.tertiaryText
            color: Theme.text
            font.pixelSize: Theme.bodySize
            text: header.query
            selectByMouse: true
            Accessible.name: header.searchPrompt + " " + header.title
            onTextEdited: header.queryEdited(text)
            background: Rectangle {
                radius: Theme.smallRadius
                color: Theme.field
                border.width: search.activeFocus ? 2 : 1
                border.color: search.activeFocus ? Theme.focusRing : Theme.fieldBorder
                Icon {
                    anchors.left: parent.left
                    anchors.leftMargin: 9
                    anchors.verticalCenter: parent.verticalCenter
                    symbol: "magnifyingglass"
                    size: 14
                    color: Theme.secondaryText
                }
            }
        }
    }
}
