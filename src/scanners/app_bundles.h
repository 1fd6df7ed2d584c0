#pragma once
// The application bundles installed for the user, listed one way for every reader: the
// uninstaller shows them, and the leftover scanner counts their identifiers as installed.

#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/locations.h"

namespace dw::scanners {

// The bundles of places.applicationFolders, folder by folder in that order and by name within
// a folder: each ".app" entry, and the ".app" entries one level down in any other folder (apps
// grouped in a vendor folder). Nothing deeper is searched, a bundle is never entered, and a
// folder that cannot be listed adds nothing. A link to a bundle is the bundle it points to:
// listed by that bundle's path, and each bundle once however many links lead to it. A vendor
// folder that is itself an application folder (Utilities) is listed in its own turn, not as a
// vendor folder.
std::vector<std::string> listApplicationBundles(const Locations& places);

// Whether path names a bundle: a folder, or a link to one, whose name ends ".app" and that holds
// a Contents folder.
bool isAppBundle(const std::string& path);

// A Flatpak application installed in one of places.flatpakInstallations.
struct FlatpakApp {
  std::string id;                // org.example.App
  std::string path;              // <installation>/app/<id>
  std::string exportedLauncher;  // <installation>/exports/share/applications/<id>.desktop
};
// The Flatpak installations: places.flatpakInstallations, then those the system configures in
// places.flatpakInstallationConfigs (the Path= of each *.conf, read under the root).
std::vector<std::string> flatpakInstallations(const Locations& places);
// The installations one such *.conf names: each Path= that is an absolute folder, standardised.
std::vector<std::string> flatpakInstallationPaths(std::string_view conf);
// The apps of every Flatpak installation, the user's first; an id installed in more than one is
// listed once, from the first. Only folders whose name has the Flatpak identifier shape count.
std::vector<FlatpakApp> listFlatpakApps(const Locations& places);
// The app folders of installations that exist but cannot be listed: while there is one, no
// Flatpak app can be said to be missing.
std::vector<std::string> unreadableFlatpakInstallations(const Locations& places);

// A Flatpak application identifier: at most 255 characters, not starting with "."; three or
// more non-empty elements separated by "."; each element made of ASCII letters, digits, "_" and
// "-" and not starting with a digit; "-" only in the last element.
bool hasFlatpakIDShape(std::string_view id);

// An AppImage: a regular file (not a link) that is an ELF program carrying the AppImage mark
// ("AI" and the type, 1 or 2, at offset 8); its name does not matter. inspectAppImage gives the
// file's status as it was before its mark was read, so that its access time is still the last
// use (the file is read with O_NOATIME where the user owns it).
std::optional<struct stat> inspectAppImage(const std::string& path);
bool isAppImage(const std::string& path);
struct AppImageFile {
  std::string path;
  struct stat before;  // as it was before anything read it
};
// The AppImages directly in places.appImageFolders, folder by folder and by name within one.
std::vector<AppImageFile> listAppImages(const Locations& places);

}  // namespace dw::scanners
