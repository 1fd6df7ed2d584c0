#pragma once
// Running applications and their launch and quit events, and what the system remembers of an
// application's use.

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/core.h"
#include "platform/known_programs.h"

namespace dw::platform {

class Workspace {
 public:
  // bundleID of the application, and true when it launched, false when it quit.
  using AppEventHandler = std::function<void(const std::string& bundleID, bool launched)>;

  virtual ~Workspace() = default;
  virtual bool isRunning(std::string_view bundleID) const = 0;
  // The bundle identifiers of every application running now, read once (a listing of many apps
  // asks this once rather than isRunning for each).
  virtual std::set<std::string> runningBundleIDs() const = 0;
  // Events arrive on a thread of the workspace's own; the receiver moves them to its thread.
  // Setting an empty handler stops them.
  virtual void setAppEventHandler(AppEventHandler handler) = 0;
};

// The Flatpak application a process belongs to, from what /proc shows of it: the "name" key of
// the "[Application]" group of the sandbox's /.flatpak-info, or the systemd scope its cgroup
// line names ("app-flatpak-<id>-<number>.scope"). "" when the text names none.
std::string flatpakAppOfInfo(std::string_view flatpakInfo);
std::string flatpakAppOfCgroup(std::string_view cgroup);

// The known programs (known_programs.h) with a process of this user's running now, each once.
std::vector<const KnownProgram*> runningKnownPrograms();

// The executables of the processes running now, for programs that have no identifier to be
// asked by (an AppImage runs as its own file). Linux reads the links /proc/<pid>/exe of the
// processes it may see; a program replaced since it started is named as it was.
std::set<std::string> runningExecutables();

// The system's workspace (Linux: processes of this user under /proc, a known program under the
// identifiers it counts as, a running Flatpak app under its application identifier).
std::unique_ptr<Workspace> systemWorkspace();

// When the application bundle at bundlePath was last opened, where the system records it.
// Linux keeps no such date for an application (a file's access time says when it was read, by
// anything, and is often not updated at all), so there it is always absent.
std::optional<TimePoint> appLastUsed(const std::string& bundlePath);

}  // namespace dw::platform
