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
  std::string program;  // what its Exec starts (see platform::execProgram)
};
std::vector<Launcher> userLaunchers(const Locations& places);

// The program named by an Exec line is this AppImage: the same path (as written, or once links
// are resolved), or a bare name found as that file in one of the AppImage folders.
bool startsAppImage(const std::string& program, const std::string& appImage,
                    const Locations& places);

// An icon file that may move with an AppImage: a regular file (not a link) with an image
// extension, inside the home once links are resolved, outside the user's own folders
// (Documents, Desktop, Pictures, Music, Videos) and outside our own ground.
bool isMovableIcon(const std::string& path, const Locations& places);
// The files of the icon a launcher names: an absolute path taken as it stands, or a name looked
// up as icons/hicolor/<size>/apps/<name>.png|.svg and icons/<name>.<extension> of the user's
// data folder. Only movable icons.
std::vector<std::string> iconFilesOf(const std::string& icon, const Locations& places);

// The links in the AppImage folders that point at this AppImage (~/.local/bin/tool ->
// ~/Applications/Tool.AppImage): they would point at nothing once it goes.
std::vector<std::string> linksToAppImage(const std::string& appImage, const Locations& places);

// The record of an AppImage with its sizes still 0. Related items, in order: the links to it,
// the launchers that start it, and the icons those launchers name, unless another launcher
// names the same icon. running: a process executes the file (one of executables).
AppRecord describeAppImage(const std::string& path, const Locations& places,
                           const std::vector<Launcher>& launchers,
                           const std::set<std::string>& executables);
// The re-check before a related item of an AppImage moves: a link of the AppImage folders still
// pointing at its path, a launcher still in places.launchers whose Exec still starts its path,
// or a movable icon.
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
