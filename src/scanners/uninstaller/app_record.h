#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/core.h"

namespace dw::AppUninstaller {

// One installed application with the folders it keeps in the user's Library (on Linux: an
// AppImage with its launchers and icons, or an app the software manager installed).
struct AppRecord {
  enum class Kind {
    bundle,    // an application bundle (.app) of the Applications folders
    appImage,  // an AppImage file of ~/Applications or ~/.local/bin; bundlePath is the file
    flatpak,   // a Flatpak app; bundlePath is <installation>/app/<id>, bundleID the id
    package    // a distribution package's desktop app; bundlePath is its launcher, bundleID
               // the package when known
  };
  std::string name;
  std::string bundleID;
  std::string bundlePath;
  std::int64_t bundleBytes = 0;
  std::vector<std::string> related;
  std::int64_t relatedBytes = 0;
  // Each related item's bytes, in the order of `related`, once measured (empty before).
  std::vector<std::int64_t> relatedSizes;
  std::optional<TimePoint> lastUsed;
  bool running = false;
  bool apple = false;
  bool own = false;  // this application itself
  std::uint64_t ino = 0;
  Kind kind = Kind::bundle;
  // An image file (PNG, SVG, XPM) of the app's icon, "" when none is known. Only read.
  std::string iconPath;
  // The app's own folders in the home: its settings, data and caches as a Linux desktop keeps
  // them (~/.config/<name>, ~/.cache/<name>, ~/.mozilla, ~/.var/app/<id>). Shown with their
  // sizes, in the order found; never moved by an uninstall (their caches are cleared from the
  // caches list).
  std::vector<std::string> userFolders;
  std::vector<std::int64_t> userFolderSizes;  // once measured, in the order of userFolders
  std::int64_t userFolderBytes = 0;
  bool operator==(const AppRecord&) const = default;
};

}  // namespace dw::AppUninstaller
