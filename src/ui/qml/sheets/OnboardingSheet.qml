pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Dustwhale

// Three steps introducing the app; only its own buttons close it.
Sheet {
    id: sheet
    objectName: "onboardingSheet"
    sheetWidth: 520
    property int step: 0
    onAboutToShow: step = 0

    // Esc does nothing here: the sheet is not dismissable.
    // The one child of the sheet: the sheet takes its height.
    FocusScope {
        anchors.fill: parent
        implicitHeight: column.implicitHeight
        focus: true
        Keys.onEscapePressed: (event) => event.accepted = true

        ColumnLayout {
            id: column
            width: parent.width
            spacing: 16

            // The artwork: the step's symbol in an accent disc.
            Rectangle {
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: 6
                width: 72; height: 72; radius: 36
                color: Theme.accentTint
                Icon {
                    anchors.centerIn: parent
                    size: 34
                    color: Theme.accent
                    symbol: sheet.step === 0 ? "sparkles" : sheet.step === 1 ? "checkmark" : "lock"
                }
            }
            Text {
                objectName: "onboarding.label"
                visible: sheet.step === 0
                Layout.alignment: Qt.AlignHCenter
                text: "Your files and apps"
                color: Theme.accent
                font.pixelSize: Theme.smallSize
                font.weight: Font.DemiBold
            }
            Text {
                objectName: "onboarding.title"
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                text: sheet.step === 0 ? "Big space back. Nothing lost."
                    : sheet.step === 1 ? "What it never does"
                    : App.fullDiskAccessSetting ? "Full Disk Access" : "Read access"
                color: Theme.text
                font.pixelSize: Theme.titleSize
                font.weight: Font.Bold
            }
            Text {
                objectName: "onboarding.text"
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                lineHeight: 1.2
                text: sheet.step === 0
                      ? "Dustwhale moves caches and other files you choose to the Trash, and shows why each one can move before you confirm."
                      : sheet.step === 1 ? "These limits do not change."
                      : App.fullDiskAccessSetting
                        ? "Some leftover folders stay hidden until macOS allows a full read. You can turn that on now, or skip and scan without it."
                        : "Dustwhale reads only what your user may read. A folder without read permission is skipped, and App leftovers names it so you can allow reading and scan again."
                color: Theme.secondaryText
                font.pixelSize: Theme.bodySize + 1
            }
            Column {
                visible: sheet.step === 1
                Layout.alignment: Qt.AlignHCenter
                spacing: 10
                Repeater {
                    model: ["Only the Trash. Nothing is permanently deleted.",
                            "Put Back stays available from Recently Cleared.",
                            "Documents, the Desktop, and projects stay.",
                            "No data leaves this " + App.machine + "."]
                    Row {
                        id: promise
                        required property string modelData
                        spacing: 10
                        Icon { symbol: "checkmark"; size: 16; color: Theme.accent; anchors.verticalCenter: parent.verticalCenter }
                        Text { objectName: "onboarding.promise"; text: promise.modelData; color: Theme.text; font.pixelSize: Theme.bodySize + 1 }
                    }
                }
            }

            // Where we are, three dots.
            Row {
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: 6
                spacing: 6
                Repeater {
                    model: 3
                    Rectangle {
                        required property int index
                        width: index === sheet.step ? 18 : 6; height: 6; radius: 3
                        color: index === sheet.step ? Theme.accent : Theme.skeleton
                    }
                }
            }

            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: 4
                spacing: 10
                Item { Layout.fillWidth: true }
                DwButton {
                    objectName: "onboarding.skip"
                    visible: sheet.step === 2 && App.fullDiskAccessSetting
                    text: "Skip for now"
                    onClicked: App.finishOnboarding(false)
                }
                DwButton {
                    objectName: "onboarding.continue"
                    visible: sheet.step < 2 || !App.fullDiskAccessSetting
                    primary: true
                    text: "Continue"
                    onClicked: sheet.step < 2 ? sheet.step = sheet.step + 1 : App.finishOnboarding(false)
                }
                DwButton {
                    objectName: "onboarding.settings"
                    visible: sheet.step === 2 && App.fullDiskAccessSetting
                    primary: true
                    text: "Open System Settings"
                    onClicked: App.finishOnboarding(true)
                }
                Item { Layout.fillWidth: true }
            }
        }
    }
}
