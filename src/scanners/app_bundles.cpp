#include "scanners/app_bundles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
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
  return hasAppExtension(paths::lastComponent(path)) && isFolderOrLinkToOne(path);
}

std::vector<std::string> listApplicationBundles(const Locations& places) {
  std::vector<std::string> folders;
  for (const std::string& folder : places.applicationFolders)
    folders.push_back(paths::standardize(folder));
  auto isApplicationFolder = [&](const std::string& path) {
    return std::find(folders.begin(), folders.end(), path) != folders.end();
  };

  std::vector<std::string> bundles;
  for (const std::string& folder : folders) {
    auto entries = listFolder(folder);
    if (!entries) continue;
    for (const FolderEntry& e : *entries) {
      std::string path = paths::join(folder, e.name);
      if (OwnGround::excludes(path, places)) continue;  // a Trash kept among the apps
      if (hasAppExtension(e.name)) {
        if (isFolderOrLinkToOne(path)) bundles.push_back(path);
        continue;
      }
      if (isApplicationFolder(path) || !isFolderOrLinkToOne(path)) continue;
      auto inner = listFolder(path);
      if (!inner) continue;
      for (const FolderEntry& x : *inner) {
        std::string bundle = paths::join(path, x.name);
        if (isAppBundle(bundle) && !OwnGround::excludes(bundle, places)) bundles.push_back(bundle);
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

bool isAppImage(const std::string& path) {
  struct stat s {};
  if (::lstat(path.c_str(), &s) != 0 || !S_ISREG(s.st_mode)) return false;
  int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return false;
  unsigned char head[16] = {};
  ssize_t n = ::read(fd, head, sizeof head);
  ::close(fd);
  if (n < 11 || head[0] != 0x7f || head[1] != 'E' || head[2] != 'L' || head[3] != 'F') {
    return false;
  }
  bool marked = head[8] == 'A' && head[9] == 'I' && head[10] == 0x02;
  return marked || paths::asciiLower(paths::lastComponent(path)).ends_with(".appimage");
}

std::vector<std::string> listAppImages(const Locations& places) {
  std::vector<std::string> found;
  for (const std::string& folder : places.appImageFolders) {
    if (folder.empty()) continue;
    auto entries = listFolder(folder);
    if (!entries) continue;
    for (const FolderEntry& e : *entries) {
      if (e.type != S_IFREG) continue;
      std::string path = paths::join(folder, e.name);
      if (!OwnGround::excludes(path, places) && isAppImage(path)) found.push_back(path);
    }
  }
  return found;
}

}  // namespace dw::scanners
