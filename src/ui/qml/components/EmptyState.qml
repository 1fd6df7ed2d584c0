import QtQuick
import Dustwhale

// What a page shows when it has nothing to list: a symbol, a title and a line of detail.
Item {
    id: empty
    property string symbol
    property string title
    property string detail

    Column {
        anchors.centerIn: parent
        width: Math.min(440, empty.width - 48)
        spacing: 10

        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 64; height: 64; radius: 32
            color: Theme.accentTint
            Icon {
                anchors.centerIn: parent
                symbol: empty.symbol
                size: 30
                color: Theme.accent
            }
        }
        Item { width: 1; height: 4 }
        Text {
            objectName: "emptyState.title"
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: empty.title
            color: Theme.text
            font.pixelSize: Theme.largeSize
            font.weight: Font.DemiBold
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: empty.detail
            color: Theme.secondaryText
            font.pixelSize: Theme.bodySize
            lineHeight: 1.2
        }
    }
}
