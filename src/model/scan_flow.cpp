#include "model/scan_flow.h"

#include <algorithm>

#include "clearing/clearing.h"
#include "findings/notes.h"
#include "measure/shared_measurer.h"
#include "platform/volume.h"
#include "scanners/caches/cache_scanner.h"
#include "scanners/largefiles/large_files_scanner.h"
#include "scanners/leftovers/leftover_scanner.h"
#include "texts/lists.h"
#include "texts/scan.h"

namespace dw {

namespace {

void sortLargestFirst(std::vector<Finding>& findings) {
  std::stable_sort(findings.begin(), findings.end(),
                   [](const Finding& a, const Finding& b) { return a.bytes > b.bytes; });
}

}  // namespace

ScanFlow::ScanFlow(FlowContext& context)
    : context_(context), volumeName_(texts::scan::volumeName(context.wording)) {}

ScanFlow::~ScanFlow() {
  if (watchingApplications_) context_.workspace.setAppEventHandler({});
}

ScanFlow::Result ScanFlow::runPipeline(const Locations& places,
                                       const platform::Workspace& workspace, std::stop_token stop,
                                       const std::function<void(const std::string&)>& announce) {
  using namespace texts::scan;
  // One measurer for the whole scan: a folder two scanners need is walked once.
  SharedMeasurer measurer(stop);
  Result result;
  result.volume = VolumePicture::read(places.home);
  bool chromeRunning = CacheScanner::isChromeRunning(workspace);
  // Which running program holds which cache file open: one look at the processes for the scan.
  std::vector<platform::HeldFile> held = CacheScanner::cachesInUse(places);
  const texts::Wording wording = texts::Wording::of(places);

  announce(wording.cachesArea);
  std::vector<Finding> caches =
      CacheScanner::scanLibraryCaches(places, chromeRunning, held, measurer);
  announce(wording.developerArea);
  auto developer = CacheScanner::scanDeveloperCaches(places, held, measurer);
  caches.insert(caches.end(), developer.begin(), developer.end());
  announce(wording.browserArea);
  auto chrome = CacheScanner::scanChromeCaches(places, chromeRunning, measurer);
  caches.insert(caches.end(), chrome.begin(), chrome.end());
  sortLargestFirst(caches);

  announce(wording.largeFilesArea);
  std::vector<Finding> files = LargeFilesScanner::scan(places, stop);
  sortLargestFirst(files);

  announce(wording.leftoversArea);
  LeftoverScanner::Result leftovers = LeftoverScanner::scan(places, workspace, measurer);
  throwIfCancelled(stop);

  result.findings = std::move(caches);
  result.findings.insert(result.findings.end(), files.begin(), files.end());
  for (const auto& leftover : leftovers.findings) {
    result.findings.push_back(LeftoverScanner::toFinding(leftover, places));
  }
  result.unreadLeftoverLocations = std::move(leftovers.unreadableLocations);
  return result;
}

bool ScanFlow::start() {
  if (FlowContext::underTestHost()) return false;
  watchApplications();
  std::uint64_t generation = task_.begin();

  phase_ = ScanPhase::scanning();
  context_.notify(ModelField::phase);
  context_.say(std::string(texts::scan::kStarting), MessageTopic::scan);
  scanArea_ = std::string(texts::scan::kStartingArea);
  context_.notify(ModelField::scanArea);

  // The task touches the flow only through closures posted back to the model's thread, which
  // run only while the model lives.
  task_.run(context_.dispatcher.start([this, generation, places = context_.places,
                                       post = context_.poster(),
                                       &workspace = context_.workspace](std::stop_token stop) {
    auto announce = [&](const std::string& area) {
      post([this, area, generation] { areaStarted(area, generation); });
    };
    try {
      Result result = runPipeline(places, workspace, stop, announce);
      post([this, result = std::move(result), generation]() mutable {
        finish(std::move(result), generation);
      });
    } catch (const Cancelled&) {
      post([this, generation] { endWithError(true, generation); });
    } catch (...) {
      post([this, generation] { endWithError(false, generation); });
    }
  }));
  return true;
}

void ScanFlow::cancel() {
  task_.cancel();
}

void ScanFlow::areaStarted(const std::string& area, std::uint64_t generation) {
  if (!task_.isNewest(generation)) return;
  scanArea_ = area;
  context_.notify(ModelField::scanArea);
  context_.say(texts::scan::measuring(area, context_.wording), MessageTopic::scan);
}

void ScanFlow::finish(Result result, std::uint64_t generation) {
  // Only the newest scan may publish; an overtaken one may still finish and is dropped here.
  if (!task_.isNewest(generation)) return;
  volume_ = result.volume;
  context_.notify(ModelField::volume);
  findings_ = std::move(result.findings);
  context_.notify(ModelField::caches);
  unread_ = std::move(result.unreadLeftoverLocations);
  context_.notify(ModelField::unreadLeftoverLocations);
  selected_.clear();
  for (const auto& finding : findings_) {
    // An item in use (its note asks to quit a program first) is never chosen for the user.
    if (finding.suggested && !notes::noteSaysQuit(finding.note)) selected_.insert(finding.id);
  }
  context_.notify(ModelField::selected);
  phase_ = ScanPhase::ready();
  context_.notify(ModelField::phase);
  scanArea_.reset();
  context_.notify(ModelField::scanArea);
  task_.ended();
  lastScannedAt_ = Clock::now();
  context_.notify(ModelField::lastScannedAt);
  if (auto name = platform::volumeName(context_.places.root); name && !name->empty()) {
    volumeName_ = *name;
    context_.notify(ModelField::volumeName);
  }
  // Where there is a Full Disk Access setting, it is what keeps the folders unread: the sheet
  // asks for it once.
  if (!unread_.empty() && context_.wording.fullDiskAccessSetting &&
      !context_.defaults.boolValue(platform::kFullDiskAccessPromptShownKey)) {
    showFullDiskAccessPrompt_ = true;
    context_.notify(ModelField::showFullDiskAccessPrompt);
  }
  context_.say(texts::scan::finished(!findings_.empty(), unread_, context_.wording),
               MessageTopic::scan);
}

void ScanFlow::endWithError(bool cancelled, std::uint64_t generation) {
  if (!task_.isNewest(generation)) return;
  phase_ = ScanPhase::ready();
  context_.notify(ModelField::phase);
  scanArea_.reset();
  context_.notify(ModelField::scanArea);
  task_.ended();
  context_.say(
      cancelled ? std::string(texts::scan::kCancelled) : texts::scan::failed(context_.wording),
      MessageTopic::scan);
}

void ScanFlow::setSelected(const std::string& id, bool on) {
  bool changed = on ? selected_.insert(id).second : selected_.erase(id) > 0;
  if (changed) context_.notify(ModelField::selected);
}

void ScanFlow::toggle(const std::string& id) {
  setSelected(id, !selected_.count(id));
}

void ScanFlow::select(std::set<std::string> ids) {
  selected_ = std::move(ids);
  context_.notify(ModelField::selected);
}

void ScanFlow::selectFindings(const std::vector<std::string>& ids, bool on) {
  std::set<std::string> removable;
  for (const auto& finding : findings_) {
    if (finding.removable) removable.insert(finding.id);
  }
  bool changed = false;
  for (const auto& id : ids) {
    if (on && !removable.count(id)) continue;  // a kept item is never chosen
    changed |= on ? selected_.insert(id).second : selected_.erase(id) > 0;
  }
  if (changed) context_.notify(ModelField::selected);
}

std::vector<Finding> ScanFlow::selectedFindings(std::optional<Finding::Kind> kind) const {
  std::vector<Finding> items;
  for (const auto& finding : findings_) {
    if (!selected_.count(finding.id) || !finding.removable) continue;
    if (kind && finding.kind != *kind) continue;
    items.push_back(finding);
  }
  return items;
}

MoveRunner::Plan ScanFlow::plan(std::optional<Finding::Kind> kind) {
  std::vector<Finding> findings = selectedFindings(kind);
  MoveRunner::Plan plan;
  for (const auto& f : findings) {
    plan.items.push_back({f.name, f.id, f.bytes, texts::kindWord(f.kind), {}});
    plan.bytes = addBytes(plan.bytes, f.bytes);
  }
  plan.title = texts::confirmTitle(static_cast<std::int64_t>(findings.size()));
  plan.moving = texts::kMovingFindings;
  plan.nothing = texts::kNothingSelected;
  plan.work = [this, findings = std::move(findings), places = context_.places,
               &workspace = context_.workspace](
                  std::stop_token stop,
                  const MoveRunner::ReportProgress& report) -> std::function<MoveRunner::Ending()> {
    Clearing::Outcome outcome = Clearing::clearFindings(findings, places, workspace, stop, report);
    return [this, outcome = std::move(outcome)]() mutable {
      removeMoved(outcome);
      std::string message = texts::clearMessage(outcome, context_.wording);
      return MoveRunner::Ending{std::move(outcome), std::move(message)};
    };
  };
  return plan;
}

void ScanFlow::removeMoved(const Clearing::Outcome& outcome) {
  std::set<std::string> moved(outcome.movedIds.begin(), outcome.movedIds.end());
  if (moved.empty()) return;
  std::erase_if(findings_, [&](const Finding& f) { return moved.count(f.id) > 0; });
  context_.notify(ModelField::caches);
  for (const auto& id : moved)
    selected_.erase(id);
  context_.notify(ModelField::selected);
}

void ScanFlow::moveEnded() {
  volume_ = VolumePicture::read(context_.places.home);
  context_.notify(ModelField::volume);
  if (!running()) phase_ = ScanPhase::ready();  // published with the move's end
}

void ScanFlow::closeFullDiskAccessPrompt(const std::function<void()>& opener) {
  context_.defaults.setBool(platform::kFullDiskAccessPromptShownKey, true);
  showFullDiskAccessPrompt_ = false;
  context_.notify(ModelField::showFullDiskAccessPrompt);
  if (opener) opener();
}

void ScanFlow::watchApplications() {
  if (watchingApplications_) return;
  watchingApplications_ = true;
  // Events come on the workspace's thread; they reach the flow only on the model's.
  context_.workspace.setAppEventHandler(
      [this, post = context_.poster()](const std::string& bundleID, bool launched) {
        post([this, bundleID, launched] { applicationEvent(bundleID, launched); });
      });
}

void ScanFlow::applicationEvent(const std::string& bundleID, bool launched) {
  if (bundleID != CacheScanner::kChromeBundleID) return;
  bool changed = false;
  for (auto& finding : findings_) {
    if (!CacheScanner::isChromeFinding(finding, context_.places)) continue;
    CacheScanner::applyChromeRule(finding, launched, context_.places);
    if (finding.suggested) {
      selected_.insert(finding.id);
    } else if (!finding.removable) {
      selected_.erase(finding.id);
    }
    changed = true;
  }
  if (!changed) return;
  context_.notify(ModelField::caches);
  context_.notify(ModelField::selected);
}

}  // namespace dw
