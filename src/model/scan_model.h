#pragma once
// The one application state that every page reads and every action goes through. It belongs to
// one thread (the model's thread); long work runs through the Dispatcher and comes back to that
// thread before it touches anything here.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "findings/cache_finding.h"
#include "measure/volume_picture.h"
#include "model/dispatcher.h"
#include "platform/defaults.h"
#include "platform/locations.h"
#include "platform/workspace.h"
#include "scanners/duplicates/duplicate_types.h"
#include "scanners/spacemap/space_map_types.h"
#include "scanners/uninstaller/app_record.h"
#include "trash/cleared_log.h"
#include "trash/clearing.h"
#include "trash/sharing.h"
#include "trash/uninstalling.h"

namespace dw {

class ScanModel {
 public:
  class Phase {
   public:
    enum class Kind { scanning, ready, clearing, failed };
    static Phase scanning() { return Phase(Kind::scanning); }
    static Phase ready() { return Phase(Kind::ready); }
    static Phase clearing() { return Phase(Kind::clearing); }
    static Phase failed(std::string text) { return Phase(Kind::failed, std::move(text)); }
    Kind kind() const { return kind_; }
    const std::string& text() const { return text_; }
    bool operator==(const Phase&) const = default;

   private:
    explicit Phase(Kind kind, std::string text = {}) : kind_(kind), text_(std::move(text)) {}
    Kind kind_;
    std::string text_;
  };

  // sharing: the selected extra copies, to share their kept copy's blocks instead of moving.
  enum class ConfirmScope { caches, leftovers, files, duplicates, sharing };

  struct Progress {
    int done = 0;
    int total = 0;
    std::string current;
    bool operator==(const Progress&) const = default;
  };

  // The published fields; an observer is told which one changed.
  enum class Field {
    phase,
    lastScannedAt,
    volumeName,
    volume,
    caches,
    selected,
    message,
    confirm,
    confirmScope,
    trashedBytesThisSession,
    progress,
    scanArea,
    unreadLeftoverLocations,
    showFullDiskAccessPrompt,
    clearedEntries,
    offerRecentlyCleared,
    duplicateGroups,
    duplicateKeepPath,
    duplicateSelected,
    duplicateScope,
    duplicateProgress,
    duplicatesScanning,
    duplicateSkipped,
    spaceRoot,
    spacePath,
    spaceSelected,
    spaceScanning,
    spaceElapsed,
    installedApps,
    uninstallTarget,
    appsNeedingAdmin,
    appsLoading,
    duplicateSharing
  };
  using Observer = std::function<void(Field)>;

  // What one main scan hands back to the model.
  struct ScanResult {
    VolumePicture volume;
    std::vector<CacheFinding> findings;
    std::vector<std::string> unreadLeftoverLocations;
  };

  // Sets the initial values and listens for Chrome launching and quitting. It does not scan.
  // The dispatcher and the workspace outlive the model and every task it started.
  ScanModel(Dispatcher& dispatcher, Locations places, platform::Workspace& workspace,
            platform::UserDefaults& defaults);
  ~ScanModel();
  ScanModel(const ScanModel&) = delete;
  ScanModel& operator=(const ScanModel&) = delete;

  void addObserver(Observer observer);
  const Locations& places() const { return places_; }

