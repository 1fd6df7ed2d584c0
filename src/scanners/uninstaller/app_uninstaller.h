#pragma once
// The applications installed for the user, each measured with the folders it keeps in the
// user's Library, and which of them may be removed. Stateless and read-only: moving an app is
// the clearing pipeline's work.

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "measure/shared_measurer.h"
#include "platform/locations.h"
#include "platform/workspace.h"
#include "scanners/uninstaller/app_record.h"
#include "scanners/uninstaller/linux_apps.h"

namespace dw::AppUninstaller {

// Row texts of the apps list.
inline constexpr std::string_view kAppleRow = "Apple app. Stays installed.";
inline constexpr std::string_view kOwnRow = "This app. Stays installed.";
inline constexpr std::string_view kRunningRow = "Open. Quit it before uninstalling.";
// Apps that only the system's software manager may remove (Linux).
inline constexpr std::string_view kFlatpakRow = "Flatpak app. Remove it with the software manager.";
inline constexpr std::string_view kPackageRow =
    "System package. Remove it with the software manager.";
// Joined after a row's opening words, hence the leading space. This is the Mac's wording; see
// needsAdministratorRow for the one of the system the program runs on.
inline constexpr std::string_view kNeedsAdministratorRow =
    " macOS refused because this app needs an administrator. Reveal in Finder.";
// kNeedsAdministratorRow as this system says it: its name and its reveal action's title
// (" The system refused because this app needs an administrator. Show in Folder." on Linux).
std::string needsAdministratorRow();
// The row of an app whose bundle the system refused to move: "Stayed in place." and the above.
std::string stayedForAdministratorRow();

// The Library folders an app keeps its data in, in the order they are searched.
inline constexpr std::array<std::string_view, 8> kRelatedFolders = {
    "Application Support",     "Caches",       "Preferences", "Containers",
    "Saved Application State", "HTTPStorages", "WebKit",      "LaunchAgents"};

// Every bundle of the application folders (see scanners::listApplicationBundles), then every
// AppImage of the AppImage folders, every Flatpak app and every desktop app of the
// distribution's launchers (see linux_apps.h), measured, largest total first; equal totals keep
// the listing order. Throws Cancelled (through the measurer) and nothing else.
std::vector<AppRecord> listApps(const Locations& places, const platform::Workspace& workspace,
                                SharedMeasurer& measurer);

// What every record of one listing is described against, read once for all of them.
struct Surroundings {
  std::set<std::string> runningIDs;   // the identifiers of the apps running now
  std::set<std::string> executables;  // the executables of the processes running now
  // Each identifier an installed app carries, with the apps that carry it: bundles (resolved,
  // their nested helpers counted as the bundle) and Flatpak installs.
  std::map<std::string, std::set<std::string>> claims;
  std::vector<Launcher> launchers;  // the user's launchers (Linux)
  // The Icon= value of every other launcher the desktop shows: the distribution's and those
  // every Flatpak installation exports.
  std::vector<std::string> otherIcons;
};
Surroundings surroundingsOf(const Locations& places, const platform::Workspace& workspace);
// Surroundings::claims alone, as the apps installed now give them.
std::map<std::string, std::set<std::string>> identifierClaims(const Locations& places);

// The record of one app with its sizes still 0; nullopt when path is not an app: a bundle (a
// folder named ".app" with a Contents folder; a link to one is the bundle it points to) or,
// where the places have AppImage folders, an AppImage. A bundle whose Info.plist cannot be read
// or names no identifier is still an app on disk: it is listed under its file name, with no
// identifier, hence no related items and never counted as running by identifier.
std::optional<AppRecord> describe(const std::string& path, const Locations& places,
                                  const Surroundings& around);
// The same without related items or running state: what an app is on disk (kind, identity,
// identifier, name), for checking it is still the one listed.
std::optional<AppRecord> identify(const std::string& path, const Locations& places);
// Why path is no app to uninstall, as a sentence naming it and what it is ("~/bin/backup is a
// script, not an app."); nullopt when it is an app or does not exist.
std::optional<std::string> notAnApp(const std::string& path, const Locations& places);
// Sets bundleBytes, relatedBytes and userFolderBytes: every bundle, related item and user
// folder measured concurrently (a folder as a tree, a file by itself, an item that vanished as
// 0). A package's bundleBytes is the package database's and stays as it is.
void measure(std::vector<AppRecord>& records, SharedMeasurer& measurer);
// describe and measure for one bundle.
std::optional<AppRecord> recordFor(const std::string& bundlePath, const Locations& places,
                                   const platform::Workspace& workspace, SharedMeasurer& measurer);

// The items named after bundleID in the related folders, in their order: bundleID, then
// bundleID + ".plist", then bundleID + ".savedState" in each. At most 24 existence tests; no
// folder is listed, and an app's name is never used. Nothing for an identifier without a
// reverse-domain form.
std::vector<std::string> relatedItems(const std::string& bundleID, const Locations& places);
// "com.example.app": two or more dot-separated names of ASCII letters, digits, "-" and "_", the
// first (a top-level domain) of letters only. "Google" or "app" names no one's data alone.
bool hasReverseDomainForm(std::string_view bundleID);
// Whether the data named after the app's identifier is the app's alone: no other installed app
// carries the identifier, and no app running now does unless it is this one (its own executable
// runs). Related items are offered only then.
bool ownsItsData(const AppRecord& app, const Surroundings& around);
// This bundle's own executables (anything inside it) run now: one of executables lies in it.
bool runsFromBundle(const std::string& bundlePath, const std::set<std::string>& executables);
// The re-check before a related item moves: it still exists, directly in one of the related
// folders, named after bundleID, and lies inside the home's Library once links are resolved.
bool stillRelated(const std::string& path, const std::string& bundleID, const Locations& places);

// The re-check of any related item of app: stillRelated for a bundle, stillRelatedToAppImage
// for an AppImage; nothing else has items that may move.
bool stillRelatedTo(const std::string& path, const AppRecord& app, const Locations& places);

// Flatpak apps and distribution packages: listed, never moved by us.
bool removedWithSoftwareManager(const AppRecord& record);
// Whether the app runs now, asked afresh: its identifier, a process executing a file of its
// bundle, or for an AppImage a process executing its file.
bool isRunningNow(const AppRecord& record, const platform::Workspace& workspace);

// The bundle (links resolved) lies inside /Applications (Utilities and vendor folders
// included) or inside the home's Applications folder, or inside one of the AppImage folders.
bool isInApplications(const std::string& bundlePath, const Locations& places);

// bundleBytes + relatedBytes + userFolderBytes: all the app takes; an overflow ends the
// program rather than show a wrong size.
std::int64_t totalBytes(const AppRecord& record);
// bundleBytes + relatedBytes: what an uninstall moves (the user folders stay).
std::int64_t movedBytes(const AppRecord& record);
// relatedBytes + userFolderBytes: the app's data, whether it moves with it or stays.
std::int64_t dataBytes(const AppRecord& record);
// The bytes of related[index] as the listing measured them; nothing for a record not measured.
std::optional<std::int64_t> relatedSize(const AppRecord& record, size_t index);
// Stable, largest total first.
void sortByTotal(std::vector<AppRecord>& records);

// The row text of the apps list, "" when the app may be uninstalled.
std::string rowText(const AppRecord& record);
// Why the uninstall of this app is refused, checked in this order: removed with the software
// manager only, its place (outside the Applications folders), then running now, then Apple's
// or this application.
std::optional<std::string> refusal(const AppRecord& record, bool runningNow,
                                   const Locations& places);

}  // namespace dw::AppUninstaller
