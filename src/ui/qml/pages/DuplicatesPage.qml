pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Dustwhale

// Duplicates: the four folders and the search, then the groups (the kept copy with its lock,
// the extra copies to pick), the folders the search could not read, and the selection footer.
Item {
    id: page
    readonly property DuplicateListModel list: App.duplicates
    property string query: ""
    property bool scanning: false

    readonly property bool nothingFound: list.totalCount === 0
    readonly property var folders: [
        { title: page.list.folderNames[0], bit: 1 }, { title: page.list.folderNames[1], bit: 2 },
        { title: page.list.folderNames[2], bit: 4 }, { title: page.list.folderNames[3], bit: 8 }
    ]

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
                objectName: "duplicates.summaryTitle"
                text: page.list.summaryTitle
                color: Theme.text
                font.pixelSize: Theme.largeSize
                font.weight: Font.DemiBold
            }
            ElidedText {
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

        RowLayout {
            Layout.fillWidth: true
            Layout.leftMargin: Theme.pagePadding
            Layout.rightMargin: Theme.pagePadding
            Layout.topMargin: 14
            spacing: 16
            Repeater {
                model: page.folders
                // A check box to a screen reader, with its state.
                delegate: CheckBox {
                    id: folder
                    required property var modelData
                    objectName: "duplicates.folder." + modelData.title
                    // The model holds the choice; a click asks it, so the binding stays.
                    checked: (page.list.scopeBits & modelData.bit) !== 0
                    enabled: !page.list.searching
                    opacity: enabled ? 1 : 0.55
                    hoverEnabled: true
                    focusPolicy: Qt.StrongFocus
                    padding: 2
                    spacing: 7
                    text: modelData.title
                    Accessible.name: modelData.title
                    Accessible.checkable: true
                    Accessible.checked: checked
                    Accessible.onPressAction: if (enabled) clicked()
                    Accessible.onToggleAction: if (enabled) clicked()
                    // From the model's choice, not checked: a click has flipped that already.
                    onClicked: page.list.setFolder(modelData.bit, (page.list.scopeBits & modelData.bit) === 0)
                    FocusRing { shown: folder.visualFocus; cornerRadius: 4 }
                    indicator: Rectangle {
                        x: folder.leftPadding
                        anchors.verticalCenter: parent.verticalCenter
                        implicitWidth: 16; implicitHeight: 16; radius: 4
                        color: folder.checked ? (folder.down ? Theme.accentPressed : folder.hovered ? Theme.accentHover : Theme.accent)
                             : folder.down ? Qt.tint(Theme.field, Theme.pressed)
                             : folder.hovered ? Qt.tint(Theme.field, Theme.hover) : Theme.field
                        border.width: folder.checked ? 0 : 1.5
                        border.color: Theme.fieldBorder
                        Icon {
                            anchors.centerIn: parent
                            visible: folder.checked
                            symbol: "checkmark"
                            size: 14
                            color: Theme.accentForeground
                        }
                    }
                    contentItem: Text {
                        leftPadding: folder.indicator.width + folder.spacing
                        verticalAlignment: Text.AlignVCenter
                        text: folder.text
                        color: Theme.text
                        font.pixelSize: Theme.bodySize
                    }
                }
            }
            Item { Layout.fillWidth: true }
            DwButton {
                objectName: "duplicates.find"
                primary: !page.list.searching
                text: page.list.findTitle
                enabled: !page.list.searching && page.list.scopeBits !== 0
                onClicked: page.list.find()
            }
        }

        Text {
            objectName: "duplicates.progress"
            Accessible.role: Accessible.ProgressBar
            Accessible.name: text
            visible: page.list.searching
            Layout.fillWidth: true
            Layout.leftMargin: Theme.pagePadding
            Layout.rightMargin: Theme.pagePadding
            Layout.topMargin: 8
            text: page.list.progress
            color: Theme.secondaryText
            font.pixelSize: Theme.smallSize + 1
            elide: Text.ElideRight
        }

        Card {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: Theme.pagePadding
            Layout.topMargin: Theme.compact ? 8 : 14
            Layout.bottomMargin: page.list.skipped.length > 0 || Theme.compact ? 8 : 18
            clip: true

            ScanningSkeleton {
                anchors.fill: parent
                visible: page.list.searching && page.nothingFound
            }
            EmptyState {
                objectName: "duplicates.empty"
                anchors.fill: parent
                visible: !page.list.searching && page.nothingFound
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
                    detail: page.list.sectionDetail
                    onSelectAll: page.list.selectAll(shown.keys())
                    onSelectNone: page.list.selectNone(shown.keys())
                }
                RowList {
                    id: listView
                    objectName: "duplicates.list"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    Accessible.name: page.list.sectionTitle
                    model: SearchFilter {
                        id: shown
                        source: page.list
                        query: page.query
                    }
                    delegate: Column {
                        id: copy
                        required property string key
                        required property string name
                        required property string note
                        required property string sizeText
                        required property string badge
                        required property string badgeKind
                        required property bool selected
                        required property bool selectable
                        required property bool showsLock
                        required property string whySafe
                        required property string lastUsed
                        required property string location
                        required property bool kept
                        required property bool groupStart
                        required property string groupTitle
                        width: listView.rowWidth

                        // Each group under its title, over the first of its copies shown.
                        Rectangle {
                            visible: copy.groupStart
                            width: parent.width
                            height: visible ? (Theme.compact ? 24 : 30) : 0
                            color: Theme.hover
                            Text {
                                objectName: "duplicates.groupTitle"
                                anchors.left: parent.left
                                anchors.leftMargin: 18
                                anchors.verticalCenter: parent.verticalCenter
                                text: copy.groupTitle
                                color: Theme.secondaryText
                                font.pixelSize: Theme.smallSize + 1
                                font.weight: Font.DemiBold
                            }
                        }
                        FindingRow {
                            objectName: "duplicateRow"
                            width: parent.width
                            name: copy.name
                            note: copy.note
                            sizeText: copy.sizeText
                            badge: copy.badge
                            badgeKind: copy.badgeKind
                            selected: copy.selected
                            selectable: copy.selectable
                            showsLock: copy.showsLock
                            whySafe: copy.whySafe
                            lastUsed: copy.lastUsed
                            location: copy.location
                            showsSeparator: copy.kept
                            list: listView
                            current: copy.ListView.isCurrentItem && listView.activeFocus
                            proofActionTitle: App.revealTitle
                            onToggled: page.list.toggle(copy.key)
                            onProofAction: page.list.reveal(copy.key)
                        }
                        Item {
                            visible: !copy.kept
                            width: parent.width
                            height: visible ? (Theme.compact ? 24 : 30) : 0
                            DwButton {
                                objectName: "duplicates.keep"
                                plain: true
                                x: 46
                                anchors.top: parent.top
                                text: page.list.keepInstead
                                onClicked: page.list.keep(copy.key)
                            }
                            Rectangle {
                                anchors.bottom: parent.bottom
                                anchors.left: parent.left
                                anchors.right: parent.right
                                anchors.leftMargin: 18
                                height: 1
                                color: Theme.separator
                            }
                        }
                    }
                }
            }
        }

        ColumnLayout {
            objectName: "duplicates.skipped"
            visible: page.list.skipped.length > 0
            Layout.fillWidth: true
            Layout.leftMargin: Theme.pagePadding
            Layout.rightMargin: Theme.pagePadding
            Layout.bottomMargin: 12
            spacing: 2
            Text {
                text: page.list.skippedHeading
                color: Theme.text
                font.pixelSize: Theme.smallSize + 1
                font.weight: Font.DemiBold
            }
            Repeater {
                model: page.list.skipped
                delegate: Text {
                    required property string modelData
                    Layout.fillWidth: true
                    text: modelData
                    color: Theme.secondaryText
                    font.pixelSize: Theme.smallSize + 1
                    elide: Text.ElideMiddle
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
            otherAction: page.list.shareTitle
            otherEnabled: page.list.canClear && !page.scanning
            onOther: page.list.requestShare()
        }
    }
}
