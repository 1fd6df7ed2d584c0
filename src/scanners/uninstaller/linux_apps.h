#pragma once
// The apps of a Linux desktop: AppImages the user keeps (removable, with the launchers that
// start them and their icons), and the Flatpak and distribution packages' apps, which only the
// software manager removes. Stateless and read-only.

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/desktop_entry.h"
#include "platform/locations.h"
#include "scanners/uninstaller/app_record.h"

namespace dw::AppUninstaller {

// A launcher of the user's (places.launchers): a regular ".desktop" file inside the home.
struct Launcher {
  std::string path;
  platform::DesktopEntry entry;
  std::string program;                // what its Exec starts (see platform::execProgram)
  std::optional<TimePoint> accessed;  // its access time before it was read: when it was used
};
std::vector<Launcher> userLaunchers(const Locations& places);

// The program named by an Exec line is this AppImage: the same path (as written, or once links
// are resolved), or a bare name found as that file in one of the AppImage folders.
bool startsAppImage(const std::string& program, const std::string& appImage,
                    const Locations& places);

// An icon file that may move with an AppImage: a regular file (not a link) with an image
// extension in the user's icon folders (places.icons, places.pixmaps: ~/.local/share/icons and
// ~/.local/share/pixmaps), as written and once links are resolved, outside our own ground.
bool isMovableIcon(const std::string& path, const Locations& places);
// The files of the icon a launcher names that lie in the user's icon folders: an absolute path
// taken as it stands, or a name looked up as icons/hicolor/<size>/apps/<name>.png|.svg and
// <name>.<extension> in the icon folders. Only movable icons.
std::vector<std::string> iconFilesOf(const std::string& icon, const Locations& places);
// The Icon= of every launcher of the distribution's and of every Flatpak installation's
// exports: icons those apps show, never an AppImage's alone.
std::vector<std::string> otherLaunchersIcons(const Locations& places);

// The links in the AppImage folders that point at this AppImage (~/.local/bin/tool ->
// ~/Applications/Tool.AppImage): they would point at nothing once it goes.
std::vector<std::string> linksToAppImage(const std::string& appImage, const Locations& places);

// The record of an AppImage with its sizes still 0. Related items, in order: the links to it,
// the launchers that start it, and the icons those launchers name that are the app's own:
// movable icons (in the user's icon folders) named after the app (its name, its file's name
// with or without the version, or one of its launchers' file names, compared in lower case
// on letters and digits) that no other launcher names, by file or by icon name (the user's
// other launchers, and otherIcons: see otherLaunchersIcons). running: a process executes the
// file (one of executables). lastUsed: the latest access time of the file and its launchers,
// as they were before anything of ours read them (accessed: the file's).
AppRecord describeAppImage(const std::string& path, std::optional<TimePoint> accessed,
                           const Locations& places, const std::vector<Launcher>& launchers,
                           const std::set<std::string>& executables,
                           const std::vector<std::string>& otherIcons);
// The re-check before a related item of an AppImage moves: a link of the AppImage folders still
// pointing at its path, a launcher still in places.launchers whose Exec still starts its path,
// or an icon that is still the app's own (as describeAppImage decides, against the launchers
// there are now).
bool stillRelatedToAppImage(const std::string& path, const AppRecord& app, const Locations& places);

// The Flatpak apps of every installation (sizes 0), named by their exported launcher.
std::vector<AppRecord> describeFlatpaks(const Locations& places,
                                        const std::set<std::string>& running);
// The desktop apps of the distribution's launchers (NoDisplay and Hidden ones left out), their
// bundleBytes already set: the owning package's Installed-Size when the package database names
// one, else the allocated size of the program the launcher starts.
std::vector<AppRecord> describePackages(const Locations& places);

// The package owning each of these files, read from the package database's file lists (one
// pass over them); files no list names are absent.
std::vector<std::pair<std::string, std::string>> owningPackages(const std::set<std::string>& files,
                                                                const std::string& packageDatabase);
// Installed-Size (KiB) of each package named in the status file's installed paragraphs.
std::vector<std::pair<std::string, std::int64_t>> installedSizes(const std::string& statusText);

}  // namespace dw::AppUninstaller
