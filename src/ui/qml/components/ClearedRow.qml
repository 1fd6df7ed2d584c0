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

    Rectangle { width: parent.width - 36; x: 18; height: 1; color: Theme.separator }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 18
        anchors.rightMargin: 18
        spacing: 14
        readonly property color tone: row.heading ? Theme.tertiaryText : Theme.text
        readonly property int size: row.heading ? Theme.smallSize : Theme.bodySize

        Text { objectName: "cleared.name"; Layout.preferredWidth: 3; Layout.fillWidth: true; text: row.name; color: parent.tone; font.pixelSize: parent.size; font.weight: row.heading ? Font.DemiBold : Font.Medium; elide: Text.ElideRight }
        Text { Layout.preferredWidth: 5; Layout.fillWidth: true; text: row.from; color: row.heading ? Theme.tertiaryText : Theme.secondaryText; font.pixelSize: row.heading ? Theme.smallSize : Theme.smallSize + 1; font.weight: row.heading ? Font.DemiBold : Font.Normal; elide: Text.ElideMiddle }
        Text { Layout.preferredWidth: 70; Layout.minimumWidth: 70; horizontalAlignment: Text.AlignRight; text: row.sizeText; color: parent.tone; font.pixelSize: parent.size; font.weight: row.heading ? Font.DemiBold : Font.Normal }
        Text { objectName: "cleared.status"; Layout.preferredWidth: 120; Layout.minimumWidth: 120; text: row.statusText; color: row.heading ? Theme.tertiaryText : Theme.secondaryText; font.pixelSize: row.heading ? Theme.smallSize : Theme.smallSize + 1; font.weight: row.heading ? Font.DemiBold : Font.Normal; elide: Text.ElideRight }
        Item {
            Layout.preferredWidth: 92
            Layout.minimumWidth: 92
            Layout.fillHeight: true
            Text { visible: row.heading; anchors.verticalCenter: parent.verticalCenter; text: row.actionTitle; color: Theme.tertiaryText; font.pixelSize: Theme.smallSize; font.weight: Font.DemiBold }
            DwButton {
                objectName: "cleared.putBack"
                visible: !row.heading && row.canPutBack
                anchors.verticalCenter: parent.verticalCenter
                implicitHeight: 26
                leftPadding: 10; rightPadding: 10
                text: "Put Back"
                onClicked: row.putBack()
            }
        }
    }
}
