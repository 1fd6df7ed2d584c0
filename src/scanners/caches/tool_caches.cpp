#include "scanners/caches/tool_caches.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <functional>
#include <set>

#include "base/paths.h"
#include "scanners/folder_listing.h"

namespace dw::ToolCaches {

namespace {

using scanners::FolderEntry;

std::vector<FolderEntry> entriesOf(const std::string& folder) {
  return scanners::listFolder(folder).value_or(std::vector<FolderEntry>{});
}

bool hasEntry(const std::string& folder, std::string_view name, mode_t type) {
  struct stat s {};
  return ::lstat(paths::join(folder, name).c_str(), &s) == 0 && (s.st_mode & S_IFMT) == type;
}

bool isDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool isHex(std::string_view text, size_t length) {
  return text.size() == length &&
         text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

// Every entry but hidden ones passes fits, and at least one is there: a folder of anything else
// (the user's own files among them) is not the tool's.
bool allFit(const std::string& folder, const std::function<bool(const FolderEntry&)>& fits) {
  auto entries = scanners::listFolder(folder);
  if (!entries) return false;
  bool any = false;
  for (const FolderEntry& e : *entries) {
    if (e.name.starts_with('.')) continue;
    if (!fits(e)) return false;
    any = true;
  }
  return any;
}

// At least one entry but hidden ones passes marks: the tool's own mark among them.
bool anyIs(const std::string& folder, const std::function<bool(const FolderEntry&)>& marks) {
  for (const FolderEntry& e : entriesOf(folder)) {
    if (!e.name.starts_with('.') && marks(e)) return true;
  }
  return false;
}

// Chromium's disk caches: the block-file layout (an "index" beside data_0 ... data_3), or the
// simple one ("index-dir" beside the entries), possibly one folder down in "Cache_Data".
bool looksLikeChromiumDiskCache(const std::string& folder) {
  if (hasEntry(folder, "index", S_IFREG) || hasEntry(folder, "index-dir", S_IFDIR)) return true;
  std::string data = paths::join(folder, "Cache_Data");
  return hasEntry(data, "index", S_IFREG) || hasEntry(data, "index-dir", S_IFDIR);
}

// V8's code cache: a disk cache for scripts ("js") and one for WebAssembly ("wasm").
bool looksLikeCodeCache(const std::string& folder) {
  return hasEntry(folder, "js", S_IFDIR) || hasEntry(folder, "wasm", S_IFDIR);
}

// VS Code's compiled scripts, one folder per build (its 40-digit commit).
bool looksLikeCachedData(const std::string& folder) {
  return allFit(folder, [](const FolderEntry& e) { return e.isFolder() && isHex(e.name, 40); });
}

// Extension packages VS Code downloaded ("publisher.name-1.2.3"): files only.
bool looksLikeExtensionDownloads(const std::string& folder) {
  return allFit(folder, [](const FolderEntry& e) { return e.type == S_IFREG; });
}

// The cache folders an Electron app keeps beside its settings, named as Chromium names them.
struct ElectronCache {
  std::string_view folder;
  std::string_view what;
  bool (*looksLike)(const std::string& folder);
};
constexpr std::array<ElectronCache, 9> kElectronCaches = {{
    {"Cache", "web cache", looksLikeChromiumDiskCache},
    {"Code Cache", "code cache", looksLikeCodeCache},
    {"GPUCache", "GPU cache", looksLikeChromiumDiskCache},
    {"DawnCache", "GPU shader cache", looksLikeChromiumDiskCache},
    {"DawnGraphiteCache", "GPU shader cache", looksLikeChromiumDiskCache},
    {"DawnWebGPUCache", "GPU shader cache", looksLikeChromiumDiskCache},
    {"GrShaderCache", "shader cache", looksLikeChromiumDiskCache},
    {"CachedData", "compiled code cache", looksLikeCachedData},
    {"CachedExtensionVSIXs", "extension downloads", looksLikeExtensionDownloads},
}};

constexpr std::string_view kElectronNote = "Cache only. Your settings, sign-in and files stay.";

// The app's name as its users know it, from its folder in ~/.config.
std::string electronAppName(std::string_view folder) {
  if (folder == "Code") return "VS Code";
  if (folder == "Code - Insiders") return "VS Code Insiders";
  std::string name(folder);
  if (!name.empty() && name[0] >= 'a' && name[0] <= 'z') name[0] = static_cast<char>(name[0] - 32);
  return name;
}

std::string resolved(const std::string& path) {
  return paths::standardize(paths::resolveSymlinks(path));
}

}  // namespace

// The download caches a tool's variable may move (NUGET_PACKAGES=~/work names any folder): the
// folder is the tool's only while every entry in it is of the tool's making and one is its mark.

bool looksLikeNpmCache(const std::string& folder) {
  return allFit(folder,
                [](const FolderEntry& e) {
                  return e.isFolder() &&
                         (e.name == "content-v2" || e.name == "index-v5" || e.name == "tmp");
                }) &&
         anyIs(folder, [](const FolderEntry& e) { return e.name != "tmp"; });
}

bool looksLikeNpxCache(const std::string& folder) {
  return allFit(folder, [](const FolderEntry& e) { return e.isFolder() && isHex(e.name, 16); });
}

bool looksLikeGradleCache(const std::string& folder) {
  static constexpr std::array<std::string_view, 8> kFamilies = {
      "modules-", "jars-",        "transforms-", "build-cache-",
      "journal-", "file-changes", "kotlin-dsl",  "md-"};
  return allFit(folder,
                [](const FolderEntry& e) {
                  if (e.isFolder()) {
                    // A family of Gradle's own, or a Gradle version's folder ("8.5").
                    return !e.name.empty() &&
                           ((e.name.front() >= '0' && e.name.front() <= '9') ||
                            std::any_of(kFamilies.begin(), kFamilies.end(),
                                        [&](auto f) { return e.name.starts_with(f); }));
                  }
                  return e.type == S_IFREG &&
                         (e.name.ends_with(".lock") || e.name.ends_with(".bin"));
                }) &&
         anyIs(folder,
               [](const FolderEntry& e) { return e.isFolder() && e.name.starts_with("modules-"); });
}

bool looksLikeCargoSources(const std::string& folder) {
  // "<source>-<16 hex digits>": one registry, or one git dependency.
  return allFit(folder, [](const FolderEntry& e) {
    size_t dash = e.name.rfind('-');
    return e.isFolder() && dash != std::string::npos && dash > 0 &&
           isHex(std::string_view(e.name).substr(dash + 1), 16);
  });
}

bool looksLikeGoDownloads(const std::string& folder) {
  if (!allFit(folder, [](const FolderEntry& e) { return e.isFolder(); })) return false;
  // Module paths of folders, each module's versions in an "@v" folder a few levels down
  // (github.com/user/module/@v), looked for in at most a couple of hundred folders.
  std::vector<std::pair<std::string, int>> queue{{folder, 0}};
  for (size_t i = 0; i < queue.size() && i < 200; ++i) {
    auto [path, depth] = queue[i];
    for (const FolderEntry& e : entriesOf(path)) {
      if (!e.isFolder()) continue;
      if (e.name == "@v") return true;
      if (depth < 5) queue.emplace_back(paths::join(path, e.name), depth + 1);
    }
  }
  return false;
}

bool looksLikeNugetPackages(const std::string& folder) {
  // A folder per package id (in lower case), a folder per version in it, and in a version the
  // package's own files (.nupkg.metadata, <id>.<version>.nupkg).
  auto isVersion = [](const FolderEntry& e) {
    return e.isFolder() && !e.name.empty() && e.name.front() >= '0' && e.name.front() <= '9';
  };
  return allFit(folder,
                [&](const FolderEntry& e) {
                  if (!e.isFolder() || e.name != paths::asciiLower(e.name)) return false;
                  auto versions = scanners::listFolder(paths::join(folder, e.name));
                  return versions && std::all_of(versions->begin(), versions->end(), isVersion);
                }) &&
         anyIs(folder, [&](const FolderEntry& e) {
           std::string package = paths::join(folder, e.name);
           for (const FolderEntry& v : entriesOf(package)) {
             std::string version = paths::join(package, v.name);
             if (hasEntry(version, ".nupkg.metadata", S_IFREG) ||
                 hasEntry(version, e.name + "." + v.name + ".nupkg", S_IFREG))
               return true;
           }
           return false;
         });
}

bool looksLikeBunCache(const std::string& folder) {
  // "<name>@<version>@@@<n>" folders, scoped ones inside "@scope" folders, and the registry's
  // manifests as "<hash>.npm" files.
  auto isPackage = [](const FolderEntry& e) {
    return e.isFolder() && e.name.find("@@@") != std::string::npos;
  };
  return allFit(folder,
                [&](const FolderEntry& e) {
                  if (isPackage(e)) return true;
                  if (e.type == S_IFREG) return e.name.ends_with(".npm");
                  if (!e.isFolder() || !e.name.starts_with('@')) return false;
                  auto scoped = scanners::listFolder(paths::join(folder, e.name));
                  return scoped && std::all_of(scoped->begin(), scoped->end(), isPackage);
                }) &&
         anyIs(folder, isPackage);
}

bool looksLikePnpmStore(const std::string& folder) {
  // One folder per store version ("v3", "v10"), its files in "files".
  bool anyFiles = false;
  bool fits = allFit(folder, [&](const FolderEntry& e) {
    if (!e.isFolder() || e.name.size() < 2 || e.name[0] != 'v' ||
        !isDigits(std::string_view(e.name).substr(1)))
      return false;
    anyFiles = anyFiles || hasEntry(paths::join(folder, e.name), "files", S_IFDIR);
    return true;
  });
  return fits && anyFiles;
}

bool looksLikeYarnCache(const std::string& folder) {
  // Yarn's archives, "<name>-npm-<version>-<hash>-<checksum>.zip", and nothing else.
  return allFit(folder,
                [](const FolderEntry& e) { return e.type == S_IFREG && e.name.ends_with(".zip"); });
}

bool looksLikePipxCache(const std::string& folder) {
  // pipx marks the folder with the cache directory tag and keeps one environment per tool run.
  static constexpr std::string_view kSignature = "Signature: 8a477f597d28d172789f06886806bc55";
  // Read from a regular file only, opened without waiting (a pipe in its place is no tag).
  int fd = ::open(paths::join(folder, "CACHEDIR.TAG").c_str(),
                  O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat s {};
  std::string head(kSignature.size(), '\0');
  bool tagged = ::fstat(fd, &s) == 0 && S_ISREG(s.st_mode) &&
                ::read(fd, head.data(), head.size()) == static_cast<ssize_t>(head.size()) &&
                head == kSignature;
  ::close(fd);
  if (!tagged) return false;
  auto entries = scanners::listFolder(folder);
  return entries && std::all_of(entries->begin(), entries->end(), [](const FolderEntry& e) {
           return e.isFolder() || e.name == "CACHEDIR.TAG" || e.name.starts_with('.');
         });
}

bool looksLikeSteamShaderCache(const std::string& folder) {
  // One folder per game, named by its Steam app number.
  return allFit(folder, [](const FolderEntry& e) { return e.isFolder() && isDigits(e.name); });
}

bool isElectronAppFolder(const std::string& folder) {
  return hasEntry(folder, "Local State", S_IFREG) && !hasEntry(folder, "Default", S_IFDIR);
}

std::vector<Place> list(const Locations& places) {
  std::vector<Place> found;
  if (places.layout != Locations::Layout::linux) return found;
  std::string home = resolved(places.home);
  std::set<std::string> seen;
  auto add = [&](const std::string& path, bool (*looksLike)(const std::string&), Place place) {
    struct stat s {};
    if (path.empty() || ::stat(path.c_str(), &s) != 0 || !S_ISDIR(s.st_mode)) return;
    std::string real = resolved(path);
    // Only inside the home, once, and not inside the cache folder, whose child lists it.
    if (!paths::isStrictlyWithin(real, home) || !seen.insert(real).second) return;
    if (!places.caches.empty() && paths::isWithin(real, resolved(places.caches))) return;
    if (!looksLike(path)) return;
    place.path = path;
    found.push_back(std::move(place));
  };

  add(places.pnpmStore, looksLikePnpmStore,
      {"", "pnpm store",
       "Downloaded packages. Files your projects still link to stay, and are not counted.", true,
       true});
  add(places.yarnBerryCache, looksLikeYarnCache,
      {"", "Yarn cache", "Downloaded packages. Your projects stay.", false, false});
  for (const std::string& pipx : places.pipxCaches) {
    add(pipx, looksLikePipxCache,
        {"", "pipx run environments",
         "Environments of tools run once with pipx run. Tools you installed stay.", true, false});
  }
  for (const std::string& shaders : places.steamShaderCaches) {
    add(shaders, looksLikeSteamShaderCache,
        {"", "Steam shader cache", "Compiled shaders. Your games and saves stay.", false, false});
  }
  if (!places.configHome.empty()) {
    for (const FolderEntry& app : entriesOf(places.configHome)) {
      if (!app.isFolder()) continue;
      std::string folder = paths::join(places.configHome, app.name);
      // Chrome's and Chromium's own folders have their profiles and their own rule.
      if (std::find(places.chromeProfiles.begin(), places.chromeProfiles.end(), folder) !=
              places.chromeProfiles.end() ||
          !isElectronAppFolder(folder))
        continue;
      for (const ElectronCache& cache : kElectronCaches) {
        add(paths::join(folder, cache.folder), cache.looksLike,
            {"", electronAppName(app.name) + " " + std::string(cache.what),
             std::string(kElectronNote), false, false});
      }
    }
  }
  return found;
}

std::vector<std::string> heldOpenFolders(const Locations& places) {
  std::vector<std::string> folders;
  for (Place& place : list(places))
    folders.push_back(std::move(place.path));
  return folders;
}

}  // namespace dw::ToolCaches
