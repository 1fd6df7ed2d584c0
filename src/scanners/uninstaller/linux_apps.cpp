#include "scanners/uninstaller/linux_apps.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>

#include "base/paths.h"
#include "base/time.h"
#include "platform/file_reading.h"
#include "platform/own_ground.h"
#include "scanners/app_bundles.h"
#include "scanners/folder_listing.h"

namespace dw::AppUninstaller {

namespace {

using scanners::FolderEntry;
using scanners::listFolder;

constexpr std::string_view kLauncherExtension = ".desktop";
constexpr std::array<std::string_view, 5> kIconExtensions = {".png", ".svg", ".svgz", ".xpm",
                                                             ".ico"};
// Where a launcher's bare program name is looked for, below the root.
constexpr std::array<std::string_view, 7> kProgramFolders = {
    "/usr/local/bin", "/usr/bin", "/bin", "/usr/games", "/usr/local/games", "/usr/sbin", "/sbin"};
// Icon sizes of a distribution's theme, the sharpest first.
constexpr std::array<std::string_view, 6> kSystemIconSizes = {"scalable", "256x256", "128x128",
                                                              "96x96",    "64x64",   "48x48"};

std::string resolved(const std::string& path) {
  return paths::standardize(paths::resolveSymlinks(path));
}

bool isLauncherName(std::string_view name) {
  return name.size() > kLauncherExtension.size() && name.ends_with(kLauncherExtension);
}

std::string withoutSuffix(std::string_view name, std::string_view suffix) {
  if (name.size() > suffix.size() && paths::asciiLower(name).ends_with(paths::asciiLower(suffix)))
    name.remove_suffix(suffix.size());
  return std::string(name);
}

bool hasIconExtension(std::string_view name) {
  std::string lower = paths::asciiLower(name);
  return std::any_of(kIconExtensions.begin(), kIconExtensions.end(),
                     [&](std::string_view e) { return lower.ends_with(e); });
}

// A name that stands for one file in one folder: no separator, no "." or "..".
bool isPlainName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
         name.find('\0') == std::string_view::npos;
}

bool exists(const std::string& path) {
  struct stat s {};
  return ::stat(path.c_str(), &s) == 0;
}

std::optional<TimePoint> accessTime(const std::string& path) {
  struct stat s {};
  if (::lstat(path.c_str(), &s) != 0) return std::nullopt;
  return timefmt::fromUnixSeconds(s.st_atim.tv_sec);
}

std::uint64_t inodeOf(const std::string& path) {
  struct stat s {};
  return ::lstat(path.c_str(), &s) == 0 ? static_cast<std::uint64_t>(s.st_ino) : 0;
}

// The first existing file among the theme's sizes of a hicolor folder, for showing only.
std::string themeIcon(const std::string& hicolor, const std::string& name) {
  for (std::string_view size : kSystemIconSizes) {
    for (std::string_view extension : {".svg", ".png"}) {
      std::string path =
          paths::join(hicolor, std::string(size) + "/apps/" + name + std::string(extension));
      if (exists(path)) return path;
    }
  }
  return {};
}

// The path as the system sees it, without the scanned root ("/usr/share/applications/x").
std::string unrooted(const std::string& path, const Locations& places) {
  if (places.root.empty() || places.root == "/" || !paths::isWithin(path, places.root)) return path;
  return paths::standardize("/" + path.substr(places.root.size()));
}

// Where a link points, as an absolute path (a relative target read from the link's folder).
std::string linkTarget(const std::string& link) {
  char target[4096];
  ssize_t n = ::readlink(link.c_str(), target, sizeof target - 1);
  if (n <= 0) return {};
  std::string text(target, static_cast<size_t>(n));
  if (text.front() != '/') text = paths::join(paths::parent(link), text);
  return paths::standardize(text);
}

}  // namespace

std::vector<std::string> linksToAppImage(const std::string& appImage, const Locations& places) {
  std::vector<std::string> links;
  std::string image = paths::standardize(appImage);
  for (const std::string& folder : places.appImageFolders) {
    if (folder.empty()) continue;
    auto entries = listFolder(folder);
    if (!entries) continue;
    for (const FolderEntry& e : *entries) {
      if (e.type != S_IFLNK) continue;
      std::string path = paths::join(folder, e.name);
      if (linkTarget(path) == image && !OwnGround::excludes(path, places)) links.push_back(path);
    }
  }
  return links;
}

