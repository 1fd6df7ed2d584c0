#pragma once
// The one application state that every page reads and every action goes through. It is a
// facade: each feature is a flow that owns its state and its progress (the main scan with its
// selection, the duplicate search, the space map, the installed apps), every move to the Trash
// goes through the one MoveRunner, and the model itself keeps only Recently Cleared, which they
// share. It belongs to one thread (the model's thread); long work runs through the Dispatcher
// and comes back to that thread before it touches anything here.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "clearing/cleared_log.h"
#include "model/apps_flow.h"
#include "model/duplicate_flow.h"
#include "model/flow_context.h"
#include "model/move_runner.h"
#include "model/scan_flow.h"
#include "model/space_map_flow.h"

namespace dw {

class ScanModel {
 public:
  using Phase = ScanPhase;
  using ConfirmScope = dw::ConfirmScope;
  using Progress = MoveRunner::Progress;
  using Field = ModelField;
  using Observer = FlowContext::Observer;

  // Recovers what an interrupted move left unrecorded and listens for nothing yet; it does not
  // scan. The dispatcher and the workspace outlive the model and every task it started.
  ScanModel(Dispatcher& dispatcher, Locations places, platform::Workspace& workspace,
            platform::UserDefaults& defaults);
  ScanModel(const ScanModel&) = delete;
  ScanModel& operator=(const ScanModel&) = delete;

  void addObserver(Observer observer) { context_.addObserver(std::move(observer)); }
  const Locations& places() const { return context_.places; }
  const texts::Wording& wording() const { return context_.wording; }
  const std::string& message() const { return context_.message(); }
  // The status line of one page: its own flows' newest message.
  const std::string& statusLine(MessageTopic page) const { return context_.statusLine(page); }
  // clearing while a move runs, else the main scan's phase.
  Phase phase() const { return moves_.moving() ? Phase::clearing() : scan_.phase(); }

  // The flows, for what reads one of them whole (a page of the app).
  const ScanFlow& mainScan() const { return scan_; }
  const DuplicateFlow& duplicates() const { return duplicates_; }
  const SpaceMapFlow& spaceMap() const { return space_; }
  const AppsFlow& apps() const { return apps_; }
  const MoveRunner& moves() const { return moves_; }

  // ---- The main scan and its selection ----
  const std::optional<TimePoint>& lastScannedAt() const { return scan_.lastScannedAt(); }
  const std::string& volumeName() const { return scan_.volumeName(); }
  const VolumePicture& volume() const { return scan_.volume(); }
  const std::vector<Finding>& caches() const { return scan_.findings(); }
  const std::set<std::string>& selected() const { return scan_.selected(); }
  const std::optional<std::string>& scanArea() const { return scan_.scanArea(); }
  const std::vector<std::string>& unreadLeftoverLocations() const {
    return scan_.unreadLeftoverLocations();
  }
  bool showFullDiskAccessPrompt() const { return scan_.showFullDiskAccessPrompt(); }
  bool isScanRunning() const { return scan_.running(); }
  void scan();
  void cancelScan() { scan_.cancel(); }
  void setSelected(const std::string& id, bool on) { scan_.setSelected(id, on); }
  void toggle(const std::string& id) { scan_.toggle(id); }
  void select(std::set<std::string> ids) { scan_.select(std::move(ids)); }
  void selectFindings(const std::vector<std::string>& ids, bool on) {
    scan_.selectFindings(ids, on);
  }
  // The findings a clear of a scope would move (all kinds when none), in list order.
  std::vector<Finding> itemsToClear(std::optional<ConfirmScope> scope) const;
  void closeFullDiskAccessPrompt(const std::function<void()>& opener = {}) {
    scan_.closeFullDiskAccessPrompt(opener);
  }

  // ---- Every move to the Trash: one confirmation (MoveRunner) ----
  bool confirm() const { return moves_.confirm(); }
  ConfirmScope confirmScope() const { return moves_.scope(); }
  MoveRunner::Stage moveStage() const { return moves_.stage(); }
  const std::optional<Progress>& progress() const { return moves_.progress(); }
  std::int64_t trashedBytesThisSession() const { return moves_.trashedBytesThisSession(); }
  bool offerRecentlyCleared() const { return moves_.offerRecentlyCleared(); }
  bool isClearRunning() const { return moves_.moving(); }
  // The question of a scope: its list's selected findings, the selected extra copies (to move,
  // or to share), or uninstallTarget with its data. None is the command line's whole clear: the
  // selected findings of every kind under one session.
  void requestConfirm(std::optional<ConfirmScope> scope);
  // The question's answer: moves what it lists now.
  void clearSelected() { moves_.run(); }
  // Takes down the question (an uninstall's target goes with it) or a move's outcome.
  void dismissConfirm();
  // Stops a move after the item in hand.
  void stopClearing() { moves_.stop(); }
  // Moves what the question of a scope would list, without asking: the selected findings of a
  // list (of every kind when none), the selected extra copies (the kept copy of a group never
  // moves), uninstallTarget with its data.
  void clearFindings(std::optional<ConfirmScope> scope);
  void clearDuplicates();
  void uninstall();
  // Makes the selected copies use their kept copy's blocks, without asking: the question of
  // ConfirmScope::sharing answered. Nothing moves (a Mac: the files the clones replace go to the
  // Trash); shared copies, and those already sharing, leave the selection.
  void shareDuplicates();

