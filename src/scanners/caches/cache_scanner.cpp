#include "scanners/caches/cache_scanner.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <set>

#include "base/paths.h"
#include "findings/notes.h"
#include "measure/project_folders.h"
#include "platform/own_ground.h"
#include "platform/ownership.h"
#include "scanners/caches/tool_caches.h"
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

// What a Linux home keeps in ~/.cache that is not a cache a program rebuilds by itself: state,
// the user's unsaved or unsent work, and indexes that take hours to rebuild. Never listed.
constexpr std::array<std::string_view, 14> kLinuxNotCaches = {
    "sessions",   // saved desktop sessions
    "obexd",      // files received over Bluetooth
    "kioexec",    // remote files open for editing, copied back when the editor closes
    "vim",        // swap and undo files: the way back to unsaved edits
    "nvim",       //
    "emacs",      //
    "rclone",     // writes to a mounted remote that are still waiting to upload
    "evolution",  // offline copies of mail
    "lm-studio",  // conversations
    "spotify",    // downloaded playlists live beside the streaming cache
    "keepassxc",  // which password database was open
    "tracker3",   // the desktop's search index
    "tracker",    //
    "libvirt",    // state of the user's virtual machines
};
// Children of ~/.cache of which only some folders are caches: Poetry keeps its projects'
// virtual environments beside its downloads; a JetBrains IDE keeps its local history (the way
// back to earlier versions of the user's files) and the file contents it refers to beside the
// indexes it builds again. A part is a path below the child, "*" standing for any one name.
struct ListedByParts {
  std::string_view folder;
  std::array<std::string_view, 2> parts;
};
constexpr std::array<ListedByParts, 2> kLinuxListedByParts = {{
    {"pypoetry", {"cache", "artifacts"}},
    {"JetBrains", {"*/index", ""}},
}};