std::vector<Launcher> userLaunchers(const Locations& places) {
  std::vector<Launcher> launchers;
  if (places.launchers.empty()) return launchers;
  std::string home = resolved(places.home);
  auto entries = listFolder(places.launchers);
  if (!entries) return launchers;
  for (const FolderEntry& e : *entries) {
    if (e.type != S_IFREG || !isLauncherName(e.name)) continue;
    std::string path = paths::join(places.launchers, e.name);
    if (!paths::isStrictlyWithin(resolved(path), home) || OwnGround::excludes(path, places))
      continue;
    std::optional<TimePoint> accessed = accessTime(path);  // before reading changes it
    auto entry = platform::readDesktopEntry(path);
    if (!entry) continue;
    std::string program = platform::execProgram(entry->exec);
    launchers.push_back({std::move(path), std::move(*entry), std::move(program), accessed});
  }
  return launchers;
}

bool startsAppImage(const std::string& program, const std::string& appImage,
                    const Locations& places) {
  if (program.empty() || appImage.empty()) return false;
  std::string image = paths::standardize(appImage);
  if (program.find('/') == std::string::npos) {
    return std::any_of(places.appImageFolders.begin(), places.appImageFolders.end(),
                       [&](const std::string& folder) {
                         return !folder.empty() && paths::join(folder, program) == image;
                       });
  }
  if (program.front() != '/') return false;
  return paths::standardize(program) == image || resolved(program) == resolved(image);
}

bool isMovableIcon(const std::string& path, const Locations& places) {
  struct stat s {};
  if (path.empty() || path.front() != '/' || ::lstat(path.c_str(), &s) != 0 ||
      !S_ISREG(s.st_mode) || !hasIconExtension(paths::lastComponent(path))) {
    return false;
  }
  // Only in the user's icon folders, as written and once links are resolved: an icon named by
  // a launcher anywhere else (Downloads, a project) is someone's file, not the app's.
  std::string standard = paths::standardize(path);
  std::string file = resolved(path);
  bool inIconFolder = false;
  for (const std::string* folder : {&places.icons, &places.pixmaps}) {
    inIconFolder =
        inIconFolder || (!folder->empty() && paths::isStrictlyWithin(standard, *folder) &&
                         paths::isStrictlyWithin(file, resolved(*folder)));
  }
  return inIconFolder && !OwnGround::excludes(path, places);
}

std::vector<std::string> iconFilesOf(const std::string& icon, const Locations& places) {
  std::vector<std::string> files;
  if (icon.empty()) return files;
  if (icon.front() == '/') {
    if (isMovableIcon(icon, places)) files.push_back(paths::standardize(icon));
    return files;
  }
  if (!isPlainName(icon) || places.icons.empty()) return files;
  std::string hicolor = paths::join(places.icons, "hicolor");
  if (auto sizes = listFolder(hicolor)) {
    for (const FolderEntry& size : *sizes) {
      if (!size.isFolder()) continue;
      for (std::string_view extension : {".png", ".svg"}) {
        std::string path =
            paths::join(hicolor, size.name + "/apps/" + icon + std::string(extension));
        if (isMovableIcon(path, places)) files.push_back(path);
      }
    }
  }
  for (const std::string* folder : {&places.icons, &places.pixmaps}) {
    if (folder->empty()) continue;
    for (const FolderEntry& e : listFolder(*folder).value_or(std::vector<FolderEntry>{})) {
      // <name>.<extension>, and nothing longer: "foo.old.png" is not foo's.
      if (e.type != S_IFREG || !e.name.starts_with(icon + ".")) continue;
      if (e.name.substr(icon.size() + 1).find('.') != std::string::npos) continue;
      std::string path = paths::join(*folder, e.name);
      if (isMovableIcon(path, places)) files.push_back(path);
    }
  }
  return files;
}

std::vector<std::string> otherLaunchersIcons(const Locations& places) {
  std::vector<std::string> folders{places.systemLaunchers};
  for (const std::string& installation : scanners::flatpakInstallations(places))
    folders.push_back(paths::join(installation, "exports/share/applications"));
  std::vector<std::string> icons;
  for (const std::string& folder : folders) {
    if (folder.empty()) continue;
    for (const FolderEntry& e : listFolder(folder).value_or(std::vector<FolderEntry>{})) {
      if ((e.type != S_IFREG && e.type != S_IFLNK) || !isLauncherName(e.name)) continue;
      auto entry = platform::readDesktopEntry(paths::join(folder, e.name));
      if (entry && !entry->icon.empty()) icons.push_back(entry->icon);
    }
  }
  return icons;
}

