import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Dustwhale

// Uninstaller: the installed apps, largest first; the chosen app's bundle and related items,
// and "Uninstall…" behind a confirmation that Return and Esc both cancel.
Item {
    id: page
    property var apps: dw.apps
    property bool confirming: false

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
                    text: page.apps.count === 1 ? "1 app" : page.apps.count + " apps"
                    color: Theme.text
                    font.pixelSize: Theme.largeSize
                    font.weight: Font.DemiBold
                }
                Text {
                    Layout.fillWidth: true
                    text: "Uninstalling moves the app and the folders it keeps in your Library to the Trash. You can put it back."
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
                ScanningSkeleton { anchors.fill: parent; visible: page.apps.loading && page.apps.count === 0 }
                EmptyState {
                    anchors.fill: parent
                    visible: !page.apps.loading && page.apps.count === 0
                    symbol: "minus.square"
                    title: "No apps listed"
                    detail: "Refresh to list the apps in your Applications folders."
                }
                ListView {
                    id: list
                    anchors.fill: parent
                    anchors.topMargin: 6  // clear of the card's rounded corners
                    anchors.bottomMargin: 6
                    anchors.leftMargin: 1
                    anchors.rightMargin: 1
                    clip: true
                    model: page.apps
                    boundsBehavior: Flickable.StopAtBounds
                    ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }
                    delegate: Rectangle {
                        required property int index
                        required property string name
                        required property string sizeText
                        required property string detail
                        required property string rowText
                        required property bool current
                        objectName: "apps.row"
                        width: list.width
                        height: 58
                        color: current ? Theme.accentTint : "transparent"
                        ColumnLayout {
                            anchors.left: parent.left
                            anchors.right: size.left
                            anchors.leftMargin: 18
                            anchors.rightMargin: 12
                            anchors.verticalCenter: parent.verticalCenter
                            spacing: 3
                            Text {
                                objectName: "apps.name"
                                Layout.fillWidth: true
                                text: name
                                color: Theme.text
                                font.pixelSize: Theme.bodySize + 1
                                font.weight: Font.Medium
                                elide: Text.ElideRight
                            }
                            Text {
                                Layout.fillWidth: true
                                text: rowText !== "" ? rowText : detail
                                color: rowText !== "" ? Theme.warning : Theme.secondaryText
                                font.pixelSize: Theme.smallSize + 1
                                elide: Text.ElideRight
                            }
                        }
                        Text {
                            id: size
                            anchors.right: parent.right
                            anchors.rightMargin: 18
                            anchors.verticalCenter: parent.verticalCenter
                            text: sizeText
                            color: Theme.text
                            font.pixelSize: Theme.bodySize
                            font.weight: Font.DemiBold
                        }
                        Rectangle {
                            anchors.bottom: parent.bottom
                            anchors.left: parent.left; anchors.leftMargin: 18
                            anchors.right: parent.right
                            height: 1
                            color: Theme.separator
                        }
                        TapHandler { onTapped: page.apps.choose(index) }
                    }
                }
            }
            Card {
                Layout.preferredWidth: 300
                Layout.fillHeight: true
                ColumnLayout {
                    anchors.fill: parent
                    anchors.margins: 16
                    spacing: 8
                    visible: page.apps.current >= 0
                    Text {
                        objectName: "apps.currentName"
                        Layout.fillWidth: true
                        text: page.apps.currentName + " · " + page.apps.currentSize
                        color: Theme.text
                        font.pixelSize: Theme.bodySize + 1
                        font.weight: Font.DemiBold
                        elide: Text.ElideRight
                    }
                    ListView {
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        clip: true
                        model: page.apps.currentItems
                        delegate: Text {
                            required property string modelData
                            width: ListView.view.width
                            text: modelData
                            color: Theme.secondaryText
                            font.pixelSize: Theme.smallSize + 1
                            elide: Text.ElideMiddle
                            height: 20
                        }
                    }
                    DwButton {
                        objectName: "apps.uninstall"
                        Layout.alignment: Qt.AlignRight
                        primary: true
                        enabled: page.apps.canUninstall && !dw.clearing
                        text: "Uninstall…"
                        onClicked: { page.confirming = true; confirmBox.forceActiveFocus() }
                    }
                }
                Text {
                    anchors.centerIn: parent
                    visible: page.apps.current < 0
                    text: "Choose an app to see what goes with it."
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                }
            }
        }
    }

    // The confirmation: both keys cancel; only the button uninstalls.
    Rectangle {
        anchors.fill: parent
        visible: page.confirming
        color: Theme.scrim
        MouseArea { anchors.fill: parent }
        Card {
            id: confirmBox
            objectName: "apps.confirm"
            anchors.centerIn: parent
            width: 420
            height: confirmColumn.implicitHeight + 40
            focus: page.confirming
            Keys.onReturnPressed: page.confirming = false
            Keys.onEnterPressed: page.confirming = false
            Keys.onEscapePressed: page.confirming = false
            ColumnLayout {
                id: confirmColumn
                anchors.fill: parent
                anchors.margins: 20
                spacing: 8
                Text {
                    objectName: "apps.confirmTitle"
                    Layout.fillWidth: true
                    text: "Move " + page.apps.currentName + " to the Trash?"
                    color: Theme.text
                    font.pixelSize: Theme.largeSize
                    font.weight: Font.DemiBold
                    wrapMode: Text.WordWrap
                }
                Repeater {
                    model: page.apps.currentItems.slice(0, 6)
                    delegate: Text {
                        required property string modelData
                        Layout.fillWidth: true
                        text: modelData
                        color: Theme.secondaryText
                        font.pixelSize: Theme.smallSize + 1
                        elide: Text.ElideMiddle
                    }
                }
                Text {
                    Layout.fillWidth: true
                    text: "Everything can be put back from Recently Cleared."
                    color: Theme.secondaryText
                    font.pixelSize: Theme.bodySize
                }
                Text {
                    text: "Return and Esc both cancel."
                    color: Theme.tertiaryText
                    font.pixelSize: Theme.smallSize + 1
                }
                RowLayout {
                    Layout.alignment: Qt.AlignRight
                    spacing: 10
                    DwButton { objectName: "apps.cancel"; text: "Cancel"; onClicked: page.confirming = false }
                    DwButton {
                        objectName: "apps.confirmUninstall"
                        primary: true
                        focusPolicy: Qt.NoFocus
                        text: "Move to Trash"
                        onClicked: { page.confirming = false; page.apps.uninstall() }
                    }
                }
            }
        }
    }
}
