#include "clearing/uninstalling.h"

#include <sys/stat.h>

#include "base/paths.h"
#include "base/uuid.h"
#include "platform/desktop.h"
#include "scanners/uninstaller/app_uninstaller.h"

namespace dw::Clearing {

namespace {

constexpr std::string_view kSharedWithAnotherApp = "another installed app uses it";

std::string noLongerAllowed(std::string_view name) {
  return std::string(name) + " (" + std::string(kNoLongerAllowed) + ")";
}

// The bundle at the listed path is still the one listed: same item on disk, same identifier.
bool stillTheListedBundle(const AppUninstaller::AppRecord& app, const Locations& places) {
  if (AppUninstaller::removedWithSoftwareManager(app)) return false;  // never ours to move
  auto now = AppUninstaller::identify(app.bundlePath, places);
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
  struct stat bundle {};
  if (!stillTheListedBundle(app, places) || ::lstat(app.bundlePath.c_str(), &bundle) != 0 ||
      bundle.st_ino != app.ino) {
    result.stayed.push_back(noLongerAllowed(app.name));
    return result;
  }
  // Data named after the identifier stays with another copy or another app that carries it,
  // installed since the listing; asked while this bundle is still in place.
  const bool ownData =
      app.kind != AppUninstaller::AppRecord::Kind::bundle ||
      AppUninstaller::ownsItsData(app, {.claims = AppUninstaller::identifierClaims(places)});
  auto failure = moveOne({app.bundlePath, app.bundleBytes, "app", app.name, identityOf(bundle), {}},
                         places, result.moves);
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
    // What moves now, not what the listing saw, and only the item measured.
    std::optional<Measured> now;
    if (ownData && AppUninstaller::stillRelatedTo(path, app, places)) now = measureForMove(path);
    if (!ownData) {
      result.stayed.push_back(name + " (" + std::string(kSharedWithAnotherApp) + ")");
    } else if (!now) {
      result.stayed.push_back(noLongerAllowed(name));
    } else if (auto f = moveOne({path, now->bytes, "app-data", name, now->identity, {}}, places,
                                result.moves)) {
      result.stayed.push_back(name + " (" + f->reason + ")");
    }
    progressed(++done, name);
  }
  return result;
}

}  // namespace dw::Clearing
