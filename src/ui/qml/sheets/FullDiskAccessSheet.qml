import QtQuick
import QtQuick.Layouts
import Dustwhale

// Asks once for Full Disk Access after a scan could not read some leftover folders (only where
// the system has such a setting).
Sheet {
    id: sheet
    objectName: "fullDiskAccessSheet"
    contentItem: ColumnLayout {
        spacing: 14
        RowLayout {
            spacing: 12
            Rectangle {
                width: 40; height: 40; radius: 10
                color: Theme.warningBack
                Icon { anchors.centerIn: parent; symbol: "lock"; size: 22; color: Theme.warning }
            }
            Text {
                Layout.fillWidth: true
                text: "Full Disk Access needed"
                color: Theme.text
                font.pixelSize: Theme.largeSize
                font.weight: Font.DemiBold
            }
        }
        Text {
            Layout.fillWidth: true
            wrapMode: Text.WordWrap
            lineHeight: 1.2
            text: "Dustwhale could not read some leftover folders (often Containers). macOS requires Full Disk Access for that. Turn it on in System Settings → Privacy & Security → Full Disk Access, then scan again. Dustwhale will not ask again."
            color: Theme.secondaryText
            font.pixelSize: Theme.bodySize
        }
        RowLayout {
            Layout.fillWidth: true
            spacing: 10
            Item { Layout.fillWidth: true }
            DwButton { objectName: "fda.notNow"; text: "Not now"; onClicked: App.closeFullDiskAccessPrompt(false) }
            DwButton { objectName: "fda.open"; primary: true; text: "Open System Settings"; onClicked: App.closeFullDiskAccessPrompt(true) }
        }
    }
}
