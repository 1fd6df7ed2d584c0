#include "scanners/uninstaller/user_folders.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <map>

#include "base/paths.h"
#include "platform/desktop_entry.h"
#include "platform/own_ground.h"
#include "scanners/folder_listing.h"

namespace dw::AppUninstaller {

namespace {

// Folders a program keeps under another name than its own: Firefox's profiles are in
// ~/.mozilla (and its cache in ~/.cache/mozilla), VS Code's extensions in ~/.vscode.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> kOtherNames = {{
    {"firefox", "mozilla"},
    {"firefox-esr", "mozilla"},
    {"code", "vscode"},
    {"codium", "vscode-oss"},
}};

// Names of folders the whole desktop shares, which no one app owns whatever it is called.
constexpr std::array<std::string_view, 16> kShared = {
    "cache",     "config",  "local", "share", "state",  "var",  "applications", "icons",
    "autostart", "systemd", "dconf", "fonts", "themes", "mime", "flatpak",      "trash"};

bool isReverseDomain(std::string_view id) {
  return std::count(id.begin(), id.end(), '.') >= 2;
}

std::string withoutLauncherSuffix(std::string_view name) {
  constexpr std::string_view kDesktop = ".desktop";
  if (name.ends_with(kDesktop)) name.remove_suffix(kDesktop.size());
  return std::string(name);
}

// "Obsidian-1.5.3.AppImage", "Tool_x86_64.AppImage": the name before the version and machine.
std::string appImageStem(std::string_view file) {
  std::string name = paths::asciiLower(file);
  constexpr std::string_view kAppImage = ".appimage";
  if (name.ends_with(kAppImage)) name.resize(name.size() - kAppImage.size());
  for (std::string_view machine : {"-x86_64", "_x86_64", "-amd64", "_amd64", "-aarch64"}) {
    if (name.ends_with(machine)) name.resize(name.size() - machine.size());
  }
  for (size_t i = 1; i + 1 < name.size(); ++i) {
    if ((name[i] == '-' || name[i] == '_' || name[i] == '.') && name[i + 1] >= '0' &&
        name[i + 1] <= '9') {
      name.resize(i);
      break;
    }
  }
  return name;
}

// The names a launcher gives its app: its file id (and the last word of a reverse-domain one),
// the program it starts, its window class, and its name when that is one word.
void addLauncherNames(const std::string& launcher, bool withProgram,
                      std::vector<std::string>& names) {
  std::string id = withoutLauncherSuffix(paths::lastComponent(launcher));
  names.push_back(id);
  if (isReverseDomain(id)) names.emplace_back(id.substr(id.rfind('.') + 1));
  auto entry = platform::readDesktopEntry(launcher);
  if (!entry) return;
  if (withProgram) {
    std::string program = platform::execProgram(entry->exec);
    if (!program.empty()) names.emplace_back(paths::lastComponent(program));
  }
  if (!entry->windowClass.empty()) names.push_back(entry->windowClass);
  if (!entry->name.empty() && entry->name.find(' ') == std::string::npos)
    names.push_back(entry->name);
}

// The folders of one base folder by lower-cased name; with dotted, only ".<name>" entries
// (the home folder's own).
using FolderIndex = std::map<std::string, std::vector<std::string>>;
void indexFolder(const std::string& base, bool dotted, FolderIndex& index) {
  if (base.empty()) return;
  for (const scanners::FolderEntry& e :
       scanners::listFolder(base).value_or(std::vector<scanners::FolderEntry>{})) {
    // Real folders only: a link would show (and measure) some other place.
    if (!e.isFolder()) continue;
    if (dotted && (e.name.size() < 2 || e.name[0] != '.')) continue;
    index[paths::asciiLower(dotted ? e.name.substr(1) : e.name)].push_back(
        paths::join(base, e.name));
  }
}