template <size_t N>
bool isOneOf(std::string_view name, const std::array<std::string_view, N>& names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool beginsWithApple(std::string_view name) {
  // Compared without case: a differently cased Apple name is still Apple's.
  return paths::asciiLower(name.substr(0, 10)) == "com.apple.";
}

// Apple's own folders are a Mac's; a Linux home has none.
bool isAppleFolder(std::string_view name, const Locations& places) {
  return places.layout == Locations::Layout::macos && beginsWithApple(name);
}

bool isLinux(const Locations& places) {
  return places.layout == Locations::Layout::linux;
}

// A child of ~/.cache that is not a cache, or our own (a folder named for this program).
bool isLinuxNotCache(std::string_view name, const Locations& places) {
  return isOneOf(name, kLinuxNotCaches) || name == places.bundleID ||
         paths::asciiLower(name) == "dustwhale" || paths::asciiLower(name) == "dustwhale-gui";
}

const ListedByParts* listedByParts(std::string_view name) {
  for (const ListedByParts& row : kLinuxListedByParts) {
    if (row.folder == name) return &row;
  }
  return nullptr;
}

// The first n components of rest match the part ("*" any one name): rest is the part or lies
// inside it.
bool isInPart(std::string_view rest, std::string_view part) {
  while (!part.empty()) {
    std::string_view want = part.substr(0, part.find('/'));
    std::string_view have = rest.substr(0, rest.find('/'));
    if (have.empty() || (want != "*" && want != have)) return false;
    part.remove_prefix(std::min(part.size(), want.size() + 1));
    rest.remove_prefix(std::min(rest.size(), have.size() + 1));
  }
  return true;
}

bool isInAnyPart(std::string_view rest, const ListedByParts& row) {
  return std::any_of(row.parts.begin(), row.parts.end(),
                     [&](std::string_view part) { return !part.empty() && isInPart(rest, part); });
}

// The folders of one part below a child of the cache folder, "*" taking every folder there.
void addPartFolders(const std::string& folder, std::string_view part,
                    std::vector<std::string>& out);

// A snap's name as snapd writes its folder in ~/snap: lower-case letters, digits and "-" (an
// instance adds "_" and its key).
bool hasSnapNameShape(std::string_view name) {
  return !name.empty() && name.front() != '-' &&
         name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-_") ==
             std::string_view::npos &&
         name.find_first_of("abcdefghijklmnopqrstuvwxyz") != std::string_view::npos;
}

struct DeveloperCache {
  std::string Locations::*path;
  std::string_view name;
  std::string_view note;
  bool (*looksLike)(const std::string& folder);  // the tool's own layout
};
const std::array<DeveloperCache, 8> kDeveloperCaches = {{
    {&Locations::npmCache, "npm cache",
     "Downloaded packages. Project folders, including node_modules, stay.",
     ToolCaches::looksLikeNpmCache},
    {&Locations::npxCache, "npx downloads", "Temporary npx packages. Your projects stay.",
     ToolCaches::looksLikeNpxCache},
    {&Locations::gradleCaches, "Gradle cache",
     "Downloaded dependencies. App projects and their build folders stay.",
     ToolCaches::looksLikeGradleCache},
    // Linux developers' download caches (empty places on a Mac).
    {&Locations::cargoRegistryCache, "Cargo downloads",
     "Downloaded crates. Cargo fetches them again on the next build. Your projects stay.",
     ToolCaches::looksLikeCargoSources},
    {&Locations::cargoGitDatabase, "Cargo git dependencies",
     "Git dependencies Cargo clones again on the next build. Your projects stay.",
     ToolCaches::looksLikeCargoSources},
    {&Locations::goModuleDownloads, "Go module downloads",
     "Downloaded modules. Go fetches them again when a build needs them. Your projects stay.",
     ToolCaches::looksLikeGoDownloads},
    {&Locations::nugetPackages, "NuGet packages",
     "Downloaded packages. dotnet restore fetches them again. Your projects stay.",
     ToolCaches::looksLikeNugetPackages},
    {&Locations::bunCache, "Bun cache",
     "Downloaded packages. Bun fetches them again on the next install. Your projects stay.",
     ToolCaches::looksLikeBunCache},
}};

// A row's place is the tool's cache: its default, or a folder a variable named that looks like
// the tool's own.
bool isToolsOwn(const DeveloperCache& row, const std::string& path, const Locations& places) {
  const auto& placed = places.placedByVariables;
  return std::find(placed.begin(), placed.end(), path) == placed.end() || row.looksLike(path);
}

using scanners::FolderEntry;

// An unreadable or missing folder has no entries here: it simply contributes no cache.
std::vector<FolderEntry> entriesOf(const std::string& folder) {
  return scanners::listFolder(folder).value_or(std::vector<FolderEntry>{});
}

bool isRealFolder(const std::string& path) {
  struct stat s {};
  return ::lstat(path.c_str(), &s) == 0 && S_ISDIR(s.st_mode);
}

void addPartFolders(const std::string& folder, std::string_view part,
                    std::vector<std::string>& out) {
  if (part.empty()) {
    if (isRealFolder(folder)) out.push_back(folder);
    return;
  }
  std::string_view first = part.substr(0, part.find('/'));
  std::string_view rest = part.substr(std::min(part.size(), first.size() + 1));
  if (first != "*") return addPartFolders(paths::join(folder, first), rest, out);
  for (const FolderEntry& e : entriesOf(folder)) {
    if (e.isFolder()) addPartFolders(paths::join(folder, e.name), rest, out);
  }
}

// The ~/.cache of each snap (~/snap/<snap>/common/.cache, where snaps point XDG_CACHE_HOME),
// for the snaps snapd set up: their folder holds its "current" link.
std::vector<std::string> snapCacheFolders(const Locations& places) {
  std::vector<std::string> folders;
  if (places.snaps.empty()) return folders;
  for (const FolderEntry& snap : entriesOf(places.snaps)) {
    if (!snap.isFolder() || !hasSnapNameShape(snap.name)) continue;
    std::string folder = paths::join(places.snaps, snap.name);
    struct stat s {};
    if (::lstat(paths::join(folder, "current").c_str(), &s) != 0 || !S_ISLNK(s.st_mode)) continue;
    std::string cache = paths::join(folder, "common/.cache");
    if (isRealFolder(paths::join(folder, "common")) && isRealFolder(cache))
      folders.push_back(cache);
  }
  return folders;
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
  // Never a user folder, nothing inside one and nothing holding one: a tool's variable or a
  // link may aim a cache row at ~/Downloads or at a folder above ~/Pictures.
  for (const std::string* folder : {&places.desktop, &places.documents, &places.downloads,
                                    &places.movies, &places.music, &places.pictures}) {
    if (folder->empty()) continue;
    for (const std::string& place : {underResolvedHome(*folder, places, resolvedHome),
                                     paths::stripPrivate(paths::resolveSymlinks(*folder))}) {
      if (paths::isWithin(resolved, place) || paths::isWithin(place, resolved)) return true;
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
  return isAppleFolder(paths::lastComponent(resolved), places);
}

Finding makeFinding(const std::string& path, std::string name, std::string note,
                    const DiskSizer::SizeReading& reading, const Locations& places) {
  Finding f;
  f.id = path;
  f.name = std::move(name);
  f.path = paths::tilde(path, places.home);
  f.bytes = reading.bytes;
  f.note = std::move(note);
  f.kind = Finding::Kind::cache;
  f.contentModified = reading.newest;
  struct stat s {};
  if (::lstat(path.c_str(), &s) == 0) f.identity = identityOf(s);
  return f;
}

void sortLargestFirst(std::vector<Finding>& findings) {
  std::stable_sort(findings.begin(), findings.end(),
                   [](const Finding& a, const Finding& b) { return a.bytes > b.bytes; });
}

bool isUnderChromeProfiles(const std::string& path, const Locations& places) {
  for (const std::string& root : places.chromeProfiles) {
    if (!root.empty() &&
        paths::isStrictlyWithin(paths::stripPrivate(path), paths::stripPrivate(root))) {
      return true;
    }
  }
  return false;
}

// A child of ~/.cache or of a snap's ~/.cache (or a part of one) that the Linux table refuses.
bool isRefusedLinuxCache(const std::string& resolved, const Locations& places,
                         const std::string& resolvedHome) {
  if (!isLinux(places)) return false;
  std::vector<std::string> folders{places.caches};
  for (std::string& snap : snapCacheFolders(places))
    folders.push_back(std::move(snap));
  for (const std::string& folder : folders) {
    std::string caches = underResolvedHome(folder, places, resolvedHome);
    if (!paths::isStrictlyWithin(resolved, caches)) continue;
    std::string_view below = std::string_view(resolved).substr(caches.size() + 1);
    std::string_view child = below.substr(0, below.find('/'));
    if (isLinuxNotCache(child, places)) return true;
    // Of a folder listed by its parts only those parts (and what lies in them) may go.
    if (const ListedByParts* row = listedByParts(child)) {
      std::string_view rest = below.size() > child.size() ? below.substr(child.size() + 1) : "";
      if (!isInAnyPart(rest, *row)) return true;
    }
  }
  return false;
}

// Inside a snap's ~/.cache (below it, never the folder itself).
bool isInSnapCache(const std::string& resolved, const Locations& places,
                   const std::string& resolvedHome) {
  for (const std::string& folder : snapCacheFolders(places)) {
    if (paths::isStrictlyWithin(resolved, underResolvedHome(folder, places, resolvedHome)))
      return true;
  }
  return false;
}

// The cache folder as a place whose children may go: never the home folder or a folder above it
// (an $XDG_CACHE_HOME set to the home folder would make every folder of it a "cache"), nor one
// holding the user's folders or the program settings and data folders.
bool isUsableCacheFolder(const Locations& places, const std::string& resolvedHome) {
  if (places.caches.empty()) return false;
  std::string caches = underResolvedHome(places.caches, places, resolvedHome);
  if (paths::isWithin(resolvedHome, caches)) return false;
  for (const std::string* kept :
       {&places.configHome, &places.dataHome, &places.downloads, &places.desktop, &places.movies,
        &places.documents, &places.music, &places.pictures}) {
    if (!kept->empty() && paths::isWithin(underResolvedHome(*kept, places, resolvedHome), caches))
      return false;
  }
  return true;
}

std::string heldOpenNote(const std::string& program) {
  return "In use by " + program + ". Quit it before clearing this cache.";
}

}  // namespace

bool isSafeCacheLocation(const std::string& path, const Locations& places) {
  if (path.empty() || isAppleFolder(paths::lastComponent(path), places)) return false;
  std::string resolvedHome = resolvedHomeOf(places);
  std::string resolved = paths::stripPrivate(paths::resolveSymlinks(path));
  bool inside =
      isUsableCacheFolder(places, resolvedHome) &&
      paths::isStrictlyWithin(resolved, underResolvedHome(places.caches, places, resolvedHome));
  // The snaps' caches and the tools' (listed and checked afresh) only where nothing else holds it.
  if (!inside && isLinux(places)) {
    inside = isInSnapCache(resolved, places, resolvedHome);
    for (const ToolCaches::Place& tool : ToolCaches::list(places))
      inside =
          inside || paths::isWithin(resolved, underResolvedHome(tool.path, places, resolvedHome));
  }
  for (const DeveloperCache& row : kDeveloperCaches) {
    const std::string& cache = places.*row.path;
    if (cache.empty()) continue;  // no such place in this layout
    if (paths::isWithin(resolved, underResolvedHome(cache, places, resolvedHome)))
      inside = inside || isToolsOwn(row, cache, places);
  }
  // Only the user's own: another user's cache would land in this user's Trash.
  return inside && !isRefusedPlace(resolved, places, resolvedHome) &&
         !isRefusedLinuxCache(resolved, places, resolvedHome) &&
         !OwnGround::excludes(path, places) && Ownership::ownsPath(path);
}

bool isChromeProfileCache(const std::string& path, const Locations& places) {
  if (path.empty()) return false;
  std::string resolvedHome = resolvedHomeOf(places);
  std::string resolved = paths::stripPrivate(paths::resolveSymlinks(path));
  std::string root;
  for (const std::string& profiles : places.chromeProfiles) {
    std::string candidate =
        profiles.empty() ? std::string() : underResolvedHome(profiles, places, resolvedHome);
    if (!candidate.empty() && paths::isStrictlyWithin(resolved, candidate)) root = candidate;
  }
  if (root.empty()) return false;
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
         !OwnGround::excludes(path, places) && Ownership::ownsPath(path);
}

bool isListableCache(const std::string& path, const Locations& places) {
  return isSafeCacheLocation(path, places) || isChromeProfileCache(path, places);
}

std::optional<std::string> heldOpenBy(const std::string& path,
                                      const std::vector<platform::HeldFile>& held) {
  if (held.empty()) return std::nullopt;
  std::string resolved = paths::resolveSymlinks(path);
  for (const platform::HeldFile& file : held) {
    if (paths::isWithin(file.path, resolved) ||
        (file.wholeFolder && paths::isWithin(resolved, file.path)))
      return file.program;
  }
  return std::nullopt;
}

std::optional<Finding> libraryCacheFinding(const std::string& path,
                                           const DiskSizer::SizeReading& reading,
                                           bool chromeRunning, const Locations& places,
                                           const std::vector<platform::HeldFile>& held) {
  std::string_view name = paths::lastComponent(path);
  if (reading.bytes < kMinimumCacheBytes || isAppleFolder(name, places) ||
      !isSafeCacheLocation(path, places)) {
    return std::nullopt;
  }
  std::string displayName = notes::cacheDisplayName(name);
  if (isLinux(places) && paths::isStrictlyWithin(path, places.caches)) {
    displayName =
        notes::linuxCacheDisplayName(std::string_view(path).substr(places.caches.size() + 1));
  } else if (isLinux(places) && !places.snaps.empty() &&
             paths::isStrictlyWithin(path, places.snaps)) {
    // ~/snap/<snap>/common/.cache/<child>: the child's name, and the snap it belongs to.
    std::string_view below = std::string_view(path).substr(places.snaps.size() + 1);
    std::string_view snap = below.substr(0, below.find('/'));
    constexpr std::string_view kSnapCache = "/common/.cache/";
    if (below.substr(snap.size()).starts_with(kSnapCache)) {
      displayName = notes::linuxCacheDisplayName(below.substr(snap.size() + kSnapCache.size())) +
                    " (" + std::string(snap) + " snap)";
    }
  }
  Finding f = makeFinding(path, std::move(displayName), std::string(kLibraryNote), reading, places);
  f.removable = true;
  f.suggested = f.bytes >= kPreselectBytes;
  if (auto program = heldOpenBy(path, held)) {
    // Listed, so the user sees the space, but not chosen while a program is using it.
    f.note = heldOpenNote(*program);
    f.suggested = false;
  }
  applyChromeRule(f, chromeRunning, places);
  return f;
}

std::vector<Finding> scanLibraryCaches(const Locations& places, bool chromeRunning,
                                       SharedMeasurer& measurer) {
  return scanLibraryCaches(places, chromeRunning, {}, measurer);
}

std::vector<Finding> scanLibraryCaches(const Locations& places, bool chromeRunning,
                                       const std::vector<platform::HeldFile>& held,
                                       SharedMeasurer& measurer) {
  std::vector<std::string> children;
  if (!isUsableCacheFolder(places, resolvedHomeOf(places))) return {};
  std::vector<std::string> folders{places.caches};
  if (isLinux(places)) {
    for (std::string& snap : snapCacheFolders(places))
      folders.push_back(std::move(snap));
  }
  for (const std::string& caches : folders) {
    struct stat folder {};
    bool folderKnown = ::stat(caches.c_str(), &folder) == 0;
    for (const FolderEntry& e : entriesOf(caches)) {
      if (isAppleFolder(e.name, places)) continue;  // never listed, so never walked
      std::string child = paths::join(caches, e.name);
      if (OwnGround::excludes(child, places)) continue;  // a Trash or our own data: not walked
      if (isLinux(places)) {
        if (isLinuxNotCache(e.name, places)) continue;
        // Something mounted here (a portal, a remote) is not this folder's to clear.
        struct stat s {};
        if (folderKnown && ::lstat(child.c_str(), &s) == 0 && s.st_dev != folder.st_dev) continue;
        if (const ListedByParts* row = listedByParts(e.name)) {
          for (std::string_view part : row->parts) {
            if (!part.empty()) addPartFolders(child, part, children);
          }
          continue;
        }
      }
      children.push_back(std::move(child));
    }
  }
  std::vector<DiskSizer::SizeReading> readings = measurer.measureAll(children);
  std::vector<Finding> findings;
  for (size_t i = 0; i < children.size(); ++i) {
    if (auto f = libraryCacheFinding(children[i], readings[i], chromeRunning, places, held)) {
      findings.push_back(std::move(*f));
    }
  }
  sortLargestFirst(findings);
  return findings;
}

std::vector<Finding> scanDeveloperCaches(const Locations& places, SharedMeasurer& measurer) {
  return scanDeveloperCaches(places, {}, measurer);
}

std::vector<Finding> scanDeveloperCaches(const Locations& places,
                                         const std::vector<platform::HeldFile>& held,
                                         SharedMeasurer& measurer) {
  std::vector<const DeveloperCache*> rows;
  std::vector<std::string> paths;
  for (const DeveloperCache& row : kDeveloperCaches) {
    const std::string& path = places.*row.path;
    if (path.empty() || !isRealFolder(path) || !isToolsOwn(row, path, places) ||
        !isSafeCacheLocation(path, places))
      continue;
    // A tool's cache moved into the cache folder by its variable is already a part of one of
    // that folder's children, listed there: counted once.
    if (!places.caches.empty() && paths::isWithin(path, places.caches)) continue;
    rows.push_back(&row);
    paths.push_back(path);
  }
  std::vector<DiskSizer::SizeReading> readings = measurer.measureAll(paths);
  std::vector<Finding> findings;
  for (size_t i = 0; i < rows.size(); ++i) {
    if (readings[i].bytes < kMinimumCacheBytes) continue;
    Finding f = makeFinding(paths[i], std::string(rows[i]->name), std::string(rows[i]->note),
                            readings[i], places);
    f.suggested = true;
    f.removable = true;
    if (auto program = heldOpenBy(paths[i], held)) {
      f.note = heldOpenNote(*program);
      f.suggested = false;
    }
    findings.push_back(std::move(f));
  }
  std::vector<Finding> tools = scanToolCaches(places, held, measurer);
  findings.insert(findings.end(), tools.begin(), tools.end());
  sortLargestFirst(findings);
  return findings;
}

std::vector<Finding> scanToolCaches(const Locations& places,
                                    const std::vector<platform::HeldFile>& held,
                                    SharedMeasurer& measurer) {
  std::vector<ToolCaches::Place> rows = ToolCaches::list(places);
  std::erase_if(rows, [&](const ToolCaches::Place& row) {
    return !isRealFolder(row.path) || !isSafeCacheLocation(row.path, places);
  });
  std::vector<std::string> shared;
  for (const ToolCaches::Place& row : rows) {
    if (!row.unsharedOnly) shared.push_back(row.path);
  }
  std::vector<DiskSizer::SizeReading> sharedReadings = measurer.measureAll(shared);
  std::vector<Finding> findings;
  size_t next = 0;
  for (const ToolCaches::Place& row : rows) {
    // What a store gives back is only what no project links to.
    DiskSizer::SizeReading reading =
        row.unsharedOnly ? DiskSizer::measureUnshared(row.path, measurer.stopToken())
                         : sharedReadings[next++];
    if (reading.bytes < kMinimumCacheBytes) continue;
    Finding f = makeFinding(row.path, row.name, row.note, reading, places);
    f.suggested = row.suggested;
    f.removable = true;
    if (auto program = heldOpenBy(row.path, held)) {
      f.note = heldOpenNote(*program);
      f.suggested = false;
    }
    findings.push_back(std::move(f));
  }
  sortLargestFirst(findings);
  return findings;
}

std::vector<Finding> scanChromeCaches(const Locations& places, bool chromeRunning,
                                      SharedMeasurer& measurer) {
  struct Candidate {
    std::string path;
    std::string name;
  };
  std::vector<Candidate> candidates;
  for (const std::string& root : places.chromeProfiles) {
    if (root.empty()) continue;
    for (const FolderEntry& profile : entriesOf(root)) {
      if (!profile.isFolder()) continue;
      std::string profilePath = paths::join(root, profile.name);
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
  }
  std::erase_if(candidates,
                [&](const Candidate& c) { return !isChromeProfileCache(c.path, places); });

  std::vector<std::string> paths;
  for (const Candidate& c : candidates)
    paths.push_back(c.path);
  std::vector<DiskSizer::SizeReading> readings = measurer.measureAll(paths);

  std::vector<Finding> findings;
  std::set<std::string> reported;
  for (size_t i = 0; i < candidates.size(); ++i) {
    if (readings[i].bytes < kMinimumCacheBytes) continue;
    // The same folder reached twice (a profile linked to another) is listed once.
    if (!reported.insert(paths::resolveSymlinks(candidates[i].path)).second) continue;
    Finding f = makeFinding(candidates[i].path, candidates[i].name, "", readings[i], places);
    applyChromeRule(f, chromeRunning, places);
    findings.push_back(std::move(f));
  }
  sortLargestFirst(findings);
  return findings;
}

std::vector<std::string> heldOpenFolders(const Locations& places) {
  std::vector<std::string> folders{places.caches};
  for (const DeveloperCache& row : kDeveloperCaches)
    folders.push_back(places.*row.path);
  for (std::string& folder : ToolCaches::heldOpenFolders(places))
    folders.push_back(std::move(folder));
  if (isLinux(places)) {
    for (std::string& folder : snapCacheFolders(places))
      folders.push_back(std::move(folder));
  }
  std::erase_if(folders, [](const std::string& f) { return f.empty(); });
  return folders;
}

std::vector<platform::HeldFile> cachesInUse(const Locations& places) {
  std::vector<platform::HeldFile> held = platform::filesHeldOpen(heldOpenFolders(places));
  auto useWhole = [&](const std::string& folder, std::string_view program) {
    struct stat s {};
    if (!folder.empty() && ::lstat(folder.c_str(), &s) == 0)
      held.push_back({paths::resolveSymlinks(folder), std::string(program), true});
  };
  for (const platform::KnownProgram* program : platform::runningKnownPrograms()) {
    for (std::string_view folder : program->cacheFolders) {
      if (!places.caches.empty()) useWhole(paths::join(places.caches, folder), program->name);
    }
    // Its folders in the home (~/.config/Slack, ~/.local/share/Steam), where its tool caches
    // lie, on the layout that has them.
    if (isLinux(places)) {
      for (std::string_view folder : program->homeFolders)
        useWhole(paths::join(places.home, folder), program->name);
    }
  }
  return held;
}

std::vector<Finding> scan(const Locations& places, const platform::Workspace& workspace,
                          const std::vector<platform::HeldFile>& held, SharedMeasurer& measurer) {
  bool chromeRunning = isChromeRunning(workspace);
  std::vector<Finding> findings = scanLibraryCaches(places, chromeRunning, held, measurer);
  std::vector<Finding> developer = scanDeveloperCaches(places, held, measurer);
  std::vector<Finding> chrome = scanChromeCaches(places, chromeRunning, measurer);
  findings.insert(findings.end(), developer.begin(), developer.end());
  findings.insert(findings.end(), chrome.begin(), chrome.end());
  sortLargestFirst(findings);
  return findings;
}

std::vector<Finding> scan(const Locations& places, const platform::Workspace& workspace,
                          SharedMeasurer& measurer) {
  return scan(places, workspace, {}, measurer);
}

bool isChromeRunning(const platform::Workspace& workspace) {
  return workspace.isRunning(kChromeBundleID);
}

bool isChromeCachePath(const std::string& path, const Locations& places) {
  for (const std::string& cache : places.chromeCaches) {
    if (!cache.empty() && paths::isWithin(paths::stripPrivate(path), paths::stripPrivate(cache))) {
      return true;
    }
  }
  return false;
}

bool isChromeFinding(const Finding& finding, const Locations& places) {
  if (finding.kind != Finding::Kind::cache) return false;
  return isChromeCachePath(finding.id, places) || isUnderChromeProfiles(finding.id, places);
}

void applyChromeRule(Finding& finding, bool chromeRunning, const Locations& places) {
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
