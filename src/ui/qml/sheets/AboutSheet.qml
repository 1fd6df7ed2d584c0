import QtQuick
import QtQuick.Layouts
import Dustwhale

// About Dustwhale.
Sheet {
    id: sheet
    objectName: "aboutSheet"
    sheetWidth: 400
    signal done()
    contentItem: ColumnLayout {
        spacing: 8
        Image {
            objectName: "about.icon"
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredWidth: 88
            Layout.preferredHeight: 88
            source: "qrc:/Dustwhale/icons/app/dustwhale.svg"
            sourceSize.width: 176
            sourceSize.height: 176
            smooth: true
        }
        Text { Layout.alignment: Qt.AlignHCenter; Layout.topMargin: 6; text: "Dustwhale"; color: Theme.text; font.pixelSize: Theme.titleSize; font.weight: Font.Bold }
        Text { Layout.alignment: Qt.AlignHCenter; text: "Big space back. Nothing lost."; color: Theme.secondaryText; font.pixelSize: Theme.bodySize + 1 }
        Text { objectName: "about.version"; Layout.alignment: Qt.AlignHCenter; text: App.versionLine; color: Theme.tertiaryText; font.pixelSize: Theme.smallSize + 1 }
        Text { objectName: "about.licence"; Layout.alignment: Qt.AlignHCenter; text: "Free software under the Apache License 2.0"; color: Theme.tertiaryText; font.pixelSize: Theme.smallSize + 1 }
        Text {
            Layout.fillWidth: true
            Layout.topMargin: 8
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: "Nothing is permanently deleted. Files go to the Trash, and you can put them back."
            color: Theme.text
            font.pixelSize: Theme.bodySize
        }
        RowLayout {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 4
            spacing: 16
            DwButton { plain: true; text: "Privacy policy"; onClicked: App.openUrl("https://dustwhale.app/privacy") }
            DwButton { plain: true; text: "support@dustwhale.app"; onClicked: App.openUrl("mailto:support@dustwhale.app") }
        }
        DwButton { objectName: "about.done"; Layout.alignment: Qt.AlignHCenter; Layout.topMargin: 8; primary: true; text: "Done"; onClicked: sheet.done() }
    }
}
