#pragma once
// Folders and files in the user's Library (on Linux, the Flatpak data folders in ~/.var/app)
// that belong to apps no longer installed, grouped by identifier. Stateless and read-only.

#include <set>
#include <stop_token>
#include <string>
#include <vector>

#include "findings/finding.h"
#include "measure/shared_measurer.h"
#include "platform/locations.h"
#include "platform/workspace.h"

namespace dw::LeftoverScanner {

struct LargestFile {
  std::string name;
  std::int64_t bytes = 0;
  bool operator==(const LargestFile&) const = default;
};

struct LeftoverFinding {
  std::string bundleID;
  std::string appName;
  std::int64_t bytes = 0;
  TimePoint lastModified;
  std::vector<std::string> removablePaths;
  std::vector<std::string> evidence;
  std::vector<LargestFile> largestFiles;
  bool operator==(const LeftoverFinding&) const = default;
};

struct Result {
  std::vector<LeftoverFinding> findings;         // largest first
  std::vector<std::string> unreadableLocations;  // "~/Library/Containers"
};

inline constexpr std::int64_t kLargestFilesFrom = 104'857'600;  // 100 MB

// Throws only Cancelled (through the measurer).
Result scan(const Locations& places, const platform::Workspace& workspace,
            SharedMeasurer& measurer);

// Identifiers read from the Info.plist of every app the uninstaller lists (vendor folders one
// level deep included), of their nested bundles and of the system extensions, the Flatpak apps
// of every installation, with the running apps and this program itself.
std::set<std::string> installedBundleIDs(const Locations& places,
                                         const platform::Workspace& workspace);
// The helpers, plug-ins and extensions one folder inside an app bundle (Contents/PlugIns,
// Contents/Helpers, ...), each a folder or a link to one.
std::vector<std::string> nestedBundles(const std::string& bundle);
// The identifier or one of its shorter forms (trailing components dropped) is installed.
bool isAccountedFor(const std::string& bundleID, const std::set<std::string>& installed);
bool hasBundleIDShape(std::string_view candidate);
// The name of a Flatpak app from its identifier: its last word that names something, capitalised
// ("com.spotify.Client" is "Spotify", "org.gimp.GIMP" "GIMP", "org.kde.krita" "Krita").
std::string flatpakAppName(std::string_view id);
bool isNeverReported(std::string_view bundleID);

// The location check every leftover path passes before it is listed or moved: the user's own,
// inside one of places.leftoverRoots (the home's Library, ~/.var/app on Linux; links resolved,
// "/private" removed) and not under Desktop, Documents, /Applications, /Library or /System.
bool isAllowedPath(const std::string& path, const Locations& places);

// The re-check before a leftover path moves: the path passes isAllowedPath, is still a direct
// entry of one of the Library locations, and still yields bundleID as its candidate.
bool stillBelongsTo(const std::string& path, const std::string& bundleID, const Locations& places);

Finding toFinding(const LeftoverFinding& finding, const Locations& places);

}  // namespace dw::LeftoverScanner
