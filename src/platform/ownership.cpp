#include "platform/ownership.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "base/paths.h"

namespace dw::Ownership {

namespace {

// One of the user's places: as written, as it resolves, and whether it may be used.
struct Base {
  std::string written;
  std::string resolved;
  bool usable = false;
  bool outsideHome = false;
};

bool ownsFolderAt(const std::string& path) {
  struct stat s {};
  return ::stat(path.c_str(), &s) == 0 && S_ISDIR(s.st_mode) && s.st_uid == ::geteuid();
}

std::vector<Base> basesOf(const Locations& places) {
  const std::string home = paths::standardize(places.home);
  const std::string resolvedHome = paths::resolveSymlinks(home);
  std::vector<Base> bases;
  // The home itself is a place of the user's only when the user owns it.
  bases.push_back({home, resolvedHome, ownsFolderAt(resolvedHome), false});
  std::vector<const std::string*> folders = {
      &places.downloads, &places.desktop,   &places.movies,     &places.documents, &places.music,
      &places.pictures,  &places.cacheHome, &places.configHome, &places.dataHome};
  for (const std::string& folder : places.appImageFolders)
    folders.push_back(&folder);
  for (const std::string& folder : places.leftoverRoots)
    folders.push_back(&folder);
  for (const std::string* folder : folders) {
    if (folder->empty()) continue;
    std::string written = paths::standardize(*folder);
    std::string resolved = paths::resolveSymlinks(written);
    bool outside = !paths::isWithin(resolved, resolvedHome);
    bool usable = outside ? isOwnFolder(resolved) : bases.front().usable;
    bases.push_back({std::move(written), std::move(resolved), usable, outside});
  }
  return bases;
}

Place placed(const Base& base, std::string_view relative) {
  Place place;
  place.where = base.usable ? Where::usable : Where::refused;
  place.placement = {base.resolved, std::string(relative), base.outsideHome};
  return place;
}

std::string ownerName(uid_t uid) {
  if (const passwd* pw = ::getpwuid(uid); pw && pw->pw_name) return pw->pw_name;
  return "user " + std::to_string(uid);
}

}  // namespace

bool owns(const struct stat& item) {
  return item.st_uid == ::geteuid();
}

bool ownsPath(const std::string& path) {
  struct stat s {};
  return !path.empty() && ::lstat(path.c_str(), &s) == 0 && owns(s);
}

bool isOwnFolder(const struct stat& folder) {
  if (::geteuid() == 0) return false;
  return S_ISDIR(folder.st_mode) && owns(folder) && (folder.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool isOwnFolder(const std::string& path) {
  struct stat s {};
  return !path.empty() && ::stat(path.c_str(), &s) == 0 && isOwnFolder(s);
}

bool isUsablePlace(const std::string& place, const std::string& home) {
  if (place.empty()) return false;
  std::string resolved = paths::resolveSymlinks(place);
  if (paths::isWithin(resolved, paths::resolveSymlinks(home))) return true;
  return isOwnFolder(resolved);
}

Place placeOf(const std::string& path, const Locations& places) {
  if (path.empty() || path.front() != '/') return {};
  const std::string item = paths::standardize(path);
  const std::vector<Base> bases = basesOf(places);
  // The innermost place the path lies in, as written or as the place resolves.
  const Base* best = nullptr;
  size_t bestLength = 0;
  for (const Base& base : bases) {
    for (const std::string* form : {&base.written, &base.resolved}) {
      if (form->size() > bestLength && paths::isStrictlyWithin(item, *form)) {
        best = &base;
        bestLength = form->size();
      }
    }
  }
  if (best) {
    size_t skip = bestLength == 1 ? 1 : bestLength + 1;
    return placed(*best, std::string_view(item).substr(skip));
  }
  // Written through a link that leads to a place (a home reached by another path).
  for (std::string_view above = paths::parent(item); above != "/" && !above.empty();
       above = paths::parent(above)) {
    std::string resolved = paths::resolveSymlinks(above);
    for (const Base& base : bases) {
      if (base.resolved == resolved)
        return placed(base, std::string_view(item).substr(above.size() + 1));
    }
  }
  return {};
}

std::optional<std::string> refusalToMove(const Locations& places) {
  const char* dataHome = std::getenv("XDG_DATA_HOME");
  for (const std::string& folder :
       {places.home, currentHome(),
        dataHome && *dataHome == '/' ? std::string(dataHome) : std::string()}) {
    if (folder.empty()) continue;
    struct stat s {};
    if (::stat(folder.c_str(), &s) != 0 || s.st_uid == ::geteuid()) continue;
    std::string name = ownerName(s.st_uid);
    return "Nothing was moved: " + paths::standardize(folder) + " belongs to " + name +
           ". Run Dustwhale as " + name + " to clear it or put items back.";
  }
  return std::nullopt;
}

}  // namespace dw::Ownership