  // ---- Recently Cleared ----
  const std::vector<ClearedLog::Entry>& clearedEntries() const { return clearedEntries_; }
  void reloadCleared();
  bool putBack(const ClearedLog::Entry& entry);
  // Puts back every item of one clear still in the Trash, each with Put Back's own checks, and
  // says one summary. True when nothing stayed in the Trash.
  bool putBackClear(const std::string& sessionID);

  // ---- The duplicate search ----
  const std::vector<DuplicateScanner::Group>& duplicateGroups() const {
    return duplicates_.groups();
  }
  const std::map<std::string, std::string>& duplicateKeepPath() const {
    return duplicates_.keepPath();
  }
  const std::set<std::string>& duplicateSelected() const { return duplicates_.selected(); }
  DuplicateScanner::Scope duplicateScope() const { return duplicates_.scope(); }
  const std::optional<std::string>& duplicateProgress() const { return duplicates_.progress(); }
  bool duplicatesScanning() const { return duplicates_.scanning(); }
  const std::vector<std::string>& duplicateSkipped() const { return duplicates_.skipped(); }
  bool isDuplicateSearchRunning() const { return duplicates_.running(); }
  void setDuplicateScope(DuplicateScanner::Scope scope) { duplicates_.setScope(scope); }
  // A new search cancels a running one, whose results never appear.
  void findDuplicates() { duplicates_.find(); }
  void cancelDuplicates() { duplicates_.cancel(); }
  void keepCopy(const std::string& hashHex, const std::string& path) {
    duplicates_.keepCopy(hashHex, path);
  }
  void setDuplicateSelected(const std::string& path, bool on) { duplicates_.setSelected(path, on); }
  void selectExtraCopies(const std::optional<std::set<std::string>>& among = std::nullopt) {
    duplicates_.selectExtraCopies(among);
  }
  void selectNoCopies(const std::optional<std::set<std::string>>& among = std::nullopt) {
    duplicates_.selectNone(among);
  }
  // Sharing instead of moving: what the search's files can do, read with each search (the share
  // is offered only where some group can), and what sharing the selected copies would do.
  const Sharing::Survey& duplicateSurvey() const { return duplicates_.survey(); }
  bool canShareDuplicates() const { return duplicates_.canShare(); }
  Sharing::Plan sharePlan() const { return duplicates_.sharePlan(); }

  // ---- The space map ----
  const std::optional<SpaceMap::Node>& spaceRoot() const { return space_.root(); }
  const std::vector<std::string>& spacePath() const { return space_.path(); }
  const std::optional<std::string>& spaceSelected() const { return space_.selected(); }
  bool spaceScanning() const { return space_.scanning(); }
  const std::optional<double>& spaceElapsed() const { return space_.elapsed(); }
  bool isSpaceMapRunning() const { return space_.running(); }
  const SpaceMap::Node* spaceCurrent() const { return space_.current(); }
  // Whether every node's size counts everything under it, and whether that count runs.
  bool spaceComplete() const { return space_.complete(); }
  bool spaceCompleting() const { return space_.completing(); }
  // The first picture (three levels), then (full) the complete sizes.
  void buildSpaceMap(bool full = true) { space_.build(full); }
  void cancelSpaceMap() { space_.cancel(); }
  void selectSpaceNode(const std::optional<std::string>& path) { space_.select(path); }
  bool enterSpaceNode(const std::string& path) { return space_.enter(path); }
  void leaveSpaceNodes(size_t level) { space_.leave(level); }

  // ---- Installed apps ----
  const std::vector<AppUninstaller::AppRecord>& installedApps() const { return apps_.apps(); }
  const std::optional<AppUninstaller::AppRecord>& uninstallTarget() const { return apps_.target(); }
  const std::set<std::string>& appsNeedingAdmin() const { return apps_.needingAdmin(); }
  bool appsLoading() const { return apps_.loading(); }
  bool isAppsRefreshRunning() const { return apps_.running(); }
  // A newer listing replaces one still running.
  void refreshApps() { apps_.refresh(); }
  void setUninstallTarget(std::optional<AppUninstaller::AppRecord> app) {
    apps_.setTarget(std::move(app));
  }

 private:
  MoveRunner::Planner planner(std::optional<ConfirmScope> scope);
  void afterMove(const Clearing::Outcome& moves);

  // Destroyed from the bottom up: each flow cancels its task, and the context's posts stop
  // running once it goes.
  FlowContext context_;
  MoveRunner moves_;
  ScanFlow scan_;
  DuplicateFlow duplicates_;
  SpaceMapFlow space_;
  AppsFlow apps_;
  std::vector<ClearedLog::Entry> clearedEntries_;
};

}  // namespace dw
