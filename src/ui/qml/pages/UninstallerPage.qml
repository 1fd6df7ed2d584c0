pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Dustwhale

// Uninstaller: the installed apps, largest first, each with its icon, sizes and last use; the
// chosen app's bundle and related items, and "Uninstall…", which opens the confirm sheet.
Item {
    id: page
    readonly property AppListModel apps: App.apps
    // A search starts over: no app is chosen among the rows it shows.
    property string query: ""
    onQueryChanged: apps.choose("")
    // The apps are listed on the page's first visit.
    onVisibleChanged: if (visible) apps.listOnce()
    Component.onCompleted: if (visible) apps.listOnce()

    ColumnLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.pagePadding
        anchors.rightMargin: Theme.pagePadding
        anchors.bottomMargin: 18
        spacing: 14

        RowLayout {
            Layout.fillWidth: true
            Layout.topMargin: 4
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 4
                Text {
                    objectName: "apps.title"
                    text: page.apps.title
                    color: Theme.text
                    font.pixelSize: Theme.largeSize
                    font.weight: Font.DemiBold
                }
                Text {
                    Layout.fillWidth: true
                    text: page.apps.detail
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                    wrapMode: Text.WordWrap
                }
            }
            DwButton {
                objectName: "apps.refresh"
                enabled: !page.apps.loading
                text: page.apps.loading ? "Loading…" : "Refresh"
                onClicked: page.apps.refresh()
            }
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 14
            Card {
                Layout.fillWidth: true
                Layout.fillHeight: true
                clip: true
                ScanningSkeleton { anchors.fill: parent; visible: (page.apps.loading || !page.apps.listed) && page.apps.count === 0 }
                EmptyState {
                    objectName: "apps.empty"
                    anchors.fill: parent
                    visible: page.apps.listed && !page.apps.loading && page.apps.count === 0
                    symbol: "minus.square"
                    title: "No apps listed"
                    detail: "Refresh to list the apps in your Applications folders."
                }
                // Up/Down choose the app above or below, as a click does.
                RowList {
                    id: list
                    anchors.fill: parent
                    anchors.topMargin: 6  // clear of the card's rounded corners
                    anchors.bottomMargin: 6
                    anchors.leftMargin: 1
                    anchors.rightMargin: 1
                    Accessible.name: page.apps.title
                    model: SearchFilter {
                        id: shownApps
                        source: page.apps
                        query: page.query
                    }
                    onCurrentIndexChanged: if (activeFocus && currentIndex >= 0) page.apps.choose(shownApps.keys()[currentIndex])
                    delegate: Rectangle {
                        id: appRow
                        required property string key
                        required property string name
                        required property string sizeText
                        required property string detail
                        required property string rowText
                        required property string iconSource
                        required property string lastUsed
                        required property bool needsAdmin
                        required property bool current
                        objectName: "apps.row"
                        required property int index
                        width: list.rowWidth
                        Accessible.role: Accessible.ListItem
                        Accessible.name: Theme.spoken(appRow.name, appRow.sizeText, appRow.rowText)
                        Accessible.selectable: true
                        Accessible.selected: appRow.current
                        FocusRing { shown: appRow.ListView.isCurrentItem && list.activeFocus; gap: -3; cornerRadius: 4 }
                        height: Math.max(58, rowColumn.implicitHeight + 20)
                        color: appRow.current ? Theme.accentTint : "transparent"
                        Image {
                            id: appIcon
                            objectName: "apps.icon"
                            anchors.left: parent.left
                            anchors.leftMargin: 16
                            anchors.verticalCenter: parent.verticalCenter
                            width: 36; height: 36
                            sourceSize.width: 72
                            sourceSize.height: 72
                            source: appRow.iconSource
                            smooth: true
                            fillMode: Image.PreserveAspectFit
                        }
                        ColumnLayout {
                            id: rowColumn
                            anchors.left: appIcon.right
                            anchors.right: size.left
                            anchors.leftMargin: 12
                            anchors.rightMargin: 12
                            anchors.verticalCenter: parent.verticalCenter
                            spacing: 3
                            Text {
                                objectName: "apps.name"
                                Layout.fillWidth: true
                                text: appRow.name
                                color: Theme.text
                                font.pixelSize: Theme.bodySize + 1
                                font.weight: Font.Medium
                                elide: Text.ElideRight
                            }
                            Text {
                                objectName: "apps.detail"
                                Layout.fillWidth: true
                                // "Last used …" is kept on one line.
                                text: appRow.detail + " · " + appRow.lastUsed.replace(/ /g, "\u00a0")
                                color: Theme.secondaryText
                                font.pixelSize: Theme.smallSize + 1
                                wrapMode: Text.WordWrap
                                maximumLineCount: 2
                                elide: Text.ElideRight
                            }
                            RowLayout {
                                visible: appRow.rowText !== ""
                                Layout.fillWidth: true
                                spacing: 8
                                Text {
                                    objectName: "apps.rowText"
                                    Layout.fillWidth: true
                                    text: appRow.rowText
                                    color: Theme.warning
                                    font.pixelSize: Theme.smallSize + 1
                                    wrapMode: Text.WordWrap
                                }
                                DwButton {
                                    objectName: "apps.reveal"
                                    visible: appRow.needsAdmin
                                    plain: true
                                    text: App.revealTitle
                                    onClicked: page.apps.reveal(appRow.key)
                                }
                            }
                        }
                        Text {
                            id: size
                            anchors.right: parent.right
                            anchors.rightMargin: 18
                            anchors.verticalCenter: parent.verticalCenter
                            text: appRow.sizeText
                            color: Theme.text
                            font.pixelSize: Theme.bodySize
                            font.weight: Font.DemiBold
                        }
                        Rectangle {
                            anchors.bottom: parent.bottom
                            anchors.left: parent.left; anchors.leftMargin: 64
                            anchors.right: parent.right
                            height: 1
                            color: Theme.separator
                        }
                        TapHandler { onTapped: { list.currentIndex = appRow.index; page.apps.choose(appRow.key) } }
                    }
                }
            }
            Card {
                // Narrower in a small window, so the list keeps room for its rows.
                Layout.preferredWidth: Math.max(240, Math.min(320, Math.round(page.width * 0.34)))
                Layout.fillHeight: true
                ColumnLayout {
                    anchors.fill: parent
                    anchors.margins: 16
                    spacing: 8
                    visible: page.apps.hasCurrent
                    Text {
                        objectName: "apps.currentName"
                        Layout.fillWidth: true
                        text: page.apps.currentName + " · " + page.apps.currentSize
                        color: Theme.text
                        font.pixelSize: Theme.bodySize + 1
                        font.weight: Font.DemiBold
                        elide: Text.ElideRight
                    }
                    Text {
                        Layout.fillWidth: true
                        objectName: "apps.itemsHeading"
                        text: page.apps.currentItemsHeading
                        color: Theme.tertiaryText
                        font.pixelSize: Theme.smallSize
                        font.weight: Font.DemiBold
                    }
                    ListView {
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        clip: true
                        spacing: 8
                        boundsBehavior: Flickable.StopAtBounds
                        model: page.apps.currentItems
                        delegate: Column {
                            id: item
                            required property var modelData
                            objectName: "apps.item"
                            width: ListView.view.width
                            spacing: 1
                            Text {
                                objectName: "apps.itemsGroupHeading"
                                visible: (item.modelData.heading || "") !== ""
                                width: parent.width
                                topPadding: 6
                                bottomPadding: 4
                                text: item.modelData.heading || ""
                                color: Theme.tertiaryText
                                font.pixelSize: Theme.smallSize
                                font.weight: Font.DemiBold
                                wrapMode: Text.WordWrap
                            }
                            Text {
                                objectName: "apps.itemName"
                                width: parent.width
                                text: item.modelData.name
                                color: Theme.text
                                font.pixelSize: Theme.smallSize + 1
                                elide: Text.ElideMiddle
                            }
                            Text {
                                objectName: "apps.itemPlace"
                                width: parent.width
                                text: item.modelData.size ? item.modelData.place + " · " + item.modelData.size
                                                          : item.modelData.place
                                color: Theme.tertiaryText
                                font.pixelSize: Theme.smallSize
                                elide: Text.ElideMiddle
                            }
                        }
                    }
                    DwButton {
                        objectName: "apps.uninstall"
                        Layout.alignment: Qt.AlignRight
                        primary: true
                        enabled: page.apps.canUninstall && !App.clearing
                        text: "Uninstall…"
                        onClicked: page.apps.requestMove()
                    }
                }
                Text {
                    anchors.centerIn: parent
                    visible: !page.apps.hasCurrent
                    text: "Choose an app to see what goes with it."
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                }
            }
        }
    }
}
