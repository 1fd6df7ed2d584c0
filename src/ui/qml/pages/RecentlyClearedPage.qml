pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Dustwhale

// Everything the app moved to the Trash, one card per clear, with Put Back while an item is
// still there.
Item {
    id: page

    EmptyState {
        objectName: "cleared.empty"
        anchors.fill: parent
        anchors.bottomMargin: 60
        visible: App.clearedCount === 0
        symbol: "clock.arrow.circlepath"
        title: "Nothing cleared yet"
        detail: "When you move items to the Trash, they appear here so you can Put Back while they remain."
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.pagePadding
        anchors.rightMargin: Theme.pagePadding
        anchors.topMargin: 4
        spacing: 14
        visible: App.clearedCount > 0

        RowLayout {
            Layout.fillWidth: true
            spacing: 12
            Column {
                Layout.fillWidth: true
                spacing: 4
                Text {
                    objectName: "cleared.title"
                    text: App.clearedTitle
                    color: Theme.text
                    font.pixelSize: Theme.largeSize
                    font.weight: Font.DemiBold
                }
                Text {
                    objectName: "cleared.emptyLine"
                    width: parent.width
                    text: App.clearedEmptyLine
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                    wrapMode: Text.WordWrap
                }
                Text {
                    objectName: "cleared.shareNote"
                    visible: App.clearedShareNote !== ""
                    width: parent.width
                    text: App.clearedShareNote
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                    wrapMode: Text.WordWrap
                }
            }
            DwButton {
                objectName: "cleared.openTrash"
                symbol: "trash"
                text: App.trashTitle
                onClicked: App.openTrash()
            }
        }

        // The cards, each as wide as the list less the scroll bar's own gutter; Tab goes
        // through their Put Back buttons.
        RowList {
            id: groups
            objectName: "cleared.groups"
            Layout.fillWidth: true
            Layout.fillHeight: true
            activeFocusOnTab: false
            keyNavigationEnabled: false
            Accessible.name: "Recently Cleared"
            spacing: 14
            model: App.clearedGroups
            bottomMargin: 18

            delegate: Card {
                id: card
                required property var modelData
                objectName: "cleared.group"
                width: groups.rowWidth
                height: column.implicitHeight + 8
                Accessible.name: "Items cleared " + modelData.dateText

                Column {
                    id: column
                    x: 1; y: 1
                    width: parent.width - 2

                    Item {
                        width: parent.width
                        height: Math.max(groupHeader.implicitHeight, putBackAll.implicitHeight + 14)

                        Text {
                            id: groupHeader
                            objectName: "cleared.groupHeader"
                            anchors.left: parent.left
                            anchors.right: putBackAll.left
                            leftPadding: 18; topPadding: 14; bottomPadding: 10
                            text: card.modelData.header
                            color: Theme.text
                            font.pixelSize: Theme.bodySize
                            font.weight: Font.DemiBold
                            elide: Text.ElideRight
                        }
                        DwButton {
                            id: putBackAll
                            objectName: "cleared.putBackAll"
                            anchors.right: parent.right
                            anchors.rightMargin: 14
                            anchors.top: parent.top
                            anchors.topMargin: 8
                            visible: card.modelData.canPutBackAll
                            text: card.modelData.putBackAllTitle
                            Accessible.name: text + ", " + card.modelData.header
                            onClicked: App.putBackAll(card.modelData.sessionID)
                        }
                    }
                    ClearedRow {
                        width: parent.width
                        heading: true
                        name: "Item"; from: "Came from"; sizeText: "Size"; statusText: "Status"; actionTitle: "Action"
                    }
                    Repeater {
                        model: card.modelData.entries
                        ClearedRow {
                            required property var modelData
                            objectName: "cleared.row"
                            width: column.width
                            name: modelData.name
                            from: modelData.from
                            sizeText: modelData.sizeText
                            statusText: modelData.statusText
                            canPutBack: modelData.canPutBack
                            onPutBack: App.putBack(modelData.id)
                        }
                    }
                }
            }
        }
    }
}