namespace {

// A name as icon and launcher files spell it: lower case, letters and digits only, so that
// "appimagekit_1f-editor" and "appimagekit_1f_editor" or "Editor" and "editor" match.
std::string nameKey(std::string_view name) {
  std::string key;
  for (char c : paths::asciiLower(name)) {
    if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) key += c;
  }
  return key;
}

std::string_view stemOf(std::string_view file) {
  size_t dot = file.find('.');
  return dot == std::string_view::npos || dot == 0 ? file : file.substr(0, dot);
}

// The names an icon of this AppImage may carry: the app's name, its file's name with and
// without its version ("Krita-5.2.2-x86_64.AppImage": "Krita"), and its launchers' file names.
std::set<std::string> appNames(const AppRecord& app, const Locations& places) {
  std::set<std::string> names;
  std::string file = withoutSuffix(paths::lastComponent(app.bundlePath), ".AppImage");
  names.insert(nameKey(app.name));
  names.insert(nameKey(file));
  for (size_t i = 0; i + 1 < file.size(); ++i) {
    if ((file[i] == '-' || file[i] == '_') && file[i + 1] >= '0' && file[i + 1] <= '9') {
      names.insert(nameKey(file.substr(0, i)));
      break;
    }
  }
  for (const std::string& item : app.related) {
    if (!places.launchers.empty() && paths::parent(item) == paths::standardize(places.launchers) &&
        isLauncherName(paths::lastComponent(item))) {
      names.insert(nameKey(withoutSuffix(paths::lastComponent(item), kLauncherExtension)));
    }
  }
  names.erase("");
  return names;
}

// Whether another launcher names this icon file: by the same file, or by the icon name the
// file carries (a theme lookup of it would find this file).
bool namedByOthers(const std::string& file, const std::vector<std::string>& otherIcons) {
  std::string key = nameKey(stemOf(paths::lastComponent(file)));
  std::string resolvedFile = resolved(file);
  return std::any_of(otherIcons.begin(), otherIcons.end(), [&](const std::string& icon) {
    if (icon.empty()) return false;
    if (icon.front() == '/') return resolved(icon) == resolvedFile;
    return nameKey(icon) == key || nameKey(stemOf(icon)) == key;
  });
}

// The icon files of the app's own launchers that are the app's alone (see describeAppImage).
bool isAppsOwnIcon(const std::string& file, const AppRecord& app, const Locations& places,
                   const std::vector<std::string>& otherIcons) {
  return isMovableIcon(file, places) &&
         appNames(app, places).contains(nameKey(stemOf(paths::lastComponent(file)))) &&
         !namedByOthers(file, otherIcons);
}

}  // namespace

AppRecord describeAppImage(const std::string& path, std::optional<TimePoint> accessed,
                           const Locations& places, const std::vector<Launcher>& launchers,
                           const std::set<std::string>& executables,
                           const std::vector<std::string>& otherIcons) {
  AppRecord r;
  r.kind = AppRecord::Kind::appImage;
  r.bundlePath = path;
  r.ino = inodeOf(path);
  r.lastUsed = accessed;

  std::vector<const Launcher*> mine;
  std::vector<std::string> othersIcons = otherIcons;  // an icon another launcher shows stays
  for (const Launcher& l : launchers) {
    if (startsAppImage(l.program, path, places)) {
      mine.push_back(&l);
    } else if (!l.entry.icon.empty()) {
      othersIcons.push_back(l.entry.icon);
    }
  }
  for (std::string& link : linksToAppImage(path, places))
    r.related.push_back(std::move(link));
  for (const Launcher* l : mine) {
    r.related.push_back(l->path);
    if (r.name.empty()) r.name = l->entry.name;
    if (l->accessed && (!r.lastUsed || *l->accessed > *r.lastUsed)) r.lastUsed = l->accessed;
  }
  if (r.name.empty()) r.name = withoutSuffix(paths::lastComponent(path), ".AppImage");
  std::vector<std::string> icons;
  for (const Launcher* l : mine) {
    for (std::string& file : iconFilesOf(l->entry.icon, places)) {
      if (r.iconPath.empty()) r.iconPath = file;
      if (std::find(icons.begin(), icons.end(), file) == icons.end()) icons.push_back(file);
    }
  }
  for (std::string& file : icons) {
    if (isAppsOwnIcon(file, r, places, othersIcons)) r.related.push_back(std::move(file));
  }
  r.running =
      executables.contains(paths::standardize(path)) || executables.contains(resolved(path));
  return r;
}

