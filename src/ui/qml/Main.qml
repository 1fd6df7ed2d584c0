pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Dustwhale

// The window: the sidebar of pages, the header above the selected page, and the sheets, one at
// a time in their order (Full Disk Access, confirm, onboarding, about).
ApplicationWindow {
    id: window
    objectName: "window"
    width: 1080
    height: 720
    minimumWidth: 880
    minimumHeight: 560
    visible: true
    title: "Dustwhale"
    color: Theme.window

    readonly property var pages: [
        { key: "dashboard", title: "Overview", symbol: "square.grid.2x2", section: "Overview", search: false },
        { key: "review", title: "Caches", symbol: "trash", section: "Clean", search: true },
        { key: "leftovers", title: "App leftovers", symbol: "square.dashed", section: "Clean", search: true },
        { key: "duplicates", title: "Duplicates", symbol: "square.on.square", section: "Clean", search: true },
        { key: "largeFiles", title: "Large files", symbol: "doc", section: "Clean", search: true },
        { key: "spaceMap", title: "Space Map", symbol: "rectangle.split.3x3", section: "Tools", search: false },
        { key: "apps", title: "Uninstaller", symbol: "minus.square", section: "Tools", search: true },
        { key: "recentlyCleared", title: "Recently Cleared", symbol: "clock.arrow.circlepath", section: "History", search: false }
    ]
    // The page shown, by its key.
    property string page: "dashboard"
    readonly property var current: pages.find(entry => entry.key === page)
    property string query: ""
    property bool aboutPresented: false
    // The screenshot mode shows each sheet, or none, whatever the flags say.
    property bool sheetsSuppressed: false
    property string forcedSheet: ""
    readonly property string activeSheet:
        sheetsSuppressed ? forcedSheet
        : App.showFullDiskAccessPrompt ? "fullDiskAccess"
        : App.moves.up ? "confirm"
        : App.onboardingPresented ? "onboarding"
        : aboutPresented ? "about" : ""

    // A search never carries over from one page to another.
    onPageChanged: {
        query = ""
        if (page === "recentlyCleared") App.reloadCleared()
    }

    Component.onCompleted: {
        Theme.dark = App.startsDark
        App.firstAppearance()
    }

    function showPage(key: string) { page = key }
    // For the screenshot mode and the tests.
    function setOnboardingStep(step: int) { onboardingSheet.step = step }
    function setDark(dark: bool) { Theme.dark = dark }
    function setConfirmShowAll(all: bool) { confirmSheet.showAll = all }

    menuBar: MenuBar {
        objectName: "menuBar"
        background: Rectangle {
            implicitHeight: 26
            color: Theme.sidebar
            Rectangle { anchors.bottom: parent.bottom; width: parent.width; height: 1; color: Theme.separator }
        }
        delegate: MenuBarItem {
            id: menuBarItem
            contentItem: Text {
                text: menuBarItem.text
                font.pixelSize: Theme.bodySize
                color: Theme.text
                verticalAlignment: Text.AlignVCenter
            }
            background: Rectangle {
                radius: 4
                color: menuBarItem.highlighted ? Theme.accentTint : "transparent"
            }
        }
        Menu {
            objectName: "menu.app"
            title: "Dustwhale"
            MenuItem { objectName: "menu.about"; text: "About Dustwhale"; onTriggered: window.aboutPresented = true }
            MenuItem {
                id: updatesItem
                objectName: "menu.updates"
                text: "Check for Updates…"
                onTriggered: if (available) App.checkForUpdates()
                // Unavailable while no update feed is configured (never, on Linux). A disabled
                // item takes no pointer, so its reason could never show: this one stays enabled,
                // is drawn and announced as unavailable, and a hover area over it swallows the
                // click and shows why.
                readonly property bool available: App.updatesConfigured
                readonly property string reason: "Updates not configured yet"
                palette.windowText: available ? Theme.text : Theme.tertiaryText
                Accessible.description: available ? "" : reason
                MouseArea {
                    id: updatesHover
                    objectName: "menu.updatesHover"
                    anchors.fill: parent
                    enabled: !updatesItem.available
                    hoverEnabled: true
                    acceptedButtons: Qt.AllButtons
                    cursorShape: Qt.ArrowCursor
                }
                ToolTip {
                    objectName: "menu.updatesTip"
                    visible: updatesHover.containsMouse
                    delay: 400
                    text: updatesItem.reason
                }
            }
            MenuSeparator {}
            MenuItem { text: "Quit Dustwhale"; onTriggered: Qt.quit() }
        }
        Menu {
            title: "Help"
            MenuItem { objectName: "menu.welcome"; text: "Welcome to Dustwhale"; onTriggered: App.presentOnboarding() }
        }
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        // ---- sidebar
        Rectangle {
            Layout.fillHeight: true
            Layout.preferredWidth: 220
            color: Theme.sidebar
            Rectangle { anchors.right: parent.right; width: 1; height: parent.height; color: Theme.separator }

            Column {
                anchors.fill: parent
                anchors.topMargin: 16
                anchors.leftMargin: 10
                anchors.rightMargin: 11
                spacing: 2
                Repeater {
                    model: window.pages
                    Column {
                        id: entry
                        required property var modelData
                        required property int index
                        width: parent.width
                        spacing: 2
                        Text {
                            visible: entry.index === 0 || window.pages[entry.index - 1].section !== entry.modelData.section
                            leftPadding: 10
                            topPadding: entry.index === 0 ? 0 : 14
                            bottomPadding: 4
                            text: entry.modelData.section
                            color: Theme.tertiaryText
                            font.pixelSize: Theme.smallSize
                            font.weight: Font.DemiBold
                        }
                        AbstractButton {
                            id: rowButton
                            objectName: "sidebar." + entry.modelData.key
                            width: parent.width
                            height: 32
                            hoverEnabled: true
                            Accessible.name: entry.modelData.title
                            readonly property bool shown: window.page === entry.modelData.key
                            onClicked: window.page = entry.modelData.key
                            background: Rectangle {
                                radius: 7
                                color: rowButton.shown ? Theme.accentTint
                                     : rowButton.hovered ? Theme.hover : "transparent"
                            }
                            contentItem: Row {
                                leftPadding: 10
                                spacing: 10
                                Icon {
                                    anchors.verticalCenter: parent.verticalCenter
                                    symbol: entry.modelData.symbol
                                    size: 17
                                    color: rowButton.shown ? Theme.accent : Theme.secondaryText
                                }
                                Text {
                                    anchors.verticalCenter: parent.verticalCenter
                                    text: entry.modelData.title
                                    color: Theme.text
                                    font.pixelSize: Theme.bodySize + 1
                                    font.weight: rowButton.shown ? Font.DemiBold : Font.Normal
                                }
                            }
                        }
                    }
                }
            }
        }

        // ---- detail column
        Rectangle {
            Layout.fillWidth: true
            Layout.fillHeight: true
            color: Theme.content

            ColumnLayout {
                anchors.fill: parent
                spacing: 0

                PageHeader {
                    Layout.fillWidth: true
                    Layout.topMargin: 8
                    title: window.current.title
                    showsScan: window.page === "dashboard"
                    status: App.scanStatus
                    scanning: App.scanning
                    showsSearch: window.current.search
                    query: window.query
                    onQueryEdited: (text) => window.query = text
                    onScan: App.scan()
                }

                // The one status line.
                Text {
                    objectName: "statusLine"
                    Layout.fillWidth: true
                    Layout.leftMargin: Theme.pagePadding
                    Layout.rightMargin: Theme.pagePadding
                    Layout.bottomMargin: 12
                    text: App.message
                    color: Theme.secondaryText
                    font.pixelSize: Theme.smallSize + 1
                    elide: Text.ElideRight
                }
                Rectangle { Layout.fillWidth: true; height: 1; color: Theme.separator }

                // The pages, each shown by its key; a list sees the search text only while its
                // page is up.
                Item {
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    Layout.topMargin: 16

                    DashboardPage {
                        objectName: "page.dashboard"
                        anchors.fill: parent
                        visible: window.page === "dashboard"
                        onOpenPage: (key) => window.showPage(key)
                    }
                    CleanListPage {
                        objectName: "page.review"
                        anchors.fill: parent
                        visible: window.page === "review"
                        list: App.findings(FindingListModel.Cache)
                        query: visible ? window.query : ""
                        scanning: App.scanning
                    }
                    CleanListPage {
                        objectName: "page.leftovers"
                        anchors.fill: parent
                        visible: window.page === "leftovers"
                        list: App.findings(FindingListModel.Leftover)
                        query: visible ? window.query : ""
                        scanning: App.scanning
                        notice: App.unreadNotice
                        noticeAction: App.fullDiskAccessSetting ? "Open Full Disk Access settings" : ""
                        onNoticeTriggered: App.openFullDiskAccessSettings()
                    }
                    DuplicatesPage {
                        objectName: "page.duplicates"
                        anchors.fill: parent
                        visible: window.page === "duplicates"
                        query: visible ? window.query : ""
                        scanning: App.scanning
                    }
                    CleanListPage {
                        objectName: "page.largeFiles"
                        anchors.fill: parent
                        visible: window.page === "largeFiles"
                        list: App.findings(FindingListModel.File)
                        query: visible ? window.query : ""
                        scanning: App.scanning
                    }
                    SpaceMapPage {
                        objectName: "page.spaceMap"
                        anchors.fill: parent
                        visible: window.page === "spaceMap"
                        onOpenPage: (key) => window.showPage(key)
                    }
                    UninstallerPage {
                        objectName: "page.apps"
                        anchors.fill: parent
                        visible: window.page === "apps"
                        query: visible ? window.query : ""
                    }
                    RecentlyClearedPage {
                        objectName: "page.recentlyCleared"
                        anchors.fill: parent
                        visible: window.page === "recentlyCleared"
                    }
                }
            }
        }
    }

    FullDiskAccessSheet { visible: window.activeSheet === "fullDiskAccess" }
    ConfirmSheet {
        id: confirmSheet
        visible: window.activeSheet === "confirm"
        onOpenRecentlyCleared: window.page = "recentlyCleared"
    }
    OnboardingSheet { id: onboardingSheet; visible: window.activeSheet === "onboarding" }
    AboutSheet { visible: window.activeSheet === "about"; onDone: window.aboutPresented = false }
}
