#pragma once
// The installed apps and the uninstall of one of them: the listing, off the model's thread (a
// newer one replaces one still running), the app chosen to uninstall, the move of it with its
// data, and the apps whose move the system refused for lack of rights.

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "clearing/uninstalling.h"
#include "model/flow_context.h"
#include "model/move_runner.h"
#include "scanners/uninstaller/app_record.h"

namespace dw {

class AppsFlow {
 public:
  explicit AppsFlow(FlowContext& context) : context_(context) {}
  AppsFlow(const AppsFlow&) = delete;
  AppsFlow& operator=(const AppsFlow&) = delete;

  const std::vector<AppUninstaller::AppRecord>& apps() const { return apps_; }
  const std::optional<AppUninstaller::AppRecord>& target() const { return target_; }
  // The bundle paths of apps whose move the system refused for lack of rights.
  const std::set<std::string>& needingAdmin() const { return needingAdmin_; }
  bool loading() const { return loading_; }
  // A listing has finished: the list is what is installed, not merely empty so far.
  bool listed() const { return listed_; }
  bool running() const { return task_.running(); }

  // Lists the installed apps; false under a test host, where nothing starts by itself.
  bool refresh();
  void setTarget(std::optional<AppUninstaller::AppRecord> app);
  // The move of the target and its related items, refused (with the reason) when it may not go:
  // whether it runs is asked when it would start, as the listing may be minutes old.
  MoveRunner::Plan plan();

 private:
  void finish(std::vector<AppUninstaller::AppRecord> apps, std::uint64_t generation);
  void endUninstall(const Clearing::UninstallOutcome& outcome,
                    const AppUninstaller::AppRecord& app);

  FlowContext& context_;
  std::vector<AppUninstaller::AppRecord> apps_;
  std::optional<AppUninstaller::AppRecord> target_;
  std::set<std::string> needingAdmin_;
  bool loading_ = false;
  bool listed_ = false;
  LatestTask task_;
};

}  // namespace dw
