#pragma once
// Folders that apps recreate by themselves: the children of ~/Library/Caches, the cache folders
// of Chrome's profiles, and the npm, npx and Gradle caches. Stateless and read-only.

#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "findings/finding.h"
#include "measure/shared_measurer.h"
#include "platform/locations.h"
#include "platform/open_files.h"
#include "platform/workspace.h"

namespace dw::CacheScanner {

inline constexpr std::int64_t kMinimumCacheBytes = 10'485'760;  // 10 MB
inline constexpr std::int64_t kPreselectBytes = 52'428'800;     // 50 MB
inline constexpr std::string_view kChromeBundleID = "com.google.Chrome";

// The three sources, one per scan area. Each throws only Cancelled (through the measurer).
// held lists the files that running programs hold open (platform::filesHeldOpen of
// heldOpenFolders): a cache holding one is listed with a note naming the program and is not
// pre-selected. Without it, no cache counts as in use.
std::vector<Finding> scanLibraryCaches(const Locations& places, bool chromeRunning,
                                       SharedMeasurer& measurer);
std::vector<Finding> scanLibraryCaches(const Locations& places, bool chromeRunning,
                                       const std::vector<platform::HeldFile>& held,
                                       SharedMeasurer& measurer);
std::vector<Finding> scanDeveloperCaches(const Locations& places, SharedMeasurer& measurer);
std::vector<Finding> scanDeveloperCaches(const Locations& places,
                                         const std::vector<platform::HeldFile>& held,
                                         SharedMeasurer& measurer);
// The caches Linux tools and apps keep outside ~/.cache (see ToolCaches): pnpm's store, Yarn's
// cache, pipx's, Steam's shader caches, Electron apps' caches. Part of scanDeveloperCaches.
std::vector<Finding> scanToolCaches(const Locations& places,
                                    const std::vector<platform::HeldFile>& held,
                                    SharedMeasurer& measurer);
// The folders whose open files the held-open rule needs: the cache folder and the developer
// caches of this layout.
std::vector<std::string> heldOpenFolders(const Locations& places);
// What running programs of this user are using now, read once for a scan: every file they hold
// open in heldOpenFolders, and the cache folders of every known program that runs (its folder
// in the cache folder counts as held by it, open files or not).
std::vector<platform::HeldFile> cachesInUse(const Locations& places);
// The program (from held) that holds a file at or below path open, if any.
std::optional<std::string> heldOpenBy(const std::string& path,
                                      const std::vector<platform::HeldFile>& held);
std::vector<Finding> scanChromeCaches(const Locations& places, bool chromeRunning,
                                      SharedMeasurer& measurer);
// All three, sorted largest first.
std::vector<Finding> scan(const Locations& places, const platform::Workspace& workspace,
                          const std::vector<platform::HeldFile>& held, SharedMeasurer& measurer);
std::vector<Finding> scan(const Locations& places, const platform::Workspace& workspace,
                          SharedMeasurer& measurer);

bool isChromeRunning(const platform::Workspace& workspace);
// ~/Library/Caches/Google, .../Google/Chrome and anything below ("/private" ignored); on Linux
// ~/.cache/google-chrome and ~/.cache/chromium.
bool isChromeCachePath(const std::string& path, const Locations& places);
// A finding that Chrome's running state governs (a Library cache under Google, or a cache
// folder of a Chrome profile).
bool isChromeFinding(const Finding& finding, const Locations& places);
// Re-applies the Chrome rule to a finding already listed: while Chrome runs it carries
// "Quit Chrome to clear its cache." and cannot be selected; otherwise it is a normal cache.
void applyChromeRule(Finding& finding, bool chromeRunning, const Locations& places);

// The safe-location test that guards listing and every move of a cache (the user's own, in a
// cache folder, never a user folder).
bool isSafeCacheLocation(const std::string& path, const Locations& places);
// A cache folder of a Chrome profile (profile/Cache, profile/Service Worker/CacheStorage, ...),
// links resolved, outside Desktop, Documents and project folders.
bool isChromeProfileCache(const std::string& path, const Locations& places);
// The listing rules a cache path must still meet before it moves: a safe cache location, or a
// cache folder of a Chrome profile.
bool isListableCache(const std::string& path, const Locations& places);

// The finding for one measured ~/Library/Caches child, or nothing when it is too small, an
// Apple folder or not in a safe place.
std::optional<Finding> libraryCacheFinding(const std::string& path,
                                           const DiskSizer::SizeReading& reading,
                                           bool chromeRunning, const Locations& places,
                                           const std::vector<platform::HeldFile>& held = {});

}  // namespace dw::CacheScanner
