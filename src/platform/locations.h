#pragma once
// Every fixed place the program reads or writes, in one value built from a file-system root, a
// home folder and a layout. Scanners take their folders from here and nowhere else, so a whole
// Mac-shaped tree under a temporary folder can be scanned on any machine, and a Linux home is
// the same engine reading a different table of places.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dw {

inline constexpr std::string_view kBundleID = "com.dustwhale.Dustwhale";

struct Locations {
  enum class Layout {
    macos,  // ~/Library, /Applications, bundle identifiers
    linux   // the XDG folders, Flatpak and AppImage
  };

  // How a leftover location's entries yield a candidate bundle identifier.
  enum class EntryRule {
    folderName,        // a folder: its name
    plistFileName,     // a file ending ".plist": the name without it
    savedStateName,    // a folder ending ".savedState": the name without it
    launchAgentLabel,  // a file ending "plist": the property list's Label
    flatpakAppID       // a folder named after a Flatpak application identifier (~/.var/app)
  };
  struct LeftoverLocation {
    std::string path;     // absolute
    std::string display;  // "~/Library/Preferences"
    EntryRule rule;
  };

  Layout layout = Layout::macos;
  std::string root;  // "/" unless a whole tree is scanned
  std::string home;
  std::string bundleID;

  std::string library;  // ~/Library
  std::string caches;   // ~/Library/Caches
  // The folders holding Chrome's profiles: ~/Library/Application Support/Google/Chrome on a
  // Mac; ~/.config/google-chrome and ~/.config/chromium on Linux.
  std::vector<std::string> chromeProfiles;
  // Chrome's own caches: ~/Library/Caches/Google; ~/.cache/google-chrome and ~/.cache/chromium.
  std::vector<std::string> chromeCaches;
  std::string npmCache;      // ~/.npm/_cacache
  std::string npxCache;      // ~/.npm/_npx
  std::string gradleCaches;  // ~/.gradle/caches
  // Download caches a Linux developer's tools fill and fetch again by themselves (empty on a
  // Mac): ~/.cargo/registry/cache, ~/.cargo/git/db, ~/go/pkg/mod/cache/download,
  // ~/.nuget/packages, ~/.bun/install/cache. On Linux these and the npm and Gradle places
  // follow the tools' own variables (CARGO_HOME, GOMODCACHE, GOPATH, NUGET_PACKAGES,
  // BUN_INSTALL_CACHE_DIR, BUN_INSTALL, npm_config_cache, GRADLE_USER_HOME) for the user's own
  // home, and only where they point inside it.
  std::string cargoRegistryCache, cargoGitDatabase, goModuleDownloads, nugetPackages, bunCache;
  // Caches Linux tools and apps keep outside ~/.cache (empty or none on a Mac): pnpm's store
  // ($npm_config_store_dir, else $PNPM_HOME/store, else $XDG_DATA_HOME/pnpm/store), Yarn's
  // global cache ($YARN_GLOBAL_FOLDER/cache, else ~/.yarn/berry/cache), the environments of
  // `pipx run` ($PIPX_HOME/.cache, else ~/.local/pipx/.cache, and
  // $XDG_DATA_HOME/pipx/.cache), Steam's shader caches (~/.local/share/Steam,
  // ~/.steam/steam and ~/.steam/debian-installation), and where snaps keep their users' data
  // (~/snap/<snap>/common/.cache is a snap's ~/.cache). Variables as for the rows above.
  std::string pnpmStore, yarnBerryCache;
  std::vector<std::string> pipxCaches, steamShaderCaches;
  std::string snaps;
  // Those of the download caches above (npmCache to bunCache) that a tool's variable put
  // somewhere else than the tool's own default: a cache there is offered only when its contents
  // look like that tool's (the tool caches of pnpm, Yarn, pipx and Steam always are checked so).
  std::vector<std::string> placedByVariables;
  // The user's folders. On Linux they are the XDG user folders (localised names included);
  // `movies` is the videos folder there. The texts that name them say their own names
  // (folderNames, findings/folder_names.h).
  std::string downloads, desktop, movies, documents, music, pictures;
  std::string cacheHome;   // ~/Library/Caches on a Mac, $XDG_CACHE_HOME (~/.cache) on Linux
  std::string configHome;  // ~/Library/Preferences on a Mac, $XDG_CONFIG_HOME (~/.config) on Linux
  std::string dataHome;    // ~/Library/Application Support, $XDG_DATA_HOME (~/.local/share)
  std::string stateHome;   // Linux: $XDG_STATE_HOME (~/.local/state); none on a Mac

  std::vector<LeftoverLocation> leftoverLocations;
  // /Applications, /Applications/Utilities, ~/Applications: bundles and vendor folders of them.
  std::vector<std::string> applicationFolders;
  std::string systemExtensions;           // bundles ending "systemextension"
  std::vector<std::string> refusedRoots;  // never a leftover: /Applications, /Library, /System
  // Every leftover path lies inside one of these: ~/Library on a Mac, ~/.var/app on Linux.
  std::vector<std::string> leftoverRoots;

  // Linux applications. Flatpak installations (the user's, then the system's), each holding
  // app/<id> and exports/share/applications; the folders searched for AppImages; the user's
  // launchers and icons; the distribution's launchers and its package database.
  std::vector<std::string> flatpakInstallations;
  std::string flatpakInstallationConfigs;    // /etc/flatpak/installations.d: more of them
  std::vector<std::string> appImageFolders;  // ~/Applications, ~/.local/bin
  std::string launchers;                     // $XDG_DATA_HOME/applications
  std::string icons;                         // $XDG_DATA_HOME/icons
  std::string pixmaps;                       // $XDG_DATA_HOME/pixmaps
  std::string systemLaunchers;               // /usr/share/applications
  std::string packageDatabase;               // /var/lib/dpkg

  std::string logFile;       // cleared.json
  std::string defaultsFile;  // the two preference flags (Linux; the system keeps them on macOS)

  // The Mac's places under root (default "/") and home.
  static Locations macos(std::string root, std::string home,
                         std::string bundleID = std::string(kBundleID));
  // A Linux desktop's places under root and home. The XDG variables are honoured only when home
  // is the current user's own home folder: a scanned test home keeps its own ~/.cache and
  // ~/.config. The user folders come from ~/.config/user-dirs.dirs; an entry that is missing,
  // malformed or the home folder itself gets the English name.
  static Locations linux(std::string root, std::string home,
                         std::string bundleID = std::string(kBundleID));
  // This platform's own layout for the given home folder.
  static Locations platformDefault(std::string home);
  static std::optional<Layout> layoutNamed(std::string_view name);
  // The places a front end was asked for: root (default "/"), home (default the user's) and a
  // layout name (default this platform's), relative paths taken from the current folder. Throws
  // std::invalid_argument with a one-line reason (a missing home folder, an unknown layout).
  static Locations resolve(const std::string& root, const std::string& home,
                           const std::string& layout);

  // A place under root ("/Applications" -> root + "/Applications").
  std::string underRoot(std::string_view absolute) const;
};

// The current user's home folder ($HOME, else the password database).
std::string currentHome();

// The folders named in a user-dirs.dirs text (XDG_DOWNLOAD_DIR="$HOME/Downloads" and so on),
// resolved against home: a "$HOME/..." or absolute value in double quotes. Keys are the names
// between "XDG_" and "_DIR" ("DOWNLOAD", "VIDEOS"); a value that is the home folder itself
// (the folder switched off) is left out.
std::vector<std::pair<std::string, std::string>> parseUserDirs(std::string_view text,
                                                               const std::string& home);

}  // namespace dw
