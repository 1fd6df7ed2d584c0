#include "platform/locations.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "base/paths.h"

namespace dw {

namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value && *value == '/' ? std::string(value) : std::string();
}

}  // namespace

std::string currentHome() {
  std::string home = environment("HOME");
  if (!home.empty()) return paths::standardize(home);
  if (const passwd* pw = ::getpwuid(::getuid()); pw && pw->pw_dir) return pw->pw_dir;
  return "/";
}

std::string Locations::underRoot(std::string_view absolute) const {
  if (root.empty() || root == "/") return std::string(absolute);
  return paths::join(root, absolute);
}

Locations Locations::macos(std::string root, std::string home, std::string bundleID) {
  Locations l;
  l.layout = Layout::macos;
  l.root = paths::standardize(root.empty() ? "/" : root);
  l.home = paths::standardize(home);
  l.bundleID = std::move(bundleID);
  const std::string& h = l.home;

  l.library = paths::join(h, "Library");
  l.caches = paths::join(h, "Library/Caches");
  l.chromeProfiles = paths::join(h, "Library/Application Support/Google/Chrome");
  l.chromeCaches = paths::join(h, "Library/Caches/Google");
  l.npmCache = paths::join(h, ".npm/_cacache");
  l.npxCache = paths::join(h, ".npm/_npx");
  l.gradleCaches = paths::join(h, ".gradle/caches");
  l.downloads = paths::join(h, "Downloads");
  l.desktop = paths::join(h, "Desktop");
  l.movies = paths::join(h, "Movies");
  l.documents = paths::join(h, "Documents");

  auto location = [&](std::string_view relative, EntryRule rule) {
    return LeftoverLocation{paths::join(h, relative), "~/" + std::string(relative), rule};
  };
  l.leftoverLocations = {
      location("Library/Application Support", EntryRule::folderName),
      location("Library/Containers", EntryRule::folderName),
      location("Library/Caches", EntryRule::folderName),
      location("Library/HTTPStorages", EntryRule::folderName),
      location("Library/WebKit", EntryRule::folderName),
      location("Library/Group Containers", EntryRule::folderName),
      location("Library/Preferences", EntryRule::plistFileName),
      location("Library/Saved Application State", EntryRule::savedStateName),
      location("Library/LaunchAgents", EntryRule::launchAgentLabel),
  };
  l.applicationFolders = {l.underRoot("/Applications"), l.underRoot("/Applications/Utilities"),
                          paths::join(h, "Applications")};
  l.systemExtensions = l.underRoot("/Library/SystemExtensions");
  l.refusedRoots = {l.underRoot("/Applications"), l.underRoot("/Library"), l.underRoot("/System")};

#ifdef __APPLE__
  l.logFile = paths::join(h, "Library/Application Support/" + l.bundleID + "/cleared.json");
#else
  // On Linux the log is the user's data, kept where the desktop keeps application data.
  std::string dataHome = environment("XDG_DATA_HOME");
  if (dataHome.empty()) dataHome = paths::join(currentHome(), ".local/share");
  l.logFile = paths::join(dataHome, l.bundleID + "/cleared.json");
  std::string configHome = environment("XDG_CONFIG_HOME");
  if (configHome.empty()) configHome = paths::join(currentHome(), ".config");
  l.defaultsFile = paths::join(configHome, l.bundleID + ".json");
#endif
  return l;
}

Locations Locations::platformDefault(std::string home) {
  return macos("/", std::move(home));
}

Locations Locations::resolve(const std::string& root, const std::string& home,
                             const std::string& layout) {
  std::string h = home.empty() ? currentHome() : home;
  if (h.empty() || h.front() != '/') {
    char cwd[4096];
    if (!::getcwd(cwd, sizeof cwd)) throw std::invalid_argument("cannot read the current folder");
    h = paths::join(cwd, h);
  }
  std::string r = root.empty() ? "/" : root;
  if (r.front() != '/') {
    char cwd[4096];
    if (!::getcwd(cwd, sizeof cwd)) throw std::invalid_argument("cannot read the current folder");
    r = paths::join(cwd, r);
  }
  if (::access(h.c_str(), F_OK) != 0) throw std::invalid_argument(h + ": no such home folder");
  if (!layout.empty() && !layoutNamed(layout))
    throw std::invalid_argument("unknown layout " + layout);
  if (home.empty() && (r == "/") && layout.empty()) return platformDefault(h);
  return macos(r, h);
}

std::optional<Locations::Layout> Locations::layoutNamed(std::string_view name) {
  if (name == "macos") return Layout::macos;
  return std::nullopt;
}

}  // namespace dw
