#include "scanners/app_bundles.h"

#include <sys/stat.h>

#include <algorithm>

#include "base/paths.h"
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

}  // namespace dw::scanners
