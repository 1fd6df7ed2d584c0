#include "scanners/caches/cache_scanner.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <set>

#include "base/paths.h"
#include "findings/notes.h"
#include "measure/project_folders.h"
#include "platform/own_ground.h"
#include "scanners/folder_listing.h"

namespace dw::CacheScanner {

namespace {

constexpr std::string_view kLibraryNote =
    "Temporary files this app can recreate. Documents, projects, and build folders stay.";
constexpr std::string_view kQuitChromeNote = "Quit Chrome to clear its cache.";
constexpr std::string_view kChromeModelNote = "Chrome downloads this again when it needs it.";
constexpr std::string_view kChromeCacheNote =
    "Cache only. Bookmarks, passwords, extensions, and your files stay.";

constexpr std::array<std::string_view, 19> kChromeCacheFolders = {"Cache",
                                                                  "Code Cache",
                                                                  "GPUCache",
                                                                  "Shared Dictionary",
                                                                  "DawnWebGPUCache",
                                                                  "DawnGraphiteCache",
                                                                  "GrShaderCache",
                                                                  "ShaderCache",
                                                                  "OptGuideOnDeviceModel",
                                                                  "OptGuideOnDeviceClassifierModel",
                                                                  "optimization_guide_model_store",
                                                                  "component_crx_cache",
                                                                  "extensions_crx_cache",
                                                                  "screen_ai",
                                                                  "WasmTtsEngine",
                                                                  "GraphiteDawnCache",
                                                                  "Safe Browsing",
                                                                  "OnDeviceHeadSuggestModel",
                                                                  "crx_cache"};
constexpr std::array<std::string_view, 2> kServiceWorkerFolders = {"CacheStorage", "ScriptCache"};
constexpr std::string_view kServiceWorker = "Service Worker";
// Models Chrome fetches again by itself; a subset of the cache folders above.
constexpr std::array<std::string_view, 6> kChromeModelFolders = {"OptGuideOnDeviceModel",
                                                                 "OptGuideOnDeviceClassifierModel",
                                                                 "optimization_guide_model_store",
                                                                 "OnDeviceHeadSuggestModel",
                                                                 "WasmTtsEngine",
                                                                 "screen_ai"};

template <size_t N>
bool isOneOf(std::string_view name, const std::array<std::string_view, N>& names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool beginsWithApple(std::string_view name) {
  // Compared without case: a differently cased Apple name is still Apple's.
  return paths::asciiLower(name.substr(0, 10)) == "com.apple.";
}

struct DeveloperCache {
  std::string Locations::*path;
  std::string_view name;
  std::string_view note;
};
const std::array<DeveloperCache, 3> kDeveloperCaches = {{
    {&Locations::npmCache, "npm cache",
     "Downloaded packages. Project folders, including node_modules, stay."},
    {&Locations::npxCache, "npx downloads", "Temporary npx packages. Your projects stay."},
    {&Locations::gradleCaches, "Gradle cache",
     "Downloaded dependencies. App projects and their build folders stay."},
}};

using scanners::FolderEntry;

// An unreadable or missing folder has no entries here: it simply contributes no cache.
std::vector<FolderEntry> entriesOf(const std::string& folder) {
  return scanners::listFolder(folder).value_or(std::vector<FolderEntry>{});
}

bool isRealFolder(const std::string& path) {
  struct stat s {};
  return ::lstat(path.c_str(), &s) == 0 && S_ISDIR(s.st_mode);
}

// The same place below the resolved home: temporary homes and moved home folders may sit
// behind links, and comparisons are made between resolved paths.
std::string underResolvedHome(const std::string& path, const Locations& places,
                              const std::string& resolvedHome) {
  if (!paths::isWithin(path, places.home)) return paths::stripPrivate(paths::resolveSymlinks(path));
  std::string_view rest = std::string_view(path).substr(places.home.size());
  return paths::standardize(resolvedHome + std::string(rest));
}

std::string resolvedHomeOf(const Locations& places) {
  return paths::stripPrivate(paths::resolveSymlinks(places.home));
}

// Neither the Desktop nor Documents (as laid out, or wherever they really are), and no project
// or build folder below the home folder.
bool isRefusedPlace(const std::string& resolved, const Locations& places,
                    const std::string& resolvedHome) {
  for (const std::string* folder : {&places.desktop, &places.documents}) {
    if (paths::isWithin(resolved, underResolvedHome(*folder, places, resolvedHome)) ||
        paths::isWithin(resolved, paths::stripPrivate(paths::resolveSymlinks(*folder)))) {
      return true;
    }
  }
  // Only the components below the home folder count: the home folder's own path is the
  // user's choice, not a project.
  std::string_view rest = resolved;
  if (paths::isWithin(resolved, resolvedHome)) rest.remove_prefix(resolvedHome.size());
  size_t i = 0;
  while (i < rest.size()) {
    size_t j = rest.find('/', i);
    if (j == std::string_view::npos) j = rest.size();
    if (isProjectFolderName(rest.substr(i, j - i))) return true;
    i = j + 1;
  }
  return beginsWithApple(paths::lastComponent(resolved));
}

CacheFinding makeFinding(const std::string& path, std::string name, std::string note,
                         const DiskSizer::SizeReading& reading, const Locations& places) {
  CacheFinding f;
  f.id = path;
  f.name = std::move(name);
  f.path = paths::tilde(path, places.home);
  f.bytes = reading.bytes;
  f.note = std::move(note);
  f.kind = CacheFinding::Kind::cache;
  f.contentModified = reading.newest;
  return f;
}

void sortLargestFirst(std::vector<CacheFinding>& findings) {
  std::stable_sort(findings.begin(), findings.end(),
                   [](const CacheFinding& a, const CacheFinding& b) { return a.bytes > b.bytes; });
}

bool isUnderChromeProfiles(const std::string& path, const Locations& places) {
  return paths::isStrictlyWithin(paths::stripPrivate(path),
                                 paths::stripPrivate(places.chromeProfiles));
}

}  // namespace

bool isSafeCacheLocation(const std::string& path, const Locations& places) {
  if (path.empty() || beginsWithApple(paths::lastComponent(path))) return false;
  std::string resolvedHome = resolvedHomeOf(places);
  std::string resolved = paths::stripPrivate(paths::resolveSymlinks(path));
  bool inside =
      paths::isStrictlyWithin(resolved, underResolvedHome(places.caches, places, resolvedHome));
  for (const std::string* cache : {&places.npmCache, &places.npxCache, &places.gradleCaches}) {
    inside = inside || paths::isWithin(resolved, underResolvedHome(*cache, places, resolvedHome));
  }
  return inside && !isRefusedPlace(resolved, places, resolvedHome) &&
         !OwnGround::excludes(path, places);
}

bool isChromeProfileCache(const std::string& path, const Locations& places) {
  if (path.empty()) return false;
  std::string resolvedHome = resolvedHomeOf(places);
  std::string resolved = paths::stripPrivate(paths::resolveSymlinks(path));
  std::string root = underResolvedHome(places.chromeProfiles, places, resolvedHome);
  if (!paths::isStrictlyWithin(resolved, root)) return false;
  // profile/folder, or profile/Service Worker/folder
  std::string_view rest = std::string_view(resolved).substr(root.size() + 1);
  auto slash = rest.find('/');
  if (slash == std::string_view::npos || slash == 0) return false;
  std::string_view inside = rest.substr(slash + 1);
  bool known = isOneOf(inside, kChromeCacheFolders);
  if (!known && inside.substr(0, kServiceWorker.size() + 1) == std::string(kServiceWorker) + "/") {
    known = isOneOf(inside.substr(kServiceWorker.size() + 1), kServiceWorkerFolders);
  }
  return known && !isRefusedPlace(resolved, places, resolvedHome) &&
         !OwnGround::excludes(path, places);
}

bool isListableCache(const std::string& path, const Locations& places) {
  return isSafeCacheLocation(path, places) || isChromeProfileCache(path, places);
}

std::optional<CacheFinding> libraryCacheFinding(const std::string& path,
                                                const DiskSizer::SizeReading& reading,
                                                bool chromeRunning, const Locations& places) {
  std::string_view name = paths::lastComponent(path);
  if (reading.bytes < kMinimumCacheBytes || beginsWithApple(name) ||
      !isSafeCacheLocation(path, places)) {
    return std::nullopt;
  }
  CacheFinding f =
      makeFinding(path, notes::cacheDisplayName(name), std::string(kLibraryNote), reading, places);
  f.removable = true;
  f.suggested = f.bytes >= kPreselectBytes;
  applyChromeRule(f, chromeRunning, places);
  return f;
}

std::vector<CacheFinding> scanLibraryCaches(const Locations& places, bool chromeRunning,
                                            SharedMeasurer& measurer) {
  std::vector<std::string> children;
  for (const FolderEntry& e : entriesOf(places.caches)) {
    if (beginsWithApple(e.name)) continue;  // never listed, so never walked
    std::string child = paths::join(places.caches, e.name);
    if (OwnGround::excludes(child, places)) continue;  // a Trash or our own data: not walked
    children.push_back(std::move(child));
  }
  std::vector<DiskSizer::SizeReading> readings = measurer.measureAll(children);
  std::vector<CacheFinding> findings;
  for (size_t i = 0; i < children.size(); ++i) {
    if (auto f = libraryCacheFinding(children[i], readings[i], chromeRunning, places)) {
      findings.push_back(std::move(*f));
    }
  }
  sortLargestFirst(findings);
  return findings;
}

std::vector<CacheFinding> scanDeveloperCaches(const Locations& places, SharedMeasurer& measurer) {
  std::vector<const DeveloperCache*> rows;
  std::vector<std::string> paths;
  for (const DeveloperCache& row : kDeveloperCaches) {
    const std::string& path = places.*row.path;
    if (path.empty() || !isRealFolder(path) || !isSafeCacheLocation(path, places)) continue;
    rows.push_back(&row);
    paths.push_back(path);
  }
  std::vector<DiskSizer::SizeReading> readings = measurer.measureAll(paths);
  std::vector<CacheFinding> findings;
  for (size_t i = 0; i < rows.size(); ++i) {
    if (readings[i].bytes < kMinimumCacheBytes) continue;
    CacheFinding f = makeFinding(paths[i], std::string(rows[i]->name), std::string(rows[i]->note),
                                 readings[i], places);
    f.suggested = true;
    f.removable = true;
    findings.push_back(std::move(f));
  }
  sortLargestFirst(findings);
  return findings;
}

std::vector<CacheFinding> scanChromeCaches(const Locations& places, bool chromeRunning,
                                           SharedMeasurer& measurer) {
  struct Candidate {
    std::string path;
    std::string name;
  };
  std::vector<Candidate> candidates;
  for (const FolderEntry& profile : entriesOf(places.chromeProfiles)) {
    if (!profile.isFolder()) continue;
    std::string profilePath = paths::join(places.chromeProfiles, profile.name);
    for (const FolderEntry& child : entriesOf(profilePath)) {
      if (child.isFolder() && isOneOf(child.name, kChromeCacheFolders)) {
        candidates.push_back(
            {paths::join(profilePath, child.name), "Chrome " + profile.name + " " + child.name});
      }
    }
    for (std::string_view folder : kServiceWorkerFolders) {
      std::string path =
          paths::join(profilePath, std::string(kServiceWorker) + "/" + std::string(folder));
      if (isRealFolder(path)) {
        candidates.push_back(
            {path, "Chrome " + profile.name + " Service Worker " + std::string(folder)});
      }
    }
  }
  std::erase_if(candidates,
                [&](const Candidate& c) { return !isChromeProfileCache(c.path, places); });

  std::vector<std::string> paths;
  for (const Candidate& c : candidates)
    paths.push_back(c.path);
  std::vector<DiskSizer::SizeReading> readings = measurer.measureAll(paths);

  std::vector<CacheFinding> findings;
  std::set<std::string> reported;
  for (size_t i = 0; i < candidates.size(); ++i) {
    if (readings[i].bytes < kMinimumCacheBytes) continue;
    // The same folder reached twice (a profile linked to another) is listed once.
    if (!reported.insert(paths::resolveSymlinks(candidates[i].path)).second) continue;
    CacheFinding f = makeFinding(candidates[i].path, candidates[i].name, "", readings[i], places);
    applyChromeRule(f, chromeRunning, places);
    findings.push_back(std::move(f));
  }
  sortLargestFirst(findings);
  return findings;
}

std::vector<CacheFinding> scan(const Locations& places, const platform::Workspace& workspace,
                               SharedMeasurer& measurer) {
  bool chromeRunning = isChromeRunning(workspace);
  std::vector<CacheFinding> findings = scanLibraryCaches(places, chromeRunning, measurer);
  std::vector<CacheFinding> developer = scanDeveloperCaches(places, measurer);
  std::vector<CacheFinding> chrome = scanChromeCaches(places, chromeRunning, measurer);
  findings.insert(findings.end(), developer.begin(), developer.end());
  findings.insert(findings.end(), chrome.begin(), chrome.end());
  sortLargestFirst(findings);
  return findings;
}

bool isChromeRunning(const platform::Workspace& workspace) {
  return workspace.isRunning(kChromeBundleID);
}

bool isChromeCachePath(const std::string& path, const Locations& places) {
  return paths::isWithin(paths::stripPrivate(path), paths::stripPrivate(places.chromeCaches));
}

bool isChromeFinding(const CacheFinding& finding, const Locations& places) {
  if (finding.kind != CacheFinding::Kind::cache) return false;
  return isChromeCachePath(finding.id, places) || isUnderChromeProfiles(finding.id, places);
}

void applyChromeRule(CacheFinding& finding, bool chromeRunning, const Locations& places) {
  if (!isChromeFinding(finding, places)) return;
  if (chromeRunning) {
    finding.note = kQuitChromeNote;
    finding.suggested = false;
    finding.removable = false;
    return;
  }
  finding.removable = true;
  if (isChromeCachePath(finding.id, places)) {
    finding.note = kLibraryNote;
    finding.suggested = finding.bytes >= kPreselectBytes;
  } else {
    // Profile caches are never pre-selected: they refill as soon as Chrome opens again.
    finding.note = isOneOf(paths::lastComponent(finding.id), kChromeModelFolders)
                       ? kChromeModelNote
                       : kChromeCacheNote;
    finding.suggested = false;
  }
}

}  // namespace dw::CacheScanner