  // Published state.
  const Phase& phase() const { return phase_; }
  const std::optional<TimePoint>& lastScannedAt() const { return lastScannedAt_; }
  const std::string& volumeName() const { return volumeName_; }
  const VolumePicture& volume() const { return volume_; }
  const std::vector<CacheFinding>& caches() const { return caches_; }
  const std::set<std::string>& selected() const { return selected_; }
  const std::string& message() const { return message_; }
  bool confirm() const { return confirm_; }
  ConfirmScope confirmScope() const { return confirmScope_; }
  std::int64_t trashedBytesThisSession() const { return trashedBytesThisSession_; }
  const std::optional<Progress>& progress() const { return progress_; }
  const std::optional<std::string>& scanArea() const { return scanArea_; }
  const std::vector<std::string>& unreadLeftoverLocations() const {
    return unreadLeftoverLocations_;
  }
  bool showFullDiskAccessPrompt() const { return showFullDiskAccessPrompt_; }
  const std::vector<ClearedLog::Entry>& clearedEntries() const { return clearedEntries_; }
  bool offerRecentlyCleared() const { return offerRecentlyCleared_; }
  const std::vector<DuplicateScanner::Group>& duplicateGroups() const { return duplicateGroups_; }
  const std::map<std::string, std::string>& duplicateKeepPath() const { return duplicateKeepPath_; }
  const std::set<std::string>& duplicateSelected() const { return duplicateSelected_; }
  DuplicateScanner::Scope duplicateScope() const { return duplicateScope_; }
  const std::optional<std::string>& duplicateProgress() const { return duplicateProgress_; }
  bool duplicatesScanning() const { return duplicatesScanning_; }
  const std::vector<std::string>& duplicateSkipped() const { return duplicateSkipped_; }
  const std::optional<SpaceMap::Node>& spaceRoot() const { return spaceRoot_; }
  const std::vector<std::string>& spacePath() const { return spacePath_; }
  const std::optional<std::string>& spaceSelected() const { return spaceSelected_; }
  bool spaceScanning() const { return spaceScanning_; }
  const std::optional<double>& spaceElapsed() const { return spaceElapsed_; }
  const std::vector<AppUninstaller::AppRecord>& installedApps() const { return installedApps_; }
  const std::optional<AppUninstaller::AppRecord>& uninstallTarget() const {
    return uninstallTarget_;
  }
  const std::set<std::string>& appsNeedingAdmin() const { return appsNeedingAdmin_; }
  bool appsLoading() const { return appsLoading_; }

  std::uint64_t scanGeneration() const { return scanGeneration_; }
  bool isScanRunning() const { return scanTask_ != nullptr; }
  bool isClearRunning() const { return clearTask_ != nullptr; }

  // The main scan.
  void scan();
  void cancelScan();
  void scanAreaStarted(const std::string& area, std::uint64_t generation);

  // Selection and confirmation.
  void setSelected(const std::string& id, bool on);
  void toggle(const std::string& id);
  void select(std::set<std::string> ids);
  // "Select all" / "Select none" over a list: adds the removable ones among ids, or removes ids.
  void selectFindings(const std::vector<std::string>& ids, bool on);
  void requestConfirm(ConfirmScope scope);
  // The Full Disk Access sheet closed, either way: it never comes back by itself. opener (the
  // settings button) runs after the flag is written.
  void closeFullDiskAccessPrompt(const std::function<void()>& opener = {});
  void dismissConfirm();

  // Clearing: the selected findings of confirmScope, or (the command line's whole clear) of
  // every kind at once under one session.
  void clearSelected();
  void clearFindings(std::optional<ConfirmScope> scope);
  // Stops a clear, or an uninstall, after the item in hand.
  void stopClearing();
  // The findings clearSelected would move for a scope (all kinds when none), in list order.
  std::vector<CacheFinding> itemsToClear(std::optional<ConfirmScope> scope) const;

  // Recently Cleared.
  void reloadCleared();
  bool putBack(const ClearedLog::Entry& entry);