// Never one of the desktop's own places, or a folder inside or holding one: the XDG base
// folders, the user's folders, the Flatpak and snap folders, our own ground.
bool isAppsOwn(const std::string& path, const Locations& places) {
  auto holds = [&](const std::string& place) {
    return !place.empty() &&
           (paths::isWithin(place, path) || paths::isWithin(paths::resolveSymlinks(place), path));
  };
  for (const std::string* base :
       {&places.configHome, &places.caches, &places.dataHome, &places.stateHome, &places.snaps,
        &places.launchers, &places.icons}) {
    if (holds(*base)) return false;
  }
  for (const std::string* folder : {&places.desktop, &places.documents, &places.downloads,
                                    &places.movies, &places.music, &places.pictures}) {
    if (holds(*folder) || (!folder->empty() && paths::isWithin(path, *folder))) return false;
  }
  for (const std::string& root : places.leftoverRoots) {
    if (holds(root)) return false;
  }
  return !OwnGround::excludes(path, places);
}

}  // namespace

std::vector<std::string> userFolderNames(const AppRecord& record, const Locations& places) {
  std::vector<std::string> names;
  switch (record.kind) {
    case AppRecord::Kind::package:
      addLauncherNames(record.bundlePath, true, names);
      if (!record.bundleID.empty()) names.push_back(record.bundleID);
      break;
    case AppRecord::Kind::appImage:
      names.push_back(appImageStem(paths::lastComponent(record.bundlePath)));
      // Its launchers start the AppImage itself: their program is its path, not a name.
      for (const std::string& item : record.related) {
        if (paths::parent(item) == places.launchers && item.ends_with(".desktop"))
          addLauncherNames(item, false, names);
      }
      break;
    case AppRecord::Kind::flatpak:
    case AppRecord::Kind::bundle:
      return names;
  }
  for (std::string& name : names)
    name = paths::asciiLower(name);
  for (size_t i = 0, n = names.size(); i < n; ++i) {
    for (const auto& [program, other] : kOtherNames) {
      if (names[i] == program) names.emplace_back(other);
    }
  }
  std::vector<std::string> unique;
  for (std::string& name : names) {
    bool plain = name.size() >= 2 && name.find('/') == std::string::npos && name != "..";
    bool shared = std::find(kShared.begin(), kShared.end(), name) != kShared.end();
    if (plain && !shared && std::find(unique.begin(), unique.end(), name) == unique.end())
      unique.push_back(std::move(name));
  }
  return unique;
}

void findUserFolders(std::vector<AppRecord>& records, const Locations& places) {
  if (places.layout != Locations::Layout::linux) return;
  // The base folders in the order shown, each listed once.
  std::vector<FolderIndex> bases(5);
  indexFolder(places.configHome, false, bases[0]);
  indexFolder(places.caches, false, bases[1]);
  indexFolder(places.dataHome, false, bases[2]);
  indexFolder(places.stateHome, false, bases[3]);
  indexFolder(places.home, true, bases[4]);

  for (AppRecord& r : records) {
    r.userFolders.clear();
    if (r.kind == AppRecord::Kind::flatpak) {
      // Everything a Flatpak app keeps is in its folder of ~/.var/app.
      for (const std::string& root : places.leftoverRoots) {
        std::string folder = paths::join(root, r.bundleID);
        struct stat s {};
        if (!r.bundleID.empty() && r.bundleID.find('/') == std::string::npos &&
            ::lstat(folder.c_str(), &s) == 0 && S_ISDIR(s.st_mode) &&
            !OwnGround::excludes(folder, places))
          r.userFolders.push_back(folder);
      }
      continue;
    }
    std::vector<std::string> names = userFolderNames(r, places);
    for (const FolderIndex& base : bases) {
      for (const std::string& name : names) {
        auto found = base.find(name);
        if (found == base.end()) continue;
        for (const std::string& folder : found->second) {
          if (isAppsOwn(folder, places) &&
              std::find(r.userFolders.begin(), r.userFolders.end(), folder) == r.userFolders.end())
            r.userFolders.push_back(folder);
        }
      }
    }
  }
}

}  // namespace dw::AppUninstaller