bool stillRelatedToAppImage(const std::string& path, const AppRecord& app,
                            const Locations& places) {
  std::string standard = paths::standardize(path);
  struct stat s {};
  if (::lstat(standard.c_str(), &s) != 0) return false;
  if (S_ISLNK(s.st_mode)) {
    // A link of the AppImage folders that still names the file the app was.
    return std::any_of(places.appImageFolders.begin(), places.appImageFolders.end(),
                       [&](const std::string& folder) {
                         return !folder.empty() && paths::parent(standard) == folder;
                       }) &&
           linkTarget(standard) == paths::standardize(app.bundlePath) &&
           !OwnGround::excludes(standard, places);
  }
  if (!S_ISREG(s.st_mode)) return false;
  if (!places.launchers.empty() &&
      paths::parent(standard) == paths::standardize(places.launchers) &&
      isLauncherName(paths::lastComponent(standard))) {
    if (!paths::isStrictlyWithin(resolved(standard), resolved(places.home)) ||
        OwnGround::excludes(standard, places)) {
      return false;
    }
    auto entry = platform::readDesktopEntry(standard);
    return entry && startsAppImage(platform::execProgram(entry->exec), app.bundlePath, places);
  }
  // An icon: still the app's alone, as no other launcher (the user's, the distribution's, a
  // Flatpak app's) names it now. The app's own launchers may be in the Trash already.
  std::vector<std::string> others = otherLaunchersIcons(places);
  for (const Launcher& l : userLaunchers(places)) {
    if (!startsAppImage(l.program, app.bundlePath, places)) others.push_back(l.entry.icon);
  }
  return isAppsOwnIcon(standard, app, places, others);
}

std::vector<AppRecord> describeFlatpaks(const Locations& places,
                                        const std::set<std::string>& running) {
  std::vector<AppRecord> records;
  for (const scanners::FlatpakApp& app : scanners::listFlatpakApps(places)) {
    AppRecord r;
    r.kind = AppRecord::Kind::flatpak;
    r.bundlePath = app.path;
    r.bundleID = app.id;
    r.ino = inodeOf(app.path);
    auto entry = platform::readDesktopEntry(app.exportedLauncher);
    r.name = entry && !entry->name.empty() ? entry->name : app.id;
    // <installation>/exports/share/icons/hicolor, beside the exported launchers.
    std::string installation(paths::parent(paths::parent(app.path)));
    r.iconPath = themeIcon(paths::join(installation, "exports/share/icons/hicolor"), app.id);
    r.running = running.contains(app.id);
    records.push_back(std::move(r));
  }
  return records;
}

std::vector<std::pair<std::string, std::string>> owningPackages(
    const std::set<std::string>& files, const std::string& packageDatabase) {
  std::vector<std::pair<std::string, std::string>> owners;
  if (files.empty() || packageDatabase.empty()) return owners;
  std::string info = paths::join(packageDatabase, "info");
  auto entries = listFolder(info);
  if (!entries) return owners;
  std::set<std::string> left = files;
  for (const FolderEntry& e : *entries) {
    if (left.empty()) break;
    if (e.type != S_IFREG || !e.name.ends_with(".list")) continue;
    std::string package = e.name.substr(0, e.name.size() - 5);
    package = package.substr(0, package.find(':'));  // "libfoo:amd64"
    std::ifstream in(paths::join(info, e.name), std::ios::binary);
    std::string line;
    while (std::getline(in, line)) {
      if (auto it = left.find(line); it != left.end()) {
        owners.emplace_back(line, package);
        left.erase(it);
      }
    }
  }
  return owners;
}