  // ---- The duplicate flow (scan_model_duplicates.cpp) ----
  void setDuplicateScope(DuplicateScanner::Scope scope);
  // Searches duplicateScope; a new search cancels a running one, whose results never appear.
  void findDuplicates();
  void cancelDuplicates();
  bool isDuplicateSearchRunning() const { return duplicateTask_ != nullptr; }
  // The chosen copy (a file of the group) becomes the one kept and leaves the selection.
  void keepCopy(const std::string& hashHex, const std::string& path);
  void setDuplicateSelected(const std::string& path, bool on);
  // Selects every copy but the kept one of each group.
  void selectExtraCopies();
  // Moves the selected copies to the Trash; the kept copy of a group never moves.
  void clearDuplicates();
  // Sharing instead of moving (scan_model_sharing.cpp). What the search's files can do, read
  // after each search: whether some group can share (the option is offered only then), and what
  // sharing the selected copies would do and free.
  const Sharing::Survey& duplicateSurvey() const { return duplicateSurvey_; }
  bool canShareDuplicates() const;
  Sharing::Plan sharePlan() const;
  // Makes the selected copies use their kept copy's blocks; nothing moves (a Mac: the replaced
  // files go to the Trash). Shared copies, and those already sharing, leave the selection.
  void shareDuplicates();

  // The space map (scan_model_space.cpp). buildSpaceMap maps the home folder on a task of its
  // own; a second call replaces a build still running. Navigation: spacePath lists the paths of
  // the nodes stepped into, from the root's child down; spaceSelected is the selected cell.
  void buildSpaceMap();
  void cancelSpaceMap();
  bool isSpaceMapRunning() const { return spaceTask_ != nullptr; }
  // The node whose children the page shows: the last one stepped into, else the root.
  const SpaceMap::Node* spaceCurrent() const;
  void selectSpaceNode(const std::optional<std::string>& path);
  // Steps into a child of the current node that has children of its own; false otherwise.
  bool enterSpaceNode(const std::string& path);
  // Back to the level given (0 is the root).
  void leaveSpaceNodes(size_t level);

  // Chrome launched or quit (or any other app, which changes nothing).
  void watchApplications();
  void applicationEvent(const std::string& bundleID, bool launched);

  // ---- Installed apps and uninstall (scan_model_apps.cpp) ----
  // Lists the installed apps on a task; a newer listing replaces one still running.
  void refreshApps();
  bool isAppsRefreshRunning() const { return appsTask_ != nullptr; }
  void setUninstallTarget(std::optional<AppUninstaller::AppRecord> app);
  // Refuses with a message, or moves uninstallTarget and its related items to the Trash. Does
  // nothing while a clear or another uninstall is moving items.
  void uninstall();

  // The main scan's work, run off the model's thread. announce reports each area before it is
  // measured. Throws Cancelled.
  static ScanResult runScanPipeline(const Locations& places, const platform::Workspace& workspace,
                                    std::stop_token stop,
                                    const std::function<void(const std::string&)>& announce);

 private:
  void notify(Field field);
  void finishScan(ScanResult result, std::uint64_t generation);
  void endScanWithError(bool cancelled, std::uint64_t generation);
  void finishClear(Clearing::Outcome outcome);
  // What every move to the Trash shares, caches, copies and apps alike. startMoving shows the
  // clearing phase, the message and the progress of each item, and runs `work` off the model's
  // thread with a stop between items; `work` returns what finishes the move on the model's
  // thread. endMoving writes the log and returns the model to ready; the kind's own lists are
  // updated before it.
  using MoveWork = std::function<std::function<void()>(
      std::stop_token, const std::function<void(const Clearing::Progress&)>&)>;
  void startMoving(std::string message, int items, MoveWork work);
  void endMoving(const Clearing::Outcome& moves, std::string message);
  // The duplicate flow.
  void finishDuplicates(DuplicateScanner::Result result, std::uint64_t search);
  void endDuplicatesWithError(bool cancelled, std::uint64_t search);
  void finishDuplicateClear(Clearing::Outcome outcome);
  // The selected copies in the order the groups are shown, each with its group's kept copy.
  std::vector<Clearing::DuplicateCopy> selectedDuplicateCopies() const;
  void finishDuplicateShare(Sharing::Outcome outcome, Sharing::Survey survey);
  // Installed apps and uninstall.
  void finishApps(std::vector<AppUninstaller::AppRecord> apps, std::uint64_t generation);
  void finishUninstall(Clearing::UninstallOutcome outcome, AppUninstaller::AppRecord app);
  // Posts to the model's thread a closure that runs only while this model is alive. A task holds
  // a Poster, never the model itself, so it may outlive the model harmlessly.
  struct Poster {
    Dispatcher* dispatcher;
    std::weak_ptr<ScanModel*> alive;
    void operator()(std::function<void()> closure) const;
  };
  Poster poster() const;

