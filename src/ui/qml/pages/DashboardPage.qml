pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQml.Models
import Dustwhale

// Overview: how the home volume divides, one card per kind of finding, and the way to review.
Item {
    id: page
    readonly property OverviewModel overview: App.overview
    signal openPage(string key)

    EmptyState {
        anchors.fill: parent
        anchors.bottomMargin: 60
        visible: App.phase === App.Failed
        symbol: "exclamationmark.triangle"
        title: "Scan could not finish"
        detail: App.failureText
    }

    Flickable {
        anchors.fill: parent
        visible: App.phase !== App.Failed
        contentHeight: column.implicitHeight + 24
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }

        ColumnLayout {
            id: column
            x: Theme.pagePadding
            width: parent.width - 2 * Theme.pagePadding
            spacing: 16

            // ---- storage bar
            Card {
                Layout.fillWidth: true
                implicitHeight: storageColumn.implicitHeight + 36
                ColumnLayout {
                    id: storageColumn
                    x: 20; y: 18
                    width: parent.width - 40
                    spacing: 10
                    RowLayout {
                        Layout.fillWidth: true
                        Text { Layout.fillWidth: true; text: page.overview.volumeName; color: Theme.text; font.pixelSize: Theme.bodySize + 2; font.weight: Font.DemiBold; elide: Text.ElideRight }
                        Text { objectName: "storage.total"; text: page.overview.totalText; color: Theme.secondaryText; font.pixelSize: Theme.bodySize }
                    }
                    Rectangle {
                        id: bar
                        objectName: "storage.bar"
                        Layout.fillWidth: true
                        implicitHeight: 14
                        radius: 7
                        // Free space is the empty track; its outline shows where the volume ends.
                        color: Theme.card
                        border.width: 1
                        border.color: Theme.chartOutline
                        clip: true
                        readonly property var colors: ({
                            used: Theme.chartUsed,
                            ready: Theme.accent,
                            held: Theme.chartHeld,
                            free: "transparent"
                        })
                        Row {
                            anchors.fill: parent
                            // A hairline of the card between segments, so two marks never merge.
                            spacing: 0
                            // One segment per legend entry: held space only where the system reports it.
                            Repeater {
                                model: page.overview.legend
                                Rectangle {
                                    required property var modelData
                                    objectName: "storage.segment"
                                    property string part: modelData.part
                                    width: Math.round(bar.width * modelData.fraction)
                                    height: bar.height
                                    color: bar.colors[modelData.part]
                                    Rectangle { anchors.right: parent.right; width: 2; height: parent.height; color: Theme.card; visible: parent.width > 4 && parent.part !== "free" }
                                }
                            }
                        }
                    }
                    Flow {
                        Layout.fillWidth: true
                        spacing: 18
                        Repeater {
                            model: page.overview.legend
                            Row {
                                id: legendEntry
                                required property var modelData
                                objectName: "storage.legend"
                                property string label: modelData.label
                                spacing: 6
                                Rectangle { width: 9; height: 9; radius: 4.5; color: bar.colors[legendEntry.modelData.part]; anchors.verticalCenter: parent.verticalCenter; border.width: 1; border.color: legendEntry.modelData.part === "free" ? Theme.chartOutline : color }
                                Text { text: legendEntry.label; color: Theme.secondaryText; font.pixelSize: Theme.smallSize + 1 }
                            }
                        }
                    }
                    Text { objectName: "storage.summary"; Layout.fillWidth: true; text: page.overview.summary; color: Theme.text; font.pixelSize: Theme.bodySize; wrapMode: Text.WordWrap }
                    Text { objectName: "storage.explanation"; visible: text !== ""; Layout.fillWidth: true; text: page.overview.explanation; color: Theme.tertiaryText; font.pixelSize: Theme.smallSize + 1; wrapMode: Text.WordWrap }
                }
            }

            // ---- category cards
            GridLayout {
                Layout.fillWidth: true
                columns: column.width > 760 ? 4 : 2
                columnSpacing: 12
                rowSpacing: 12
                Repeater {
                    model: page.overview.cards
                    AbstractButton {
                        id: cardButton
                        required property var modelData
                        objectName: "card." + modelData.page
                        Layout.fillWidth: true
                        Layout.preferredWidth: 1
                        implicitHeight: 160
                        hoverEnabled: true
                        // Read as its title, figure and line, and opens its page.
                        Accessible.name: Theme.spoken(modelData.title, modelData.value, modelData.detail)
                        onClicked: page.openPage(modelData.page)
                        Accessible.onPressAction: clicked()
                        background: Card {
                            color: cardButton.down ? Qt.tint(Theme.card, Theme.pressed) : Theme.card
                            border.color: cardButton.hovered ? Theme.accent : Theme.cardBorder
                        }
                        FocusRing { shown: cardButton.visualFocus; cornerRadius: Theme.radius }
                        contentItem: ColumnLayout {
                            spacing: 6
                            RowLayout {
                                Layout.fillWidth: true
                                Layout.margins: 16
                                Layout.bottomMargin: 0
                                Rectangle {
                                    width: 30; height: 30; radius: 8
                                    color: Theme.accentTint
                                    Icon { anchors.centerIn: parent; symbol: cardButton.modelData.symbol; size: 17; color: Theme.accent }
                                }
                                Item { Layout.fillWidth: true }
                                Badge { text: cardButton.modelData.badge; tone: cardButton.modelData.badgeKind }
                            }
                            Text { Layout.leftMargin: 16; Layout.topMargin: 4; text: cardButton.modelData.title; color: Theme.secondaryText; font.pixelSize: Theme.bodySize }
                            Text { objectName: "card.value"; Layout.leftMargin: 16; text: cardButton.modelData.value; color: Theme.text; font.pixelSize: Theme.titleSize - 2; font.weight: Font.Bold }
                            Text {
                                objectName: "card.detail"
                                Layout.fillWidth: true
                                Layout.leftMargin: 16
                                Layout.rightMargin: 16
                                Layout.bottomMargin: 14
                                text: cardButton.modelData.detail
                                color: Theme.tertiaryText
                                font.pixelSize: Theme.smallSize + 1
                                wrapMode: Text.WordWrap
                                maximumLineCount: 3
                                elide: Text.ElideRight
                            }
                        }
                    }
                }
            }

            // ---- ready
            Card {
                Layout.fillWidth: true
                implicitHeight: readyRow.implicitHeight + 36
                RowLayout {
                    id: readyRow
                    x: 20; y: 18
                    width: parent.width - 40
                    spacing: 16
                    Column {
                        Layout.fillWidth: true
                        spacing: 4
                        Text { objectName: "ready.heading"; text: page.overview.readyHeading; color: Theme.text; font.pixelSize: Theme.largeSize; font.weight: Font.DemiBold }
                        Text { width: parent.width; text: page.overview.readyLine; color: Theme.secondaryText; font.pixelSize: Theme.bodySize; wrapMode: Text.WordWrap }
                    }
                    DwButton { text: "See what's using space"; onClicked: page.openPage("spaceMap") }
                    // Opens the page that holds what is ready, or offers each page that holds a part.
                    DwButton {
                        id: reviewButton
                        objectName: "ready.review"
                        primary: true
                        text: page.overview.reviewTitle
                        enabled: page.overview.reviewEnabled
                        onClicked: {
                            const places = page.overview.reviewPlaces
                            if (places.length === 1) page.openPage(places[0].page)
                            else if (places.length > 1) reviewMenu.popup(reviewButton, 0, reviewButton.height + 4)
                        }
                        Menu {
                            id: reviewMenu
                            objectName: "ready.reviewMenu"
                            Instantiator {
                                model: page.overview.reviewPlaces
                                delegate: MenuItem {
                                    required property var modelData
                                    objectName: "ready.reviewChoice"
                                    text: modelData.title
                                    onTriggered: page.openPage(modelData.page)
                                }
                                onObjectAdded: (index, object) => reviewMenu.insertItem(index, object as MenuItem)
                                onObjectRemoved: (index, object) => reviewMenu.removeItem(object as MenuItem)
                            }
                        }
                    }
                }
            }
        }
    }
}
