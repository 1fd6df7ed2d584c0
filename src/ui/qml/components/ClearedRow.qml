import QtQuick
import QtQuick.Layouts
import Dustwhale

// One row of a Recently Cleared card, in the five columns Item, Came from, Size, Status,
// Action; heading draws the column titles.
Item {
    id: row
    property bool heading: false
    property string name
    property string from
    property string sizeText
    property string statusText
    property string actionTitle
    property bool canPutBack: false
    signal putBack()

    implicitHeight: heading ? 26 : 40
    Accessible.role: heading ? Accessible.ColumnHeader : Accessible.Row
    Accessible.name: heading ? "" : Theme.spoken(name, sizeText, statusText)

    Rectangle { width: parent.width - 36; x: 18; height: 1; color: Theme.separator }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 18
        anchors.rightMargin: 18
        spacing: 14
        readonly property color tone: row.heading ? Theme.tertiaryText : Theme.text
        readonly property int size: row.heading ? Theme.smallSize : Theme.bodySize

        // Item and Came from share what the fixed columns leave, 2 to 3, each cut in the middle
        // (the end of a path says most) and shown whole on hover.
        ElidedText { objectName: "cleared.name"; Layout.preferredWidth: 2; Layout.fillWidth: true; text: row.name; color: parent.tone; font.pixelSize: parent.size; font.weight: row.heading ? Font.DemiBold : Font.Medium; elide: Text.ElideMiddle }
        ElidedText { objectName: "cleared.from"; Layout.preferredWidth: 3; Layout.fillWidth: true; text: row.from; color: row.heading ? Theme.tertiaryText : Theme.secondaryText; font.pixelSize: row.heading ? Theme.smallSize : Theme.smallSize + 1; font.weight: row.heading ? Font.DemiBold : Font.Normal; elide: Text.ElideMiddle }
        Text { Layout.preferredWidth: 64; Layout.minimumWidth: 64; horizontalAlignment: Text.AlignRight; text: row.sizeText; color: parent.tone; font.pixelSize: parent.size; font.weight: row.heading ? Font.DemiBold : Font.Normal }
        ElidedText { objectName: "cleared.status"; Layout.preferredWidth: 96; Layout.minimumWidth: 96; text: row.statusText; color: row.heading ? Theme.tertiaryText : Theme.secondaryText; font.pixelSize: row.heading ? Theme.smallSize : Theme.smallSize + 1; font.weight: row.heading ? Font.DemiBold : Font.Normal; elide: Text.ElideRight }
        Item {
            Layout.preferredWidth: 80
            Layout.minimumWidth: 80
            Layout.fillHeight: true
            Text { visible: row.heading; anchors.verticalCenter: parent.verticalCenter; text: row.actionTitle; color: Theme.tertiaryText; font.pixelSize: Theme.smallSize; font.weight: Font.DemiBold }
            DwButton {
                objectName: "cleared.putBack"
                visible: !row.heading && row.canPutBack
                anchors.verticalCenter: parent.verticalCenter
                implicitHeight: 26
                leftPadding: 10; rightPadding: 10
                text: "Put Back"
                // Two rows of one name are told apart by where each goes back to.
                Accessible.name: "Put Back " + row.name + ", to " + row.from
                onClicked: row.putBack()
            }
        }
    }
}
