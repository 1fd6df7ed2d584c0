import QtQuick
import QtQuick.Layouts
import Dustwhale

// The bottom bar of a clean list: what is selected, the reassurance, and the move button;
// beside it, where a page offers one, a second way (the Duplicates page's "Share copies").
Rectangle {
    id: footer
    property string summary
    property string detail
    // Said instead of the detail while a search hides chosen rows.
    property string hiddenNote: ""
    property bool enabled: false
    property string otherAction: ""
    property bool otherEnabled: false
    signal action()
    signal other()

    implicitHeight: Theme.compact ? 52 : 64
    color: Theme.window

    Rectangle { width: parent.width; height: 1; color: Theme.separator }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: Theme.pagePadding
        anchors.rightMargin: Theme.pagePadding
        spacing: 16
        Column {
            Layout.fillWidth: true
            spacing: 3
            Text {
                objectName: "footer.summary"
                width: parent.width
                text: footer.summary
                color: Theme.text
                font.pixelSize: Theme.bodySize + 1
                font.weight: Font.DemiBold
                elide: Text.ElideRight
            }
            Text {
                objectName: "footer.detail"
                width: parent.width
                text: footer.hiddenNote !== "" ? footer.hiddenNote : footer.detail
                color: footer.hiddenNote !== "" ? Theme.text : Theme.secondaryText
                font.pixelSize: Theme.smallSize + 1
                elide: Text.ElideRight
            }
        }
        DwButton {
            objectName: "footer.other"
            visible: footer.otherAction !== ""
            text: footer.otherAction
            enabled: footer.otherEnabled
            onClicked: footer.other()
        }
        DwButton {
            objectName: "footer.move"
            primary: true
            text: "Move to Trash…"
            enabled: footer.enabled
            onClicked: footer.action()
        }
    }
}
