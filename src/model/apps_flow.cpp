#include "model/apps_flow.h"

#include "measure/shared_measurer.h"
#include "scanners/uninstaller/app_uninstaller.h"
#include "texts/apps.h"

namespace dw {

bool AppsFlow::refresh() {
  if (FlowContext::underTestHost()) return false;
  std::uint64_t generation = task_.begin();
  loading_ = true;
  context_.notify(ModelField::appsLoading);
  task_.run(context_.dispatcher.start([this, generation, places = context_.places,
                                       post = context_.poster(),
                                       &workspace = context_.workspace](std::stop_token stop) {
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
        finish(std::move(apps), generation);
      } else if (task_.isNewest(generation)) {
        task_.ended();
        loading_ = false;
        context_.notify(ModelField::appsLoading);
      }
    });
  }));
  return true;
}

void AppsFlow::finish(std::vector<AppUninstaller::AppRecord> apps, std::uint64_t generation) {
  if (!task_.isNewest(generation)) return;  // overtaken by a newer listing
  task_.ended();
  apps_ = std::move(apps);
  listed_ = true;
  context_.notify(ModelField::installedApps);
  loading_ = false;
  context_.notify(ModelField::appsLoading);
}

void AppsFlow::setTarget(std::optional<AppUninstaller::AppRecord> app) {
  target_ = std::move(app);
  context_.notify(ModelField::uninstallTarget);
}

MoveRunner::Plan AppsFlow::plan() {
  MoveRunner::Plan plan;
  if (!target_) return plan;
  const AppUninstaller::AppRecord app = *target_;
  plan.items.push_back(
      {app.name, app.bundlePath, app.bundleBytes, std::string(texts::kAppKindWord), {}});
  for (size_t i = 0; i < app.related.size(); ++i) {
    plan.items.push_back({texts::apps::itemName(app.related[i], context_.places),
                          app.related[i],
                          AppUninstaller::relatedSize(app, i),
                          std::string(texts::kAppDataKindWord),
                          {}});
  }
  plan.bytes = AppUninstaller::movedBytes(app);  // the app's folders in the home stay
  plan.title = texts::uninstallTitle(app.name, static_cast<std::int64_t>(app.related.size()));
  plan.moving = texts::movingApp(app.name);
  plan.refusal = [app, &context = context_] {
    return AppUninstaller::refusal(app, AppUninstaller::isRunningNow(app, context.workspace),
                                   context.places);
  };
  plan.work = [this, app, places = context_.places](
                  std::stop_token stop,
                  const MoveRunner::ReportProgress& report) -> std::function<MoveRunner::Ending()> {
    Clearing::UninstallOutcome outcome = Clearing::uninstallApp(app, places, report, stop);
    return [this, outcome = std::move(outcome), app] {
      endUninstall(outcome, app);
      return MoveRunner::Ending{outcome.moves, texts::uninstallMessage(outcome, context_.wording)};
    };
  };
  return plan;
}

void AppsFlow::endUninstall(const Clearing::UninstallOutcome& outcome,
                            const AppUninstaller::AppRecord& app) {
  setTarget(std::nullopt);
  if (outcome.needsAdministrator) {
    needingAdmin_.insert(app.bundlePath);
    context_.notify(ModelField::appsNeedingAdmin);
  }
  // An app whose bundle stayed is still installed, and keeps its row (with the administrator
  // text when that is why).
  if (outcome.bundleMoved) {
    std::erase_if(
        apps_, [&](const AppUninstaller::AppRecord& r) { return r.bundlePath == app.bundlePath; });
    context_.notify(ModelField::installedApps);
  }
}

}  // namespace dw
