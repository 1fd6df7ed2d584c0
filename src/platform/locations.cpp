#include "platform/locations.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "base/paths.h"
#include "platform/ownership.h"

namespace dw {

namespace {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value && *value == '/' ? std::string(value) : std::string();
}

#ifdef __APPLE__
constexpr Locations::Layout kPlatformLayout = Locations::Layout::macos;
#else
constexpr Locations::Layout kPlatformLayout = Locations::Layout::linux;
#endif

// An XDG base folder: the variable when home is the current user's own home, else the default
// below home (a scanned test home never reaches into the real user's folders).
std::string xdgFolder(const char* variable, const std::string& home, std::string_view fallback) {
  if (paths::standardize(currentHome()) == home) {
    std::string value = environment(variable);
    if (!value.empty()) return paths::standardize(value);
  }
  return paths::join(home, fallback);
}

// A tool's own folder that a variable may move (CARGO_HOME, GRADLE_USER_HOME, …): followed for
// the user's own home and only inside it, so a variable can never point a move at a shared or
// system folder; else the default.
std::string toolFolder(const char* variable, const std::string& home, std::string fallback) {
  if (paths::standardize(currentHome()) == home) {
    std::string value = environment(variable);
    // GOPATH may list several folders; the go command keeps its modules in the first.
    if (std::string_view(variable) == "GOPATH") value = value.substr(0, value.find(':'));
    if (!value.empty()) {
      value = paths::standardize(value);
      if (paths::isStrictlyWithin(value, home)) return value;
    }
  }
  return fallback;
}

// The program's own log and settings: the user's data and config folders, whatever is scanned.
void ownFilesOnLinux(Locations& l) {
  std::string dataHome = environment("XDG_DATA_HOME");
  if (dataHome.empty()) dataHome = paths::join(currentHome(), ".local/share");
  l.logFile = paths::join(dataHome, l.bundleID + "/cleared.json");
  std::string configHome = environment("XDG_CONFIG_HOME");
  if (configHome.empty()) configHome = paths::join(currentHome(), ".config");
  l.defaultsFile = paths::join(configHome, l.bundleID + ".json");
}

std::string readSmallFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return {};
  std::string text(64 * 1024, '\0');
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<size_t>(in.gcount()));
  return text;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> parseUserDirs(std::string_view text,
                                                               const std::string& home) {
  std::vector<std::pair<std::string, std::string>> folders;
  std::istringstream lines{std::string(text)};
  std::string line;
  while (std::getline(lines, line)) {
    size_t start = line.find_first_not_of(" \t");
    if (start == std::string::npos || line[start] == '#') continue;
    std::string_view l = std::string_view(line).substr(start);
    if (!l.starts_with("XDG_")) continue;
    size_t equals = l.find('=');
    if (equals == std::string_view::npos) continue;
    std::string_view key = l.substr(4, equals - 4);
    if (!key.ends_with("_DIR")) continue;
    key.remove_suffix(4);
    std::string_view value = l.substr(equals + 1);
    while (!value.empty() && (value.back() == ' ' || value.back() == '\t' || value.back() == '\r'))
      value.remove_suffix(1);
    if (value.size() < 2 || value.front() != '"' || value.back() != '"') continue;
    value = value.substr(1, value.size() - 2);
    std::string unescaped;
    for (size_t i = 0; i < value.size(); ++i) {
      if (value[i] == '\\' && i + 1 < value.size()) ++i;
      unescaped.push_back(value[i]);
    }
    std::string path;
    if (std::string_view(unescaped).starts_with("$HOME")) {
      std::string_view rest = std::string_view(unescaped).substr(5);
      if (!rest.empty() && rest.front() != '/') continue;  // "$HOMEWORK" is no home folder
      path = paths::standardize(home + std::string(rest));
    } else if (!unescaped.empty() && unescaped.front() == '/') {
      path = paths::standardize(unescaped);
    } else {
      continue;
    }
    if (path == paths::standardize(home) || path == "/") continue;
    folders.emplace_back(std::string(key), path);
  }
  return folders;
}

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
  l.chromeProfiles = {paths::join(h, "Library/Application Support/Google/Chrome")};
  l.chromeCaches = {paths::join(h, "Library/Caches/Google")};
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
  l.leftoverRoots = {l.library};

  l.music = paths::join(h, "Music");
  l.pictures = paths::join(h, "Pictures");
  l.cacheHome = l.caches;
  l.configHome = paths::join(h, "Library/Preferences");
  l.dataHome = paths::join(h, "Library/Application Support");

#ifdef __APPLE__
  l.logFile = paths::join(h, "Library/Application Support/" + l.bundleID + "/cleared.json");
#else
  // On Linux the log is the user's data, kept where the desktop keeps application data.
  ownFilesOnLinux(l);
#endif
  return l;
}

