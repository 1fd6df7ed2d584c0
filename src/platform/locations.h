#pragma once
// Every fixed place the program reads or writes, in one value built from a file-system root, a
// home folder and a layout. Scanners take their folders from here and nowhere else, so a whole
// Mac-shaped tree under a temporary folder can be scanned on any machine.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dw {

inline constexpr std::string_view kBundleID = "com.dustwhale.Dustwhale";

struct Locations {
  enum class Layout { macos };

  // How a leftover location's entries yield a candidate bundle identifier.
  enum class EntryRule {
    folderName,       // a folder: its name
    plistFileName,    // a file ending ".plist": the name without it
    savedStateName,   // a folder ending ".savedState": the name without it
    launchAgentLabel  // a file ending "plist": the property list's Label
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

  std::string library;         // ~/Library
  std::string caches;          // ~/Library/Caches
  std::string chromeProfiles;  // ~/Library/Application Support/Google/Chrome
  std::string chromeCaches;    // ~/Library/Caches/Google
  std::string npmCache;        // ~/.npm/_cacache
  std::string npxCache;        // ~/.npm/_npx
  std::string gradleCaches;    // ~/.gradle/caches
  std::string downloads, desktop, movies, documents;

  std::vector<LeftoverLocation> leftoverLocations;
  // /Applications, /Applications/Utilities, ~/Applications: bundles and vendor folders of them.
  std::vector<std::string> applicationFolders;
  std::string systemExtensions;           // bundles ending "systemextension"
  std::vector<std::string> refusedRoots;  // never a leftover: /Applications, /Library, /System

  std::string logFile;       // cleared.json
  std::string defaultsFile;  // the two preference flags (Linux; the system keeps them on macOS)

  // The Mac's places under root (default "/") and home.
  static Locations macos(std::string root, std::string home,
                         std::string bundleID = std::string(kBundleID));
  // This platform's own layout for the given home folder.
  static Locations platformDefault(std::string home);
  static std::optional<Layout> layoutNamed(std::string_view name);
  // The places a front end was asked for: root (default "/"), home (default the user's) and a
  // layout name, relative paths taken from the current folder. Throws std::invalid_argument
  // with a one-line reason (a missing home folder, an unknown layout).
  static Locations resolve(const std::string& root, const std::string& home,
                           const std::string& layout);

  // A place under root ("/Applications" -> root + "/Applications").
  std::string underRoot(std::string_view absolute) const;
};

// The current user's home folder ($HOME, else the password database).
std::string currentHome();

}  // namespace dw
