import QtQuick
import QtQuick.Layouts
import Dustwhale

// A list's header: what it holds, and "Select all" / "Select none".
Item {
    id: header
    property string title
    property string detail
    signal selectAll()
    signal selectNone()

    implicitHeight: Theme.compact ? 34 : 44

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 18
        anchors.rightMargin: 12
        spacing: 8
        Text {
            text: header.title
            color: Theme.text
            font.pixelSize: Theme.bodySize
            font.weight: Font.DemiBold
        }
        Text {
            Layout.fillWidth: true
            text: header.detail
            color: Theme.tertiaryText
            font.pixelSize: Theme.smallSize + 1
            elide: Text.ElideRight
        }
        DwButton {
            objectName: "sectionHeader.selectAll"
            plain: true
            text: "Select all"
            onClicked: header.selectAll()
        }
        Rectangle { width: 1; height: 12; color: Theme.separator }
        DwButton {
            objectName: "sectionHeader.selectNone"
            plain: true
            text: "Select none"
            onClicked: header.selectNone()
        }
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.separator
    }
}
