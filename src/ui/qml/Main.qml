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
        // The Space Map takes the arrows as soon as it is shown, unless the sidebar is being
        // worked by the keyboard (then Tab or Right arrow goes into the page).
        // (Once the page is made: it is made the first time it is shown.)
        if (page === "spaceMap" && !sidebar.activeFocus) window.focusSpaceMap()
    }

    Binding { target: Theme; property: "compact"; value: window.height < 640 }

    Component.onCompleted: Theme.dark = App.startsDark

    function showPage(key: string) { page = key }
    // The Space Map takes the keys; a page not made yet takes them once it is.
    property bool spaceMapWantsFocus: false
    function focusSpaceMap() {
        if (spaceMapSlot.count > 0) spaceMapSlot.itemAt(0).forceActiveFocus()
        else spaceMapWantsFocus = true
    }
    function focusSearch() { header.focusSearch() }
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
        DwMenu {
            objectName: "menu.app"
            title: "Dustwhale"
            DwMenuItem { objectName: "menu.about"; text: "About Dustwhale"; onTriggered: window.aboutPresented = true }
            DwMenuItem {
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
                unavailable: !available
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
                // Beside the item, never over the items above or below it.
                ToolTip {
                    objectName: "menu.updatesTip"
                    visible: updatesHover.containsMouse
                    delay: 400
                    x: updatesItem.width + 6
                    y: (updatesItem.height - height) / 2
                    text: updatesItem.reason
                }
            }
            MenuSeparator {}
            DwMenuItem { objectName: "menu.scan"; text: "Scan Again"; shortcut: "Ctrl+R"; enabled: !App.scanning; onTriggered: App.scan() }
            MenuSeparator {}
            DwMenuItem { objectName: "menu.quit"; text: "Quit Dustwhale"; shortcut: "Ctrl+Q"; onTriggered: Qt.quit() }
        }
        DwMenu {
            objectName: "menu.go"
            title: "Go"
            DwMenuItem { text: "Overview"; shortcut: "Ctrl+1"; onTriggered: window.page = "dashboard" }
            DwMenuItem { text: "Caches"; shortcut: "Ctrl+2"; onTriggered: window.page = "review" }
            DwMenuItem { text: "App leftovers"; shortcut: "Ctrl+3"; onTriggered: window.page = "leftovers" }
            DwMenuItem { text: "Duplicates"; shortcut: "Ctrl+4"; onTriggered: window.page = "duplicates" }
            DwMenuItem { text: "Large files"; shortcut: "Ctrl+5"; onTriggered: window.page = "largeFiles" }
            DwMenuItem { text: "Space Map"; shortcut: "Ctrl+6"; onTriggered: window.page = "spaceMap" }
            DwMenuItem { text: "Uninstaller"; shortcut: "Ctrl+7"; onTriggered: window.page = "apps" }
            DwMenuItem { text: "Recently Cleared"; shortcut: "Ctrl+8"; onTriggered: window.page = "recentlyCleared" }
            MenuSeparator {}
            DwMenuItem { objectName: "menu.find"; text: "Search"; shortcut: "Ctrl+F"; enabled: window.current.search; onTriggered: window.focusSearch() }
        }
        DwMenu {
            title: "Help"
            DwMenuItem { objectName: "menu.welcome"; text: "Welcome to Dustwhale"; onTriggered: App.presentOnboarding() }
        }
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        // ---- sidebar
        Sidebar {
            id: sidebar
            objectName: "sidebar"
            Layout.fillHeight: true
            Layout.preferredWidth: 220
            pages: window.pages
            page: window.page
            focus: true
            onChosen: (key, byKeys) => {
                window.page = key
                if (!byKeys && key === "spaceMap") window.focusSpaceMap()
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
                    id: header
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

                // The page's own status line, in full: its flows' newest message.
                Text {
                    objectName: "statusLine"
                    Layout.fillWidth: true
                    Layout.leftMargin: Theme.pagePadding
                    Layout.rightMargin: Theme.pagePadding
                    Layout.bottomMargin: Theme.compact ? 6 : 12
                    text: App.statusLines[window.page] ?? ""
                    color: Theme.secondaryText
                    font.pixelSize: Theme.smallSize + 1
                    wrapMode: Text.Wrap
                    // Read as the window's status: a screen reader hears each new message (the
                    // name changes with the text).
                    Accessible.role: Accessible.StatusBar
                    Accessible.name: text
                }
                Rectangle { Layout.fillWidth: true; height: 1; color: Theme.separator }

                // The pages, each shown by its key; a list sees the search text only while its
                // page is up. A page is made the first time it is shown and kept from then on,
                // so the window's first frame builds Overview alone.
                Item {
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    Layout.topMargin: Theme.compact ? 8 : 16

                    // One page, made the first time it is shown (a Repeater of none, then of
                    // one) and kept from then on; shown only while it is the page.
                    component PageSlot: Repeater {
                        id: slot
                        required property string key
                        readonly property bool shown: window.page === key
                        onShownChanged: if (shown) model = 1
                        Component.onCompleted: if (shown) model = 1
                        onItemAdded: (index, item) => item.visible = Qt.binding(() => slot.shown)
                    }

                    PageSlot {
                        key: "dashboard"
                        DashboardPage {
                            objectName: "page.dashboard"
                            anchors.fill: parent
                            onOpenPage: (key) => window.showPage(key)
                        }
                    }
                    PageSlot {
                        key: "review"
                        CleanListPage {
                            objectName: "page.review"
                            anchors.fill: parent
                            list: App.findings(FindingListModel.Cache)
                            query: visible ? window.query : ""
                            scanning: App.scanning
                        }
                    }
                    PageSlot {
                        key: "leftovers"
                        CleanListPage {
                            objectName: "page.leftovers"
                            anchors.fill: parent
                            list: App.findings(FindingListModel.Leftover)
                            query: visible ? window.query : ""
                            scanning: App.scanning
                            notice: App.unreadNotice
                            noticeAction: App.fullDiskAccessSetting ? "Open Full Disk Access settings" : ""
                            onNoticeTriggered: App.openFullDiskAccessSettings()
                        }
                    }
                    PageSlot {
                        key: "duplicates"
                        DuplicatesPage {
                            objectName: "page.duplicates"
                            anchors.fill: parent
                            query: visible ? window.query : ""
                            scanning: App.scanning
                        }
                    }
                    PageSlot {
                        key: "largeFiles"
                        CleanListPage {
                            objectName: "page.largeFiles"
                            anchors.fill: parent
                            list: App.findings(FindingListModel.File)
                            query: visible ? window.query : ""
                            scanning: App.scanning
                        }
                    }
                    PageSlot {
                        id: spaceMapSlot
                        key: "spaceMap"
                        onCountChanged: if (count > 0 && window.spaceMapWantsFocus) {
                            window.spaceMapWantsFocus = false
                            itemAt(0).forceActiveFocus()
                        }
                        SpaceMapPage {
                            objectName: "page.spaceMap"
                            anchors.fill: parent
                            onOpenPage: (key) => window.showPage(key)
                        }
                    }
                    PageSlot {
                        key: "apps"
                        UninstallerPage {
                            objectName: "page.apps"
                            anchors.fill: parent
                            query: visible ? window.query : ""
                        }
                    }
                    PageSlot {
                        key: "recentlyCleared"
                        RecentlyClearedPage {
                            objectName: "page.recentlyCleared"
                            anchors.fill: parent
                        }
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
