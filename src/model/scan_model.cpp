#include "model/scan_model.h"

#include "texts/cleared.h"
#include "texts/scan.h"

namespace dw {

ScanModel::ScanModel(Dispatcher& dispatcher, Locations places, platform::Workspace& workspace,
                     platform::UserDefaults& defaults)
    : context_(dispatcher, std::move(places), workspace, defaults),
      moves_(context_, [this](const Clearing::Outcome& moves) { afterMove(moves); }),
      scan_(context_),
      duplicates_(context_),
      space_(context_),
      apps_(context_) {
  // The question lists what would move now: it follows the selection it lists.
  context_.addObserver([this](Field field) {
    switch (field) {
      case Field::caches:
      case Field::selected:
      case Field::duplicateGroups:
      case Field::duplicateKeepPath:
      case Field::duplicateSelected:
      case Field::duplicateSharing:
      case Field::uninstallTarget:
        moves_.refresh();
        break;
      default:
        break;
    }
  });
  // What an interrupted clear or Put Back left unrecorded is finished before the log is read.
  try {
    ClearedLog::recover(context_.places);
  } catch (const std::exception& e) {
    context_.say(texts::scan::recoveryProblem(e.what()), MessageTopic::cleared);
  }
}

void ScanModel::scan() {
  if (scan_.start()) moves_.beginSession();
}

std::vector<Finding> ScanModel::itemsToClear(std::optional<ConfirmScope> scope) const {
  if (!scope) return scan_.selectedFindings(std::nullopt);
  std::optional<Finding::Kind> kind = findingKind(*scope);
  return kind ? scan_.selectedFindings(kind) : std::vector<Finding>{};
}

MoveRunner::Planner ScanModel::planner(std::optional<ConfirmScope> scope) {
  // A move's status lines belong to the page it was asked from.
  MoveRunner::Planner plan;
  MessageTopic topic = MessageTopic::scan;
  if (scope == ConfirmScope::duplicates || scope == ConfirmScope::sharing) {
    topic = MessageTopic::duplicates;
    if (scope == ConfirmScope::duplicates) {
      plan = [this] { return duplicates_.plan(); };
    } else {
      plan = [this] { return duplicates_.sharing(); };
    }
  } else if (scope == ConfirmScope::app) {
    topic = MessageTopic::apps;
    plan = [this] { return apps_.plan(); };
  } else {
    std::optional<Finding::Kind> kind = scope ? findingKind(*scope) : std::nullopt;
    if (kind) topic = topicOf(*kind);
    plan = [this, kind] { return scan_.plan(kind); };
  }
  return [plan = std::move(plan), topic] {
    MoveRunner::Plan p = plan();
    p.topic = topic;
    return p;
  };
}

void ScanModel::requestConfirm(std::optional<ConfirmScope> scope) {
  moves_.request(scope, planner(scope));
}

void ScanModel::dismissConfirm() {
  bool askingUninstall =
      moves_.stage() == MoveRunner::Stage::asking && moves_.scope() == ConfirmScope::app;
  moves_.dismiss();
  if (askingUninstall) apps_.setTarget(std::nullopt);
}

void ScanModel::clearFindings(std::optional<ConfirmScope> scope) {
  moves_.run(planner(scope));
}

void ScanModel::clearDuplicates() {
  moves_.run(planner(ConfirmScope::duplicates));
}

void ScanModel::shareDuplicates() {
  moves_.run(planner(ConfirmScope::sharing));
}

void ScanModel::uninstall() {
  if (!apps_.target()) return;
  moves_.run(planner(ConfirmScope::app));
}

void ScanModel::afterMove(const Clearing::Outcome& moves) {
  scan_.moveEnded();
  if (!moves.entries.empty()) reloadCleared();
}

void ScanModel::reloadCleared() {
  clearedEntries_ = ClearedLog::load(context_.places);
  context_.notify(Field::clearedEntries);
}

bool ScanModel::putBack(const ClearedLog::Entry& entry) {
  try {
    ClearedLog::Entry updated = ClearedLog::putBack(entry, context_.places);
    reloadCleared();
    context_.say(texts::cleared::putBack(updated.name), MessageTopic::cleared);
    return true;
  } catch (const std::exception& e) {
    context_.say(e.what(), MessageTopic::cleared);
    return false;
  }
}

bool ScanModel::putBackClear(const std::string& sessionID) {
  ClearedLog::PutBackAllOutcome outcome = ClearedLog::putBackAll(
      ClearedLog::ofClear(ClearedLog::load(context_.places), sessionID), context_.places);
  reloadCleared();
  context_.say(texts::cleared::putBackAll(outcome), MessageTopic::cleared);
  return outcome.stayed.empty();
}

}  // namespace dw
