// The installed-apps list and the uninstall of one app.

#include <cstdlib>

#include "measure/shared_measurer.h"
#include "model/scan_model.h"
#include "scanners/uninstaller/app_uninstaller.h"

namespace dw {

void ScanModel::refreshApps() {
  // A test host lists nothing by itself, as it scans nothing.
  if (std::getenv("XCTestConfigurationFilePath") != nullptr) return;
  if (appsTask_) appsTask_->cancel();
  std::uint64_t generation = ++appsGeneration_;
  appsLoading_ = true;
  notify(Field::appsLoading);
  appsTask_ = dispatcher_.start([this, generation, places = places_, post = poster(),
                                 &workspace = workspace_](std::stop_token stop) {
    std::vector<AppUninstaller::AppRecord> apps;
    bool listed = false;
    try {
      SharedMeasurer measurer(stop);
      apps = AppUninstaller::listApps(places, workspace, measurer);
      listed = true;
    } catch (...) {
      // Cancelled by a newer listing, or failed: the previous list stays.
    }
    post([this, apps = std::move(apps), listed, generation]() mutable {
      if (listed) {
        finishApps(std::move(apps), generation);
      } else if (generation == appsGeneration_) {
        appsTask_.reset();
        appsLoading_ = false;
        notify(Field::appsLoading);
      }
    });
  });
}

void ScanModel::finishApps(std::vector<AppUninstaller::AppRecord> apps, std::uint64_t generation) {
  if (generation != appsGeneration_) return;  // overtaken by a newer listing
  appsTask_.reset();
  installedApps_ = std::move(apps);
  notify(Field::installedApps);
  appsLoading_ = false;
  notify(Field::appsLoading);
}

void ScanModel::setUninstallTarget(std::optional<AppUninstaller::AppRecord> app) {
  uninstallTarget_ = std::move(app);
  notify(Field::uninstallTarget);
}

void ScanModel::uninstall() {
  if (!uninstallTarget_ || clearTask_) return;
  AppUninstaller::AppRecord app = *uninstallTarget_;
  // Whether it runs is asked now: the listing may be minutes old.
  bool running = AppUninstaller::isRunningNow(app, workspace_);
  if (auto refused = AppUninstaller::refusal(app, running, places_)) {
    message_ = *refused;
    notify(Field::message);
    return;
  }
  startMoving("Moving " + app.name + " to the Trash.", static_cast<int>(app.related.size()) + 1,
              [this, app, places = places_](std::stop_token stop,
                                            const auto& onProgress) -> std::function<void()> {
                Clearing::UninstallOutcome outcome =
                    Clearing::uninstallApp(app, places, onProgress, stop);
                return [this, outcome = std::move(outcome), app]() mutable {
                  finishUninstall(std::move(outcome), std::move(app));
                };
              });
}

void ScanModel::finishUninstall(Clearing::UninstallOutcome outcome, AppUninstaller::AppRecord app) {
  uninstallTarget_.reset();
  notify(Field::uninstallTarget);
  if (outcome.needsAdministrator) {
    appsNeedingAdmin_.insert(app.bundlePath);
    notify(Field::appsNeedingAdmin);
  }
  // An app whose bundle stayed is still installed, and keeps its row (with the administrator
  // text when that is why).
  if (outcome.bundleMoved) {
    std::erase_if(installedApps_, [&](const AppUninstaller::AppRecord& r) {
      return r.bundlePath == app.bundlePath;
    });
    notify(Field::installedApps);
  }
  endMoving(outcome.moves, Clearing::uninstallMessage(outcome));
}

}  // namespace dw
