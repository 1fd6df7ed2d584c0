#include "platform/own_ground.h"

#include <cstdlib>
#include <string_view>
#include <vector>

#include "base/paths.h"

namespace dw::OwnGround {

namespace {

// A folder name that makes a Trash wherever it appears: the freedesktop home and top-directory
// Trash folders (.Trash, .Trash-<uid> of any user) and the Mac's (.Trash, .Trashes).
bool isTrashName(std::string_view name) {
  return name == ".Trash" || name == ".Trashes" || name.substr(0, 7) == ".Trash-";
}

std::string homeTrash(const Locations& places) {
#ifdef __APPLE__
  return paths::join(places.home, ".Trash");
#else
  (void)places;
  const char* xdg = std::getenv("XDG_DATA_HOME");
  std::string data =
      xdg && *xdg == '/' ? std::string(xdg) : paths::join(currentHome(), ".local/share");
  return paths::join(data, "Trash");
#endif
}

// Our places, each as written and as the file system resolves it.
std::vector<std::string> ownPlaces(const Locations& places) {
  std::vector<std::string> own;
  auto add = [&](const std::string& path) {
    if (path.empty()) return;
    own.push_back(paths::standardize(path));
    own.push_back(paths::resolveSymlinks(path));
  };
  add(homeTrash(places));
  if (!places.logFile.empty()) add(std::string(paths::parent(places.logFile)));
  // Settings are one file on Linux (a folder of ours would be named by the bundle identifier
  // too); on the Mac the system keeps them.
  add(places.defaultsFile);
  return own;
}

bool hasTrashComponent(std::string_view path) {
  for (std::string_view part : paths::split(path, '/')) {
    if (isTrashName(part)) return true;
  }
  return false;
}

}  // namespace

namespace {

// Inside (or at) our ground, and with holding when asked.
bool touches(std::string_view written, std::string_view itself, const std::vector<std::string>& own,
             bool holding) {
  for (std::string_view candidate : {written, itself}) {
    if (hasTrashComponent(candidate)) return true;
  }
  for (const std::string& place : own) {
    for (std::string_view candidate : {written, itself}) {
      if (paths::isWithin(candidate, place)) return true;
      if (holding && paths::isWithin(place, candidate)) return true;
    }
  }
  return false;
}

bool touches(const std::string& path, const Locations& places, bool holding) {
  if (path.empty()) return false;
  // A link to our ground is not our ground: moving the link moves only the link.
  return touches(paths::standardize(path), paths::resolveParentSymlinks(path), ownPlaces(places),
                 holding);
}

}  // namespace

bool excludes(const std::string& path, const Locations& places) {
  return touches(path, places, true);
}

bool contains(const std::string& path, const Locations& places) {
  return touches(path, places, false);
}

Ground::Ground(const Locations& places) : own_(ownPlaces(places)) {}

bool Ground::excludes(std::string_view written, std::string_view itself) const {
  return !written.empty() && touches(written, itself, own_, true);
}

}  // namespace dw::OwnGround
