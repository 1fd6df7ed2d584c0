#include "clearing/uninstalling.h"

#include <sys/stat.h>

#include "base/paths.h"
#include "base/uuid.h"
#include "measure/disk_sizer.h"
#include "platform/desktop.h"
#include "scanners/uninstaller/app_uninstaller.h"

namespace dw::Clearing {

namespace {

std::string noLongerAllowed(std::string_view name) {
  return std::string(name) + " (" + std::string(kNoLongerAllowed) + ")";
}

// The bundle at the listed path is still the one listed: same item on disk, same identifier.
bool stillTheListedBundle(const AppUninstaller::AppRecord& app, const Locations& places) {
  if (AppUninstaller::removedWithSoftwareManager(app)) return false;  // never ours to move
  auto now = AppUninstaller::describe(app.bundlePath, places, {});
  return now && now->kind == app.kind && now->ino == app.ino && now->bundleID == app.bundleID &&
         AppUninstaller::isInApplications(app.bundlePath, places);
}

}  // namespace

UninstallOutcome uninstallApp(const AppUninstaller::AppRecord& app, const Locations& places,
                              const std::function<void(const Progress&)>& onProgress,
                              std::stop_token stop) {
  UninstallOutcome result;
  result.moves.sessionID = newUuid();
  const int total = static_cast<int>(app.related.size()) + 1;
  auto progressed = [&](int done, const std::string& current) {
    if (onProgress) onProgress({done, total, current});
  };

  if (stop.stop_requested()) {
    result.stopped = true;
    return result;
  }
  if (!stillTheListedBundle(app, places)) {
    result.stayed.push_back(noLongerAllowed(app.name));
    return result;
  }
  auto failure = moveOne({app.bundlePath, app.bundleBytes, "app", app.name}, places, result.moves);
  progressed(1, app.name);
  if (failure) {
    // The app stays installed, so its data stays with it.
    if (failure->permissionDenied) {
      result.needsAdministrator = true;
      result.stayed.push_back(app.name + " needs an administrator. " +
                              std::string(platform::revealActionTitle()) + ".");
    } else {
      result.stayed.push_back(app.name + " (" + failure->reason + ")");
    }
    return result;
  }
  result.bundleMoved = true;

  int done = 1;
  for (const std::string& path : app.related) {
    if (stop.stop_requested()) {
      result.stopped = true;
      break;
    }
    std::string name(paths::lastComponent(path));
    if (!AppUninstaller::stillRelatedTo(path, app, places)) {
      result.stayed.push_back(noLongerAllowed(name));
    } else {
      // What moves now, not what the listing saw.
      std::int64_t bytes = DiskSizer::measure(path).bytes;
      if (auto f = moveOne({path, bytes, "app-data", name}, places, result.moves)) {
        result.stayed.push_back(name + " (" + f->reason + ")");
      }
    }
    progressed(++done, name);
  }
  return result;
}

}  // namespace dw::Clearing