Locations Locations::linux(std::string root, std::string home, std::string bundleID) {
  Locations l;
  l.layout = Layout::linux;
  l.root = paths::standardize(root.empty() ? "/" : root);
  l.home = paths::standardize(home);
  l.bundleID = std::move(bundleID);
  const std::string& h = l.home;

  l.cacheHome = xdgFolder("XDG_CACHE_HOME", h, ".cache");
  // Its children are moved: followed only inside the home or to a folder of the user's own,
  // never to a shared or system folder (XDG_CACHE_HOME=/usr as root).
  if (!Ownership::isUsablePlace(l.cacheHome, h)) l.cacheHome = paths::join(h, ".cache");
  l.configHome = xdgFolder("XDG_CONFIG_HOME", h, ".config");
  l.dataHome = xdgFolder("XDG_DATA_HOME", h, ".local/share");
  l.stateHome = xdgFolder("XDG_STATE_HOME", h, ".local/state");
  l.caches = l.cacheHome;
  l.chromeProfiles = {paths::join(l.configHome, "google-chrome"),
                      paths::join(l.configHome, "chromium")};
  l.chromeCaches = {paths::join(l.cacheHome, "google-chrome"),
                    paths::join(l.cacheHome, "chromium")};
  // Each tool's download cache where the tool itself looks for it: its variable, else its default.
  auto inHome = [&](std::string_view name) { return paths::join(h, name); };
  std::string npm = toolFolder("npm_config_cache", h, inHome(".npm"));
  l.npmCache = paths::join(npm, "_cacache");
  l.npxCache = paths::join(npm, "_npx");
  l.gradleCaches = paths::join(toolFolder("GRADLE_USER_HOME", h, inHome(".gradle")), "caches");
  std::string cargo = toolFolder("CARGO_HOME", h, inHome(".cargo"));
  l.cargoRegistryCache = paths::join(cargo, "registry/cache");
  l.cargoGitDatabase = paths::join(cargo, "git/db");
  std::string goModules = paths::join(toolFolder("GOPATH", h, inHome("go")), "pkg/mod");
  l.goModuleDownloads = paths::join(toolFolder("GOMODCACHE", h, goModules), "cache/download");
  l.nugetPackages = toolFolder("NUGET_PACKAGES", h, inHome(".nuget/packages"));
  l.bunCache =
      toolFolder("BUN_INSTALL_CACHE_DIR", h,
                 paths::join(toolFolder("BUN_INSTALL", h, inHome(".bun")), "install/cache"));
  l.pnpmStore =
      toolFolder("npm_config_store_dir", h,
                 paths::join(toolFolder("PNPM_HOME", h, paths::join(l.dataHome, "pnpm")), "store"));
  l.yarnBerryCache =
      paths::join(toolFolder("YARN_GLOBAL_FOLDER", h, inHome(".yarn/berry")), "cache");
  l.pipxCaches = {paths::join(toolFolder("PIPX_HOME", h, inHome(".local/pipx")), ".cache"),
                  paths::join(l.dataHome, "pipx/.cache")};
  l.steamShaderCaches = {paths::join(l.dataHome, "Steam/steamapps/shadercache"),
                         inHome(".steam/steam/steamapps/shadercache"),
                         inHome(".steam/debian-installation/steamapps/shadercache")};
  l.snaps = inHome("snap");
  for (auto [place, fallback] : {std::pair{&l.npmCache, ".npm/_cacache"},
                                 {&l.npxCache, ".npm/_npx"},
                                 {&l.gradleCaches, ".gradle/caches"},
                                 {&l.cargoRegistryCache, ".cargo/registry/cache"},
                                 {&l.cargoGitDatabase, ".cargo/git/db"},
                                 {&l.goModuleDownloads, "go/pkg/mod/cache/download"},
                                 {&l.nugetPackages, ".nuget/packages"},
                                 {&l.bunCache, ".bun/install/cache"}}) {
    if (*place != inHome(fallback)) l.placedByVariables.push_back(*place);
  }

  // English names first, then what the user's own table says.
  l.downloads = paths::join(h, "Downloads");
  l.desktop = paths::join(h, "Desktop");
  l.movies = paths::join(h, "Videos");
  l.documents = paths::join(h, "Documents");
  l.music = paths::join(h, "Music");
  l.pictures = paths::join(h, "Pictures");
  for (auto& [key, path] :
       parseUserDirs(readSmallFile(paths::join(l.configHome, "user-dirs.dirs")), h)) {
    if (key == "DOWNLOAD")
      l.downloads = path;
    else if (key == "DESKTOP")
      l.desktop = path;
    else if (key == "VIDEOS")
      l.movies = path;
    else if (key == "DOCUMENTS")
      l.documents = path;
    else if (key == "MUSIC")
      l.music = path;
    else if (key == "PICTURES")
      l.pictures = path;
  }

  // Flatpak keeps each app's data in ~/.var/app/<app id>, whichever installation holds the app.
  l.leftoverLocations = {
      {paths::join(h, ".var/app"), "~/.var/app", EntryRule::flatpakAppID},
  };
  l.leftoverRoots = {paths::join(h, ".var/app")};
  l.flatpakInstallations = {paths::join(l.dataHome, "flatpak"), l.underRoot("/var/lib/flatpak")};
  l.flatpakInstallationConfigs = l.underRoot("/etc/flatpak/installations.d");
  l.appImageFolders = {paths::join(h, "Applications"), paths::join(h, ".local/bin")};
  l.launchers = paths::join(l.dataHome, "applications");
  l.icons = paths::join(l.dataHome, "icons");
  l.pixmaps = paths::join(l.dataHome, "pixmaps");
  l.systemLaunchers = l.underRoot("/usr/share/applications");
  l.packageDatabase = l.underRoot("/var/lib/dpkg");

  ownFilesOnLinux(l);
  return l;
}

Locations Locations::platformDefault(std::string home) {
  if (kPlatformLayout == Layout::macos) return macos("/", std::move(home));
  return linux("/", std::move(home));
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
  Layout chosen = layout.empty() ? kPlatformLayout : *layoutNamed(layout);
  return chosen == Layout::macos ? macos(r, h) : linux(r, h);
}

std::optional<Locations::Layout> Locations::layoutNamed(std::string_view name) {
  if (name == "macos") return Layout::macos;
  if (name == "linux") return Layout::linux;
  return std::nullopt;
}

}  // namespace dw
