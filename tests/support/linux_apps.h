#pragma once
// Linux applications made for real in a HomeBuilder's tree: Flatpak data folders and installs,
// AppImages, launchers (.desktop files), icons and a package database, and a process running
// an AppImage so that /proc shows it as the system would.

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "platform/locations.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"

namespace dw::test {

// ~/.var/app/<id> holding one file of bytes (a folder only when bytes is 0).
std::string flatpakData(HomeBuilder& b, const std::string& id, std::int64_t bytes = 0);
// <installation>/app/<id>/current/active/files/bin/app, and when name is given the exported
// launcher <installation>/exports/share/applications/<id>.desktop naming it.
std::string flatpakInstall(HomeBuilder& b, const std::string& installation, const std::string& id,
                           const std::string& name = "");

enum class AppImageShape {
  named,     // a real ELF program (a copy of /bin/sleep) with the AppImage mark: it runs
  marked,    // an ELF header carrying the AppImage mark and nothing else
  unmarked,  // a real ELF program without the mark: no AppImage, whatever its name
};
std::string appImage(const std::string& path, AppImageShape shape = AppImageShape::named);

// A launcher file with these keys in its [Desktop Entry] group (Type=Application first), plus
// any extra lines as they stand.
std::string launcher(const std::string& path, const std::string& name, const std::string& exec,
                     const std::string& icon = "", const std::string& extra = "");

// An installed package in root/var/lib/dpkg: its file list naming files, and its paragraph in
// the status file with Installed-Size in KiB.
void dpkgPackage(HomeBuilder& b, const std::string& package, std::int64_t installedKiB,
                 const std::vector<std::string>& files);

// The program at path run with the argument "600" (a sleep), stopped and reaped by its own
// process id when the object goes.
class RunningFile {
 public:
  explicit RunningFile(const std::string& path);
  ~RunningFile();
  RunningFile(const RunningFile&) = delete;
  RunningFile& operator=(const RunningFile&) = delete;

 private:
  pid_t pid_ = -1;
};

}  // namespace dw::test
