pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Dustwhale

// "Move N items to the Trash?": what will move, the reassurance, Cancel and Move to Trash (a
// share's question in its own words: what each copy gives back, what stays and why).
// Return and Esc both cancel; the move starts only from the button (clicked, or reached with
// Tab and pressed with Space). While the move runs it
// shows progress, and when it is done a checkmark, the outcome and a way to Recently Cleared.
// Every state is the model's (App.moves); the sheet only shows it.
Sheet {
    id: sheet
    objectName: "confirmSheet"
    sheetWidth: 520
    property bool showAll: false
    readonly property MoveSheet moves: App.moves
    readonly property int listedLimit: moves.listed
    signal openRecentlyCleared()

    // Never taller than the window: the list gives up rows first, and scrolls.
    height: Math.min(implicitHeight, parent ? parent.height - 24 : implicitHeight)

    onOpened: { showAll = false; content.forceActiveFocus() }

    // The list scrolls by the keys as well as by the bar: arrows by a row, pages by a page.
    function scrollList(by: real) {
        const bottom = Math.max(0, itemList.contentHeight - itemList.height)
        itemList.contentY = Math.max(0, Math.min(bottom, itemList.contentY + by))
    }

    // The one child of the sheet: the sheet takes its height.
    FocusScope {
        id: content
        anchors.fill: parent
        implicitHeight: column.implicitHeight
        focus: true
        Keys.onReturnPressed: sheet.moves.cancel()
        Keys.onEnterPressed: sheet.moves.cancel()
        Keys.onEscapePressed: sheet.moves.cancel()
        Keys.onUpPressed: sheet.scrollList(-34)
        Keys.onDownPressed: sheet.scrollList(34)
        Keys.onPressed: (event) => {
            if (event.key === Qt.Key_PageUp) sheet.scrollList(-itemList.height)
            else if (event.key === Qt.Key_PageDown) sheet.scrollList(itemList.height)
            else if (event.key === Qt.Key_Home) sheet.scrollList(-itemList.contentHeight)
            else if (event.key === Qt.Key_End) sheet.scrollList(itemList.contentHeight)
            else return
            event.accepted = true
        }

        ColumnLayout {
            id: column
            anchors.fill: parent
            spacing: 14

            // ---- done
            ColumnLayout {
                visible: sheet.moves.done
                Layout.fillWidth: true
                spacing: 12
                Rectangle {
                    Layout.alignment: Qt.AlignHCenter
                    width: 52; height: 52; radius: 26
                    color: Theme.accentTint
                    Icon { objectName: "confirm.checkmark"; anchors.centerIn: parent; symbol: "checkmark"; size: 26; color: Theme.accent }
                }
                Text {
                    objectName: "confirm.outcome"
                    Layout.fillWidth: true
                    Layout.leftMargin: 16
                    Layout.rightMargin: 16
                    lineHeight: 1.15
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    text: sheet.moves.outcome
                    color: Theme.text
                    font.pixelSize: Theme.bodySize + 1
                }
                RowLayout {
                    Layout.alignment: Qt.AlignHCenter
                    Layout.topMargin: 8
                    spacing: 10
                    DwButton {
                        objectName: "confirm.recentlyCleared"
                        visible: sheet.moves.offerRecentlyCleared
                        text: "Show Recently Cleared"
                        // Tab reaches it and Space presses it; Return and Esc still cancel.
                        focusPolicy: Qt.TabFocus
                        returnPresses: false
                        onClicked: { sheet.moves.dismiss(); sheet.openRecentlyCleared() }
                    }
                    DwButton {
                        objectName: "confirm.done"
                        primary: true
                        text: "Done"
                        // Tab reaches it and Space presses it; Return and Esc still cancel.
                        focusPolicy: Qt.TabFocus
                        returnPresses: false
                        onClicked: sheet.moves.dismiss()
                    }
                }
            }

            // ---- asking, and moving
            RowLayout {
                visible: !sheet.moves.done
                Layout.fillWidth: true
                spacing: 14
                Rectangle {
                    Layout.alignment: Qt.AlignTop
                    width: 40; height: 40; radius: 10
                    color: Theme.accentTint
                    Icon { anchors.centerIn: parent; symbol: sheet.moves.symbol; size: 22; color: Theme.accent }
                }
                Column {
                    Layout.fillWidth: true
                    spacing: 3
                    Text {
                        objectName: "confirm.title"
                        width: parent.width
                        text: sheet.moves.title
                        color: Theme.text
                        font.pixelSize: Theme.largeSize
                        font.weight: Font.DemiBold
                        wrapMode: Text.WordWrap
                    }
                    Text {
                        objectName: "confirm.size"
                        text: sheet.moves.size
                        color: Theme.secondaryText
                        font.pixelSize: Theme.bodySize
                    }
                }
            }

            Rectangle {
                visible: !sheet.moves.done
                Layout.fillWidth: true
                // Up to eight rows where the window has room, down to two where it has not.
                readonly property real rowsHeight: Math.min(itemList.contentHeight, 34 * 8) + 2
                Layout.fillHeight: true
                Layout.preferredHeight: rowsHeight
                Layout.maximumHeight: rowsHeight
                Layout.minimumHeight: Math.min(rowsHeight, 34 * 2 + 2)
                radius: Theme.smallRadius
                color: "transparent"
                border.width: 1
                border.color: Theme.separator
                ListView {
                    id: itemList
                    objectName: "confirm.list"
                    x: 1; y: 1
                    width: parent.width - 2
                    height: parent.height - 2
                    clip: true
                    interactive: contentHeight > height
                    boundsBehavior: Flickable.StopAtBounds
                    model: sheet.moves.items
                    // Shown whenever rows lie out of view, not only while it scrolls.
                    ScrollBar.vertical: ScrollBar {
                        objectName: "confirm.scrollBar"
                        policy: itemList.contentHeight > itemList.height + 1 ? ScrollBar.AlwaysOn
                                                                              : ScrollBar.AsNeeded
                    }
                    delegate: Item {
                        id: listed
                        required property int index
                        required property string name
                        required property string sizeText
                        required property string kindWord
                        visible: sheet.showAll || listed.index < sheet.listedLimit
                        width: itemList.width
                        height: visible ? 34 : 0
                        RowLayout {
                            anchors.fill: parent
                            anchors.leftMargin: 12
                            anchors.rightMargin: itemList.interactive ? 20 : 12
                            spacing: 10
                            Text { objectName: "confirm.itemName"; Layout.fillWidth: true; text: listed.name; color: Theme.text; font.pixelSize: Theme.bodySize; elide: Text.ElideMiddle }
                            Text { text: listed.kindWord; color: Theme.tertiaryText; font.pixelSize: Theme.smallSize + 1 }
                            Text { objectName: "confirm.itemSize"; Layout.preferredWidth: 70; horizontalAlignment: Text.AlignRight; text: listed.sizeText; color: Theme.text; font.pixelSize: Theme.bodySize; font.weight: Font.Medium }
                        }
                        Rectangle { visible: listed.index > 0; width: parent.width - 24; x: 12; height: 1; color: Theme.separator }
                    }
                }
            }

            RowLayout {
                visible: !sheet.moves.done && !sheet.showAll && sheet.moves.count > sheet.listedLimit
                Layout.fillWidth: true
                Text {
                    objectName: "confirm.more"
                    Layout.fillWidth: true
                    text: sheet.moves.moreText
                    color: Theme.secondaryText
                    font.pixelSize: Theme.smallSize + 1
                }
                DwButton {
                    objectName: "confirm.showAll"
                    plain: true
                    // Tab reaches it and Space presses it; Return and Esc still cancel.
                    focusPolicy: Qt.TabFocus
                    returnPresses: false
                    text: sheet.moves.showAllText
                    onClicked: sheet.showAll = true
                }
            }

            Column {
                visible: !sheet.moves.done
                Layout.fillWidth: true
                spacing: 4
                Repeater {
                    model: sheet.moves.reassurances
                    Row {
                        id: line
                        required property string modelData
                        spacing: 8
                        Icon { symbol: "checkmark"; size: 13; color: Theme.accent; anchors.verticalCenter: parent.verticalCenter }
                        Text { width: column.width - 21; wrapMode: Text.WordWrap; text: line.modelData; color: Theme.secondaryText; font.pixelSize: Theme.smallSize + 1 }
                    }
                }
            }

            ColumnLayout {
                visible: !sheet.moves.done && sheet.moves.moving
                Layout.fillWidth: true
                spacing: 6
                ProgressBar {
                    id: bar
                    objectName: "confirm.progressBar"
                    Layout.fillWidth: true
                    Accessible.name: sheet.moves.progress
                    value: sheet.moves.fraction
                    background: Rectangle { implicitHeight: 6; radius: 3; color: Theme.skeleton }
                    contentItem: Item {
                        implicitHeight: 6
                        Rectangle { width: bar.visualPosition * parent.width; height: parent.height; radius: 3; color: Theme.accent }
                    }
                }
                Text {
                    objectName: "confirm.progress"
                    Layout.fillWidth: true
                    text: sheet.moves.progress
                    color: Theme.secondaryText
                    font.pixelSize: Theme.smallSize + 1
                    elide: Text.ElideMiddle
                }
            }

            RowLayout {
                visible: !sheet.moves.done
                Layout.fillWidth: true
                Layout.topMargin: 4
                spacing: 10
                Text {
                    Layout.fillWidth: true
                    text: sheet.moves.keysHint
                    color: Theme.tertiaryText
                    font.pixelSize: Theme.smallSize
                }
                DwButton {
                    objectName: "confirm.cancel"
                    text: "Cancel"
                    // Tab reaches it and Space presses it; Return and Esc still cancel.
                    focusPolicy: Qt.TabFocus
                    returnPresses: false
                    enabled: !sheet.moves.stopping
                    onClicked: sheet.moves.cancel()
                }
                DwButton {
                    objectName: "confirm.move"
                    primary: true
                    text: sheet.moves.action
                    // Tab reaches it and Space presses it; Return and Esc still cancel.
                    focusPolicy: Qt.TabFocus
                    returnPresses: false
                    enabled: !sheet.moves.moving && sheet.moves.count > 0
                    onClicked: sheet.moves.move()
                }
            }
        }
    }
}