  Dispatcher& dispatcher_;
  Locations places_;
  platform::Workspace& workspace_;
  platform::UserDefaults& defaults_;
  std::vector<Observer> observers_;
  std::shared_ptr<ScanModel*> alive_;
  bool watchingApplications_ = false;

  Phase phase_ = Phase::scanning();
  std::optional<TimePoint> lastScannedAt_;
  std::string volumeName_ = "This Mac";
  VolumePicture volume_;
  std::vector<CacheFinding> caches_;
  std::set<std::string> selected_;
  std::string message_ = "Measuring unused caches.";
  bool confirm_ = false;
  ConfirmScope confirmScope_ = ConfirmScope::caches;
  std::int64_t trashedBytesThisSession_ = 0;
  std::optional<Progress> progress_;
  std::optional<std::string> scanArea_;
  std::vector<std::string> unreadLeftoverLocations_;
  bool showFullDiskAccessPrompt_ = false;
  std::vector<ClearedLog::Entry> clearedEntries_;
  bool offerRecentlyCleared_ = false;
  std::vector<DuplicateScanner::Group> duplicateGroups_;
  std::map<std::string, std::string> duplicateKeepPath_;
  std::set<std::string> duplicateSelected_;
  DuplicateScanner::Scope duplicateScope_ = DuplicateScanner::Scope::all();
  std::optional<std::string> duplicateProgress_;
  bool duplicatesScanning_ = false;
  std::vector<std::string> duplicateSkipped_;
  Sharing::Survey duplicateSurvey_;
  std::optional<SpaceMap::Node> spaceRoot_;
  std::vector<std::string> spacePath_;
  std::optional<std::string> spaceSelected_;
  bool spaceScanning_ = false;
  std::optional<double> spaceElapsed_;
  std::vector<AppUninstaller::AppRecord> installedApps_;
  std::optional<AppUninstaller::AppRecord> uninstallTarget_;
  std::set<std::string> appsNeedingAdmin_;
  bool appsLoading_ = false;

  std::shared_ptr<TaskHandle> clearTask_;
  std::shared_ptr<TaskHandle> scanTask_;
  std::shared_ptr<TaskHandle> duplicateTask_;

  // The space map.
  void finishSpaceMap(SpaceMap::Node root, double seconds, std::uint64_t build);
  void endSpaceMapWithError(std::uint64_t build);
  std::shared_ptr<TaskHandle> spaceTask_;
  std::uint64_t spaceBuild_ = 0;
  std::uint64_t scanGeneration_ = 0;
  // The duplicate flow: raised at every search, so that only the newest one publishes; and the
  // folders the shown groups came from, which a clear of copies re-checks against.
  std::uint64_t duplicateSearch_ = 0;
  DuplicateScanner::Scope duplicateSearchedScope_;
  // Installed apps and uninstall.
  std::shared_ptr<TaskHandle> appsTask_;
  std::uint64_t appsGeneration_ = 0;
};

// The area texts in the order a scan announces them.
inline constexpr std::string_view kAreaLibraryCaches = "Library caches";
inline constexpr std::string_view kAreaDeveloperCaches = "npm and Gradle";
inline constexpr std::string_view kAreaChrome = "Chrome";
inline constexpr std::string_view kAreaLargeFiles = "Large files";
inline constexpr std::string_view kAreaLeftovers = "Leftovers";

}  // namespace dw
