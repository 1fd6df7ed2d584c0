#include "model/scan_model.h"

#include <algorithm>
#include <cstdlib>

#include "base/paths.h"
#include "measure/shared_measurer.h"
#include "platform/desktop.h"
#include "platform/ownership.h"
#include "platform/volume.h"
#include "scanners/caches/cache_scanner.h"
#include "scanners/largefiles/large_files_scanner.h"
#include "scanners/leftovers/leftover_scanner.h"

namespace dw {

namespace {

// A test host sets this; then nothing starts by itself.
bool underTestHost() {
  return std::getenv("XCTestConfigurationFilePath") != nullptr;
}

void sortLargestFirst(std::vector<CacheFinding>& findings) {
  std::stable_sort(findings.begin(), findings.end(),
                   [](const CacheFinding& a, const CacheFinding& b) { return a.bytes > b.bytes; });
}

std::optional<CacheFinding::Kind> kindOf(ScanModel::ConfirmScope scope) {
  switch (scope) {
    case ScanModel::ConfirmScope::caches:
      return CacheFinding::Kind::cache;
    case ScanModel::ConfirmScope::leftovers:
      return CacheFinding::Kind::leftover;
    case ScanModel::ConfirmScope::files:
      return CacheFinding::Kind::file;
    case ScanModel::ConfirmScope::duplicates:
    case ScanModel::ConfirmScope::sharing:
      return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace

ScanModel::ScanModel(Dispatcher& dispatcher, Locations places, platform::Workspace& workspace,
                     platform::UserDefaults& defaults)
    : dispatcher_(dispatcher),
      places_(std::move(places)),
      workspace_(workspace),
      defaults_(defaults),
      alive_(std::make_shared<ScanModel*>(this)) {
  if (places_.layout == Locations::Layout::linux) volumeName_ = "This computer";
  // What an interrupted clear or Put Back left unrecorded is finished before the log is read.
  try {
    ClearedLog::recover(places_);
  } catch (const std::exception& e) {
    message_ = std::string("Recently Cleared could not be brought up to date (") + e.what() + ").";
  }
}

ScanModel::~ScanModel() {
  workspace_.setAppEventHandler({});
  alive_.reset();
  if (scanTask_) scanTask_->cancel();
  if (clearTask_) clearTask_->cancel();
  if (duplicateTask_) duplicateTask_->cancel();
  if (spaceTask_) spaceTask_->cancel();
}

void ScanModel::addObserver(Observer observer) {
  observers_.push_back(std::move(observer));
}

void ScanModel::notify(Field field) {
  for (const auto& observer : observers_)
    observer(field);
}

void ScanModel::Poster::operator()(std::function<void()> closure) const {
  dispatcher->post([alive = alive, closure = std::move(closure)] {
    if (!alive.expired()) closure();
  });
}

ScanModel::Poster ScanModel::poster() const {
  return Poster{&dispatcher_, alive_};
}

// ---- the main scan --------------------------------------------------------------------------

ScanModel::ScanResult ScanModel::runScanPipeline(
    const Locations& places, const platform::Workspace& workspace, std::stop_token stop,
    const std::function<void(const std::string&)>& announce) {
  // One measurer for the whole scan: a folder two scanners need is walked once.
  SharedMeasurer measurer(stop);
  ScanResult result;
  result.volume = VolumePicture::read(places.home);
  bool chromeRunning = CacheScanner::isChromeRunning(workspace);
  // Which running program uses which cache: one look at the processes for the scan.
  std::vector<platform::HeldFile> held = CacheScanner::cachesInUse(places);

  announce(std::string(kAreaLibraryCaches));
  std::vector<CacheFinding> caches =
      CacheScanner::scanLibraryCaches(places, chromeRunning, held, measurer);
  announce(std::string(kAreaDeveloperCaches));
  auto developer = CacheScanner::scanDeveloperCaches(places, held, measurer);
  caches.insert(caches.end(), developer.begin(), developer.end());
  announce(std::string(kAreaChrome));
  auto chrome = CacheScanner::scanChromeCaches(places, chromeRunning, measurer);
  caches.insert(caches.end(), chrome.begin(), chrome.end());
  sortLargestFirst(caches);

  announce(std::string(kAreaLargeFiles));
  std::vector<CacheFinding> files = LargeFilesScanner::scan(places, stop);
  sortLargestFirst(files);

  announce(std::string(kAreaLeftovers));
  LeftoverScanner::Result leftovers = LeftoverScanner::scan(places, workspace, measurer);
  throwIfCancelled(stop);

  result.findings = std::move(caches);
  result.findings.insert(result.findings.end(), files.begin(), files.end());
  for (const auto& leftover : leftovers.findings) {
    result.findings.push_back(LeftoverScanner::toCacheFinding(leftover, places));
  }
  result.unreadLeftoverLocations = std::move(leftovers.unreadableLocations);
  return result;
}

void ScanModel::scan() {
  if (underTestHost()) return;
  watchApplications();
  if (scanTask_) scanTask_->cancel();
  std::uint64_t generation = ++scanGeneration_;

  phase_ = Phase::scanning();
  notify(Field::phase);
  message_ = "Measuring unused caches.";
  notify(Field::message);
  scanArea_ = "Starting…";
  notify(Field::scanArea);
  trashedBytesThisSession_ = 0;
  notify(Field::trashedBytesThisSession);
  progress_.reset();
  notify(Field::progress);

  // The task touches the model only through closures posted back to its thread, which run only
  // while the model lives.
  scanTask_ = dispatcher_.start([this, generation, places = places_, post = poster(),
                                 &workspace = workspace_](std::stop_token stop) {
    auto announce = [&](const std::string& area) {
      post([this, area, generation] { scanAreaStarted(area, generation); });
    };
    try {
      ScanResult result = runScanPipeline(places, workspace, stop, announce);
      post([this, result = std::move(result), generation]() mutable {
        finishScan(std::move(result), generation);
      });
    } catch (const Cancelled&) {
      post([this, generation] { endScanWithError(true, generation); });
    } catch (...) {
      post([this, generation] { endScanWithError(false, generation); });
    }
  });
}

void ScanModel::cancelScan() {
  if (scanTask_) scanTask_->cancel();
}

void ScanModel::scanAreaStarted(const std::string& area, std::uint64_t generation) {
  if (generation != scanGeneration_) return;
  scanArea_ = area;
  notify(Field::scanArea);
  message_ = "Measuring " + paths::asciiLower(area) + ".";
  notify(Field::message);
}

void ScanModel::finishScan(ScanResult result, std::uint64_t generation) {
  // Only the newest scan may publish; an overtaken one may still finish and is dropped here.
  if (generation != scanGeneration_) return;
  volume_ = result.volume;
  notify(Field::volume);
  caches_ = std::move(result.findings);
  notify(Field::caches);
  unreadLeftoverLocations_ = std::move(result.unreadLeftoverLocations);
  notify(Field::unreadLeftoverLocations);
  selected_.clear();
  for (const auto& finding : caches_) {
    if (finding.suggested) selected_.insert(finding.id);
  }
  notify(Field::selected);
  phase_ = Phase::ready();
  notify(Field::phase);
  scanArea_.reset();
  notify(Field::scanArea);
  scanTask_.reset();
  lastScannedAt_ = Clock::now();
  notify(Field::lastScannedAt);
  if (auto name = platform::volumeName(places_.root); name && !name->empty()) {
    volumeName_ = *name;
    notify(Field::volumeName);
  }

  std::string text = caches_.empty()
                         ? "No large unused caches. Documents and builds were not scanned for "
                           "deletion."
                         : "Nothing is removed until you confirm. Caches go to the Trash.";
  if (!unreadLeftoverLocations_.empty()) {
    text += " Could not read ";
    for (size_t i = 0; i < unreadLeftoverLocations_.size(); ++i) {
      if (i) text += ", ";
      text += unreadLeftoverLocations_[i];
    }
    // Where no Full Disk Access setting exists (Linux), the folders' permissions are what
    // keeps them unread, and there is nothing the prompt could ask.
    bool fullDiskAccess = platform::hasFullDiskAccessSetting();
    text += fullDiskAccess ? ". Full Disk Access is required for a complete leftovers scan."
                           : ". Check their permissions for a complete leftovers scan.";
    if (fullDiskAccess && !defaults_.boolValue(platform::kFullDiskAccessPromptShownKey)) {
      showFullDiskAccessPrompt_ = true;
      notify(Field::showFullDiskAccessPrompt);
    }
  }
  message_ = std::move(text);
  notify(Field::message);
}

void ScanModel::endScanWithError(bool cancelled, std::uint64_t generation) {
  if (generation != scanGeneration_) return;
  phase_ = Phase::ready();
  notify(Field::phase);
  scanArea_.reset();
  notify(Field::scanArea);
  scanTask_.reset();
  if (cancelled) {
    message_ = "Scan cancelled.";
  } else if (platform::hasFullDiskAccessSetting()) {
    message_ =
        "Scan could not finish. Try Scan again, or check Full Disk Access if leftovers were "
        "incomplete.";
  } else {
    message_ =
        "Scan could not finish. Try Scan again, or check the folders' permissions if leftovers "
        "were incomplete.";
  }
  notify(Field::message);
}

// ---- selection ------------------------------------------------------------------------------

void ScanModel::setSelected(const std::string& id, bool on) {
  bool changed = on ? selected_.insert(id).second : selected_.erase(id) > 0;
  if (changed) notify(Field::selected);
}

void ScanModel::toggle(const std::string& id) {
  setSelected(id, !selected_.count(id));
}

void ScanModel::select(std::set<std::string> ids) {
  selected_ = std::move(ids);
  notify(Field::selected);
}

void ScanModel::selectFindings(const std::vector<std::string>& ids, bool on) {
  std::set<std::string> removable;
  for (const auto& finding : caches_) {
    if (finding.removable) removable.insert(finding.id);
  }
  bool changed = false;
  for (const auto& id : ids) {
    if (on && !removable.count(id)) continue;  // a kept item is never chosen
    changed |= on ? selected_.insert(id).second : selected_.erase(id) > 0;
  }
  if (changed) notify(Field::selected);
}

void ScanModel::requestConfirm(ConfirmScope scope) {
  confirmScope_ = scope;
  notify(Field::confirmScope);
  confirm_ = true;
  notify(Field::confirm);
}

void ScanModel::closeFullDiskAccessPrompt(const std::function<void()>& opener) {
  defaults_.setBool(platform::kFullDiskAccessPromptShownKey, true);
  showFullDiskAccessPrompt_ = false;
  notify(Field::showFullDiskAccessPrompt);
  if (opener) opener();
}

void ScanModel::dismissConfirm() {
  confirm_ = false;
  notify(Field::confirm);
}

// ---- clearing -------------------------------------------------------------------------------

std::vector<CacheFinding> ScanModel::itemsToClear(std::optional<ConfirmScope> scope) const {
  std::optional<CacheFinding::Kind> kind;
  if (scope) {
    kind = kindOf(*scope);
    if (!kind) return {};
  }
  std::vector<CacheFinding> items;
  for (const auto& finding : caches_) {
    if (!selected_.count(finding.id) || !finding.removable) continue;
    if (kind && finding.kind != *kind) continue;
    items.push_back(finding);
  }
  return items;
}

void ScanModel::clearSelected() {
  clearFindings(confirmScope_);
}

void ScanModel::clearFindings(std::optional<ConfirmScope> scope) {
  std::vector<CacheFinding> items = itemsToClear(scope);
  if (items.empty()) {
    message_ = "Select something to clear first.";
    notify(Field::message);
    return;
  }
  int count = static_cast<int>(items.size());  // counted before the work takes them
  startMoving("Moving the selected items to the Trash.", count,
              [this, items = std::move(items), places = places_, &workspace = workspace_](
                  std::stop_token stop, const auto& onProgress) -> std::function<void()> {
                Clearing::Outcome outcome =
                    Clearing::clearFindings(items, places, workspace, stop, onProgress);
                return [this, outcome = std::move(outcome)]() mutable {
                  finishClear(std::move(outcome));
                };
              });
}

void ScanModel::stopClearing() {
  if (!clearTask_) return;
  clearTask_->cancel();
  message_ = "Stopping after the current item…";
  notify(Field::message);
}

void ScanModel::startMoving(std::string message, int items, MoveWork work) {
  // Nothing moves from, or into the Trash of, a home of another user: refused before anything
  // is touched.
  if (std::optional<std::string> refusal = Ownership::refusalToMove(places_)) {
    confirm_ = false;
    notify(Field::confirm);
    message_ = std::move(*refusal);
    notify(Field::message);
    return;
  }
  phase_ = Phase::clearing();
  notify(Field::phase);
  message_ = std::move(message);
  notify(Field::message);
  progress_ = Progress{0, items, ""};
  notify(Field::progress);

  if (clearTask_) clearTask_->cancel();
  clearTask_ =
      dispatcher_.start([this, work = std::move(work), post = poster()](std::stop_token stop) {
        std::function<void()> finish = work(stop, [&](const Clearing::Progress& p) {
          post([this, p] {
            progress_ = Progress{p.done, p.total, p.current};
            notify(Field::progress);
          });
        });
        post(std::move(finish));
      });
}

void ScanModel::endMoving(const Clearing::Outcome& moves, std::string message) {
  // The moves stand whatever happens to the log: the items are in the Trash either way.
  std::string logProblem;
  try {
    ClearedLog::append(moves.entries, places_);
  } catch (const std::exception& e) {
    logProblem = e.what();
  }
  volume_ = VolumePicture::read(places_.home);
  notify(Field::volume);
  phase_ = Phase::ready();
  notify(Field::phase);
  confirm_ = false;
  notify(Field::confirm);
  progress_.reset();
  notify(Field::progress);
  clearTask_.reset();
  trashedBytesThisSession_ = Clearing::addBytes(trashedBytesThisSession_, moves.movedBytes);
  notify(Field::trashedBytesThisSession);
  // Recently Cleared is offered after a clear that moved something, never for an older one.
  if (!moves.entries.empty()) reloadCleared();
  offerRecentlyCleared_ = !moves.entries.empty();
  notify(Field::offerRecentlyCleared);
  message_ = std::move(message);
  if (!logProblem.empty()) {
    message_ += " Recently Cleared could not be updated (" + logProblem +
                "); the moved items are in the Trash.";
  }
  notify(Field::message);
}

void ScanModel::finishClear(Clearing::Outcome outcome) {
  std::set<std::string> moved(outcome.movedIds.begin(), outcome.movedIds.end());
  if (!moved.empty()) {
    std::erase_if(caches_, [&](const CacheFinding& f) { return moved.count(f.id) > 0; });
    notify(Field::caches);
    for (const auto& id : moved)
      selected_.erase(id);
    notify(Field::selected);
  }
  endMoving(outcome, Clearing::completionMessage(outcome));
}

// ---- Recently Cleared -----------------------------------------------------------------------

void ScanModel::reloadCleared() {
  clearedEntries_ = ClearedLog::load(places_);
  notify(Field::clearedEntries);
}

bool ScanModel::putBack(const ClearedLog::Entry& entry) {
  try {
    ClearedLog::Entry updated = ClearedLog::putBack(entry, places_);
    reloadCleared();
    message_ = updated.name + " was put back.";
    notify(Field::message);
    return true;
  } catch (const std::exception& e) {
    message_ = e.what();
    notify(Field::message);
    return false;
  }
}

// ---- Chrome ---------------------------------------------------------------------------------

void ScanModel::watchApplications() {
  // Launches and quits change only a scan's cache findings, so nothing watches for them until
  // the first scan: a space map or a measurement never pays for the watching.
  if (watchingApplications_) return;
  watchingApplications_ = true;
  // Events come on the workspace's thread; they reach the model only on its own.
  workspace_.setAppEventHandler(
      [this, post = poster()](const std::string& bundleID, bool launched) {
        post([this, bundleID, launched] { applicationEvent(bundleID, launched); });
      });
}

void ScanModel::applicationEvent(const std::string& bundleID, bool launched) {
  if (bundleID != CacheScanner::kChromeBundleID) return;
  bool changed = false;
  for (auto& finding : caches_) {
    if (!CacheScanner::isChromeFinding(finding, places_)) continue;
    CacheScanner::applyChromeRule(finding, launched, places_);
    if (finding.suggested) {
      selected_.insert(finding.id);
    } else if (!finding.removable) {
      selected_.erase(finding.id);
    }
    changed = true;
  }
  if (!changed) return;
  notify(Field::caches);
  notify(Field::selected);
}

}  // namespace dw