std::vector<std::pair<std::string, std::int64_t>> installedSizes(const std::string& statusText) {
  std::vector<std::pair<std::string, std::int64_t>> sizes;
  std::string package;
  std::int64_t kib = -1;
  bool installed = false;
  auto finish = [&] {
    if (!package.empty() && installed && kib >= 0) sizes.emplace_back(package, kib);
    package.clear();
    kib = -1;
    installed = false;
  };
  size_t start = 0;
  while (start <= statusText.size()) {
    size_t end = statusText.find('\n', start);
    std::string_view line =
        std::string_view(statusText)
            .substr(start, end == std::string::npos ? std::string::npos : end - start);
    start = end == std::string::npos ? statusText.size() + 1 : end + 1;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty()) {
      finish();
    } else if (line.starts_with("Package: ")) {
      package = std::string(line.substr(9));
    } else if (line.starts_with("Status: ")) {
      installed = line.ends_with(" installed");
    } else if (line.starts_with("Installed-Size: ")) {
      std::string_view digits = line.substr(16);
      // At most 15 digits: a size of KiB that still fits in bytes.
      bool ok = !digits.empty() && digits.size() < 16 &&
                digits.find_first_not_of("0123456789") == std::string_view::npos;
      std::int64_t value = 0;
      for (char c : ok ? digits : std::string_view())
        value = value * 10 + (c - '0');
      kib = ok ? value : -1;
    }
  }
  finish();
  return sizes;
}

std::vector<AppRecord> describePackages(const Locations& places) {
  std::vector<AppRecord> records;
  if (places.systemLaunchers.empty()) return records;
  auto entries = listFolder(places.systemLaunchers);
  if (!entries) return records;

  struct Found {
    std::string launcher;
    platform::DesktopEntry entry;
  };
  std::vector<Found> found;
  std::set<std::string> files;
  for (const FolderEntry& e : *entries) {
    if ((e.type != S_IFREG && e.type != S_IFLNK) || !isLauncherName(e.name)) continue;
    std::string path = paths::join(places.systemLaunchers, e.name);
    auto entry = platform::readDesktopEntry(path);
    if (!entry || entry->noDisplay || entry->hidden || entry->exec.empty()) continue;
    if (!entry->type.empty() && entry->type != "Application") continue;
    files.insert(unrooted(path, places));
    found.push_back({std::move(path), std::move(*entry)});
  }

  std::map<std::string, std::string> owners;
  for (auto& [file, package] : owningPackages(files, places.packageDatabase))
    owners[file] = package;
  std::map<std::string, std::int64_t> sizes;
  if (!owners.empty()) {
    // The status file of a desktop system is a few MB.
    for (auto& [package, kib] : installedSizes(
             platform::readFileHead(paths::join(places.packageDatabase, "status"), 64 << 20)
                 .value_or("")))
      sizes.emplace(package, kib);
  }

  for (Found& f : found) {
    AppRecord r;
    r.kind = AppRecord::Kind::package;
    r.bundlePath = f.launcher;
    r.ino = inodeOf(f.launcher);
    r.name = !f.entry.name.empty() ? f.entry.name
                                   : withoutSuffix(paths::lastComponent(f.launcher), ".desktop");
    if (auto owner = owners.find(unrooted(f.launcher, places)); owner != owners.end()) {
      r.bundleID = owner->second;
      if (auto size = sizes.find(owner->second); size != sizes.end())
        r.bundleBytes = size->second * 1024;
    }
    if (r.bundleBytes == 0) {
      // No package size to show: the program itself, as far as it can be found.
      std::string program = platform::execProgram(f.entry.exec);
      std::string file;
      if (!program.empty() && program.front() == '/') {
        file = places.underRoot(program);
      } else if (isPlainName(program)) {
        for (std::string_view folder : kProgramFolders) {
          std::string candidate = places.underRoot(paths::join(folder, program));
          if (exists(candidate)) {
            file = candidate;
            break;
          }
        }
      }
      struct stat s {};
      if (!file.empty() && ::stat(file.c_str(), &s) == 0 && S_ISREG(s.st_mode))
        r.bundleBytes = static_cast<std::int64_t>(s.st_blocks) * 512;
    }
    const std::string& icon = f.entry.icon;
    if (!icon.empty() && icon.front() == '/') {
      if (exists(places.underRoot(icon))) r.iconPath = places.underRoot(icon);
    } else if (isPlainName(icon)) {
      r.iconPath = themeIcon(places.underRoot("/usr/share/icons/hicolor"), icon);
      for (std::string_view extension : {".png", ".svg", ".xpm"}) {
        if (!r.iconPath.empty()) break;
        std::string pixmap =
            places.underRoot("/usr/share/pixmaps/" + icon + std::string(extension));
        if (exists(pixmap)) r.iconPath = pixmap;
      }
    }
    records.push_back(std::move(r));
  }
  return records;
}

}  // namespace dw::AppUninstaller
