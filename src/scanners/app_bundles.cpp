#include "scanners/app_bundles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <set>

#include "base/paths.h"
#include "platform/file_reading.h"
#include "platform/own_ground.h"
#include "scanners/folder_listing.h"

namespace dw::scanners {

namespace {

constexpr std::string_view kAppExtension = ".app";

bool hasAppExtension(std::string_view name) {
  return name.size() > kAppExtension.size() && name.ends_with(kAppExtension);
}

// A folder, or a link to one (a vendor folder or a bundle kept elsewhere).
bool isFolderOrLinkToOne(const std::string& path) {
  struct stat s {};
  return ::stat(path.c_str(), &s) == 0 && S_ISDIR(s.st_mode);
}

}  // namespace

bool isAppBundle(const std::string& path) {
  return hasAppExtension(paths::lastComponent(path)) && isFolderOrLinkToOne(path) &&
         isFolderOrLinkToOne(paths::join(path, "Contents"));
}

std::vector<std::string> listApplicationBundles(const Locations& places) {
  std::vector<std::string> folders;
  for (const std::string& folder : places.applicationFolders)
    folders.push_back(paths::standardize(folder));
  auto isApplicationFolder = [&](const std::string& path) {
    return std::find(folders.begin(), folders.end(), path) != folders.end();
  };

  std::vector<std::string> bundles;
  std::set<std::string> seen;  // each bundle once, however many links lead to it
  auto add = [&](const std::string& path, bool isLink) {
    if (!isAppBundle(path) || OwnGround::excludes(path, places)) return;
    std::string resolved = paths::resolveSymlinks(path);
    // A link to a bundle is the bundle it points to, under that bundle's own name.
    if (isLink && !hasAppExtension(paths::lastComponent(resolved))) return;
    if (seen.insert(resolved).second) bundles.push_back(isLink ? resolved : path);
  };
  for (const std::string& folder : folders) {
    auto entries = listFolder(folder);
    if (!entries) continue;
    for (const FolderEntry& e : *entries) {
      std::string path = paths::join(folder, e.name);
      if (OwnGround::excludes(path, places)) continue;  // a Trash kept among the apps
      if (hasAppExtension(e.name)) {
        add(path, e.type == S_IFLNK);
        continue;
      }
      if (isApplicationFolder(path) || !isFolderOrLinkToOne(path)) continue;
      auto inner = listFolder(path);
      if (!inner) continue;
      for (const FolderEntry& x : *inner) {
        if (hasAppExtension(x.name)) add(paths::join(path, x.name), x.type == S_IFLNK);
      }
    }
  }
  return bundles;
}

bool hasFlatpakIDShape(std::string_view id) {
  if (id.empty() || id.size() > 255 || id.front() == '.') return false;
  size_t elements = 0;
  size_t start = 0;
  while (true) {
    size_t dot = id.find('.', start);
    std::string_view element = id.substr(start, dot == std::string_view::npos ? dot : dot - start);
    bool last = dot == std::string_view::npos;
    if (element.empty() || (element.front() >= '0' && element.front() <= '9')) return false;
    for (char c : element) {
      bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                c == '_' || (c == '-' && last);
      if (!ok) return false;
    }
    ++elements;
    if (last) break;
    start = dot + 1;
  }
  return elements >= 3;
}

std::vector<std::string> flatpakInstallations(const Locations& places) {
  std::vector<std::string> installations;
  for (const std::string& i : places.flatpakInstallations) {
    if (!i.empty()) installations.push_back(i);
  }
  if (places.flatpakInstallationConfigs.empty()) return installations;
  auto entries = listFolder(places.flatpakInstallationConfigs);
  if (!entries) return installations;
  for (const FolderEntry& e : *entries) {
    if (!e.name.ends_with(".conf")) continue;
    std::optional<std::string> text =
        platform::readFileHead(paths::join(places.flatpakInstallationConfigs, e.name), 64 * 1024);
    for (const std::string& folder : flatpakInstallationPaths(text.value_or(""))) {
      std::string path = places.underRoot(folder);
      if (std::find(installations.begin(), installations.end(), path) == installations.end())
        installations.push_back(path);
    }
  }
  return installations;
}

std::vector<std::string> flatpakInstallationPaths(std::string_view conf) {
  std::vector<std::string> folders;
  for (std::string_view line : paths::split(conf, '\n')) {
    if (line.back() == '\r') line.remove_suffix(1);
    if (line.starts_with("Path=") && line.size() > 6 && line[5] == '/')
      folders.push_back(paths::standardize(line.substr(5)));
  }
  return folders;
}

std::vector<std::string> unreadableFlatpakInstallations(const Locations& places) {
  std::vector<std::string> unreadable;
  for (const std::string& installation : flatpakInstallations(places)) {
    std::string folder = paths::join(installation, "app");
    if (!listFolder(folder)) unreadable.push_back(folder);
  }
  return unreadable;
}

std::vector<FlatpakApp> listFlatpakApps(const Locations& places) {
  std::vector<FlatpakApp> apps;
  std::set<std::string> seen;
  for (const std::string& installation : flatpakInstallations(places)) {
    if (installation.empty()) continue;
    std::string folder = paths::join(installation, "app");
    auto entries = listFolder(folder);
    if (!entries) continue;
    for (const FolderEntry& e : *entries) {
      std::string path = paths::join(folder, e.name);
      if (!hasFlatpakIDShape(e.name) || !isFolderOrLinkToOne(path)) continue;
      if (!seen.insert(e.name).second) continue;
      apps.push_back(
          {e.name, path,
           paths::join(installation, "exports/share/applications/" + e.name + ".desktop")});
    }
  }
  return apps;
}

std::optional<struct stat> inspectAppImage(const std::string& path) {
  // The status first: reading the file may change its access time, which is its last use.
  struct stat before {};
  if (::lstat(path.c_str(), &before) != 0 || !S_ISREG(before.st_mode)) return std::nullopt;
  int fd = platform::openUntouched(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  unsigned char head[16] = {};
  ssize_t n = ::read(fd, head, sizeof head);
  ::close(fd);
  // An ELF program with the AppImage mark at offset 8: "AI" and the type (1 or 2).
  if (n < 11 || head[0] != 0x7f || head[1] != 'E' || head[2] != 'L' || head[3] != 'F' ||
      head[8] != 'A' || head[9] != 'I' || (head[10] != 0x01 && head[10] != 0x02)) {
    return std::nullopt;
  }
  return before;
}

bool isAppImage(const std::string& path) {
  return inspectAppImage(path).has_value();
}

std::vector<AppImageFile> listAppImages(const Locations& places) {
  std::vector<AppImageFile> found;
  for (const std::string& folder : places.appImageFolders) {
    if (folder.empty()) continue;
    auto entries = listFolder(folder);
    if (!entries) continue;
    for (const FolderEntry& e : *entries) {
      if (e.type != S_IFREG) continue;
      std::string path = paths::join(folder, e.name);
      if (OwnGround::excludes(path, places)) continue;
      if (auto before = inspectAppImage(path)) found.push_back({std::move(path), *before});
    }
  }
  return found;
}

}  // namespace dw::scanners
