import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Dustwhale

// "Move N items to the Trash?": what will move, the reassurance, Cancel and Move to Trash.
// Return and Esc both cancel; the move starts only from the button. While the clear runs it
// shows progress, and when it is done a checkmark, the outcome and a way to Recently Cleared.
Sheet {
    id: sheet
    objectName: "confirmSheet"
    sheetWidth: 520
    property bool showAll: false
    property bool finished: false
    readonly property int listedLimit: dw.confirmListed
    // The screenshot mode's pictures of the sheet while moving ("moving") and after ("done"),
    // drawn from texts it is given: it never clears a real home to take a picture.
    property string preview: ""
    property string previewProgress: ""
    property real previewFraction: 0
    property string previewMessage: ""
    readonly property bool moving: dw.clearing || preview === "moving"
    readonly property bool done: finished || preview === "done"
    signal openRecentlyCleared()

    onOpened: { showAll = false; content.forceActiveFocus() }
    onClosed: finished = false

    Connections {
        target: dw
        function onPhaseChanged() {
            if (sheet.visible && !dw.clearing && !dw.scanning) sheet.finished = true
        }
    }

    function cancel() {
        if (sheet.finished) { sheet.finished = false; return }
        dw.cancelConfirm()
    }

    contentItem: FocusScope {
        id: content
        implicitHeight: column.implicitHeight
        focus: true
        Keys.onReturnPressed: sheet.cancel()
        Keys.onEnterPressed: sheet.cancel()
        Keys.onEscapePressed: sheet.cancel()

        ColumnLayout {
            id: column
            width: parent.width
            spacing: 14

            // ---- done
            ColumnLayout {
                visible: sheet.done
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
                    text: sheet.preview === "done" ? sheet.previewMessage : dw.message
                    color: Theme.text
                    font.pixelSize: Theme.bodySize + 1
                }
                RowLayout {
                    Layout.alignment: Qt.AlignHCenter
                    Layout.topMargin: 8
                    spacing: 10
                    DwButton {
                        objectName: "confirm.recentlyCleared"
                        visible: dw.offerRecentlyCleared || sheet.preview === "done"
                        text: "Show Recently Cleared"
                        focusPolicy: Qt.NoFocus
                        onClicked: { sheet.finished = false; sheet.openRecentlyCleared() }
                    }
                    DwButton {
                        objectName: "confirm.done"
                        primary: true
                        text: "Done"
                        focusPolicy: Qt.NoFocus
                        onClicked: sheet.finished = false
                    }
                }
            }

            // ---- asking, and moving
            RowLayout {
                visible: !sheet.done
                Layout.fillWidth: true
                spacing: 14
                Rectangle {
                    Layout.alignment: Qt.AlignTop
                    width: 40; height: 40; radius: 10
                    color: Theme.accentTint
                    Icon { anchors.centerIn: parent; symbol: dw.confirmSymbol; size: 22; color: Theme.accent }
                }
                Column {
                    Layout.fillWidth: true
                    spacing: 3
                    Text {
                        objectName: "confirm.title"
                        width: parent.width
                        text: dw.confirmTitle
                        color: Theme.text
                        font.pixelSize: Theme.largeSize
                        font.weight: Font.DemiBold
                        wrapMode: Text.WordWrap
                    }
                    Text {
                        objectName: "confirm.size"
                        text: dw.confirmSize
                        color: Theme.secondaryText
                        font.pixelSize: Theme.bodySize
                    }
                }
            }

            Rectangle {
                visible: !sheet.done
                Layout.fillWidth: true
                implicitHeight: itemList.height + 2
                radius: Theme.smallRadius
                color: "transparent"
                border.width: 1
                border.color: Theme.separator
                ListView {
                    id: itemList
                    objectName: "confirm.list"
                    x: 1; y: 1
                    width: parent.width - 2
                    height: Math.min(contentHeight, 34 * 8)
                    clip: true
                    interactive: contentHeight > height
                    model: dw.confirmItems
                    ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }
                    delegate: Item {
                        required property int index
                        required property string name
                        required property string sizeText
                        required property string kindWord
                        visible: sheet.showAll || index < sheet.listedLimit
                        width: itemList.width
                        height: visible ? 34 : 0
                        RowLayout {
                            anchors.fill: parent
                            anchors.leftMargin: 12
                            anchors.rightMargin: 12
                            spacing: 10
                            Text { Layout.fillWidth: true; text: name; color: Theme.text; font.pixelSize: Theme.bodySize; elide: Text.ElideMiddle }
                            Text { text: kindWord; color: Theme.tertiaryText; font.pixelSize: Theme.smallSize + 1 }
                            Text { objectName: "confirm.itemSize"; Layout.preferredWidth: 70; horizontalAlignment: Text.AlignRight; text: sizeText; color: Theme.text; font.pixelSize: Theme.bodySize; font.weight: Font.Medium }
                        }
                        Rectangle { visible: index > 0; width: parent.width - 24; x: 12; height: 1; color: Theme.separator }
                    }
                }
            }

            RowLayout {
                visible: !sheet.done && !sheet.showAll && dw.confirmCount > sheet.listedLimit
                Layout.fillWidth: true
                Text {
                    objectName: "confirm.more"
                    Layout.fillWidth: true
                    text: dw.confirmMoreText
                    color: Theme.secondaryText
                    font.pixelSize: Theme.smallSize + 1
                }
                DwButton {
                    objectName: "confirm.showAll"
                    plain: true
                    focusPolicy: Qt.NoFocus
                    text: dw.confirmShowAllText
                    onClicked: sheet.showAll = true
                }
            }

            Column {
                visible: !sheet.done
                Layout.fillWidth: true
                spacing: 4
                Repeater {
                    model: [dw.confirmPutBackLine, dw.confirmEmptyLine].concat(
                               dw.confirmStaysLine !== "" ? [dw.confirmStaysLine] : [])
                    Row {
                        required property string modelData
                        spacing: 8
                        Icon { symbol: "checkmark"; size: 13; color: Theme.accent; anchors.verticalCenter: parent.verticalCenter }
                        Text { width: column.width - 21; wrapMode: Text.WordWrap; text: modelData; color: Theme.secondaryText; font.pixelSize: Theme.smallSize + 1 }
                    }
                }
            }

            ColumnLayout {
                visible: !sheet.done && sheet.moving
                Layout.fillWidth: true
                spacing: 6
                ProgressBar {
                    id: bar
                    Layout.fillWidth: true
                    value: sheet.preview === "moving" ? sheet.previewFraction : dw.progressFraction
                    background: Rectangle { implicitHeight: 6; radius: 3; color: Theme.skeleton }
                    contentItem: Item {
                        implicitHeight: 6
                        Rectangle { width: bar.visualPosition * parent.width; height: parent.height; radius: 3; color: Theme.accent }
                    }
                }
                Text {
                    objectName: "confirm.progress"
                    Layout.fillWidth: true
                    text: sheet.preview === "moving" ? sheet.previewProgress
                          : dw.stopping ? dw.stoppingText
                          : dw.progressText + (dw.progressCurrent !== "" ? " · " + dw.progressCurrent : "")
                    color: Theme.secondaryText
                    font.pixelSize: Theme.smallSize + 1
                    elide: Text.ElideMiddle
                }
            }

            RowLayout {
                visible: !sheet.done
                Layout.fillWidth: true
                Layout.topMargin: 4
                spacing: 10
                Text {
                    Layout.fillWidth: true
                    text: dw.confirmKeysHint
                    color: Theme.tertiaryText
                    font.pixelSize: Theme.smallSize
                }
                DwButton {
                    objectName: "confirm.cancel"
                    text: "Cancel"
                    focusPolicy: Qt.NoFocus
                    enabled: !dw.stopping
                    onClicked: sheet.cancel()
                }
                DwButton {
                    objectName: "confirm.move"
                    primary: true
                    text: dw.confirmAction
                    focusPolicy: Qt.NoFocus
                    enabled: !sheet.moving && dw.confirmCount > 0
                    onClicked: dw.confirmMove()
                }
            }
        }
    }
}
