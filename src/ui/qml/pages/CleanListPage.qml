pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Dustwhale

// The frame of every clean list: summary, an optional notice, the list in a card with its
// section header, and the selection footer. list is one of the bridge's finding lists; the rows
// shown are those that match query.
Item {
    id: page
    required property FindingListModel list
    property string query: ""
    property bool scanning: false
    property string notice: ""
    property string noticeAction: ""
    signal noticeTriggered()

    readonly property bool nothingFound: list.totalCount === 0

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        ColumnLayout {
            Layout.fillWidth: true
            Layout.leftMargin: Theme.pagePadding
            Layout.rightMargin: Theme.pagePadding
            Layout.topMargin: 4
            spacing: 4
            Text {
                objectName: "page.summaryTitle"
                text: page.list.summaryTitle
                color: Theme.text
                font.pixelSize: Theme.largeSize
                font.weight: Font.DemiBold
            }
            ElidedText {
                objectName: "page.summaryDetail"
                Layout.fillWidth: true
                text: page.list.summaryDetail
                color: Theme.secondaryText
                font.pixelSize: Theme.bodySize
                wrapMode: Text.WordWrap
                // One line in a small window, the rest on hover.
                maximumLineCount: Theme.compact ? 1 : 100
                elide: Text.ElideRight
            }
        }

        Rectangle {
            objectName: "page.notice"
            visible: page.notice !== ""
            Layout.fillWidth: true
            Layout.leftMargin: Theme.pagePadding
            Layout.rightMargin: Theme.pagePadding
            Layout.topMargin: 14
            implicitHeight: noticeRow.implicitHeight + 20
            radius: Theme.smallRadius
            color: Theme.warningBack
            border.width: 1
            border.color: Qt.rgba(Theme.warning.r, Theme.warning.g, Theme.warning.b, 0.35)
            RowLayout {
                id: noticeRow
                anchors.fill: parent
                anchors.margins: 10
                anchors.leftMargin: 12
                spacing: 10
                Icon { symbol: "exclamationmark.triangle"; size: 16; color: Theme.warning; Layout.alignment: Qt.AlignTop }
                Text {
                    Layout.fillWidth: true
                    text: page.notice
                    color: Theme.text
                    font.pixelSize: Theme.smallSize + 1
                    wrapMode: Text.WordWrap
                }
                DwButton {
                    visible: page.noticeAction !== ""
                    text: page.noticeAction
                    implicitHeight: 26
                    onClicked: page.noticeTriggered()
                }
            }
        }

        Card {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: Theme.pagePadding
            Layout.topMargin: Theme.compact ? 8 : 16
            Layout.bottomMargin: Theme.compact ? 8 : 18
            clip: true

            ScanningSkeleton {
                objectName: "page.skeleton"
                anchors.fill: parent
                visible: page.scanning && page.nothingFound
            }
            EmptyState {
                objectName: "page.empty"
                anchors.fill: parent
                visible: !page.scanning && page.nothingFound
                symbol: page.list.emptySymbol
                title: page.list.emptyTitle
                detail: page.list.emptyDetail
            }
            ColumnLayout {
                anchors.fill: parent
                anchors.margins: 1
                spacing: 0
                visible: !page.nothingFound
                SectionHeader {
                    Layout.fillWidth: true
                    title: page.list.sectionTitle
                    detail: page.list.sectionDetail(shown.count)
                    onSelectAll: page.list.selectAll(shown.keys())
                    onSelectNone: page.list.selectNone(shown.keys())
                }
                RowList {
                    id: listView
                    objectName: "page.list"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    Accessible.name: page.list.sectionTitle
                    model: SearchFilter {
                        id: shown
                        source: page.list
                        query: page.query
                    }
                    reuseItems: true
                    delegate: FindingRow {
                        objectName: "findingRow"
                        required property int index
                        required property string key
                        required name
                        required note
                        required sizeText
                        required badge
                        required badgeKind
                        required selected
                        required selectable
                        required showsLock
                        required whySafe
                        required lastUsed
                        required location
                        required largestFiles
                        width: listView.rowWidth
                        list: listView
                        current: ListView.isCurrentItem && listView.activeFocus
                        showsSeparator: index < listView.count - 1
                        proofActionTitle: App.revealTitle
                        onToggled: page.list.toggle(key)
                        onProofAction: page.list.reveal(key)
                        ListView.onReused: expanded = false
                    }
                }
            }
        }

        SelectionFooter {
            Layout.fillWidth: true
            summary: page.list.footerSummary
            detail: page.list.footerDetail
            hiddenNote: shown.hiddenNote
            enabled: page.list.canClear && !page.scanning
            onAction: page.list.requestMove()
        }
    }
}
