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

bool excludes(const std::string& path, const Locations& places) {
  if (path.empty()) return false;
  const std::string written = paths::standardize(path);
  // A link to our ground is not our ground: moving the link moves only the link.
  const std::string itself = paths::resolveParentSymlinks(path);
  for (const std::string* candidate : {&written, &itself}) {
    if (hasTrashComponent(*candidate)) return true;
  }
  for (const std::string& own : ownPlaces(places)) {
    for (const std::string* candidate : {&written, &itself}) {
      // Inside it, or holding it.
      if (paths::isWithin(*candidate, own) || paths::isWithin(own, *candidate)) return true;
    }
  }
  return false;
}

}  // namespace dw::OwnGround
