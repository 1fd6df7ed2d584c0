#include "model/duplicate_flow.h"

#include "base/paths.h"
#include "scanners/duplicates/duplicate_scanner.h"
#include "texts/duplicates.h"

namespace dw {

std::int64_t DuplicateFlow::extraCopies() const {
  std::int64_t copies = 0;
  for (const auto& group : groups_)
    copies += static_cast<std::int64_t>(group.files.size()) - 1;
  return copies;
}

std::int64_t DuplicateFlow::extraBytes() const {
  std::int64_t total = 0;
  for (const auto& group : groups_)
    total = Clearing::addBytes(total, DuplicateScanner::wastedBytes(group));
  return total;
}

std::int64_t DuplicateFlow::selectedCopies() const {
  std::int64_t copies = 0;
  for (const auto& group : groups_) {
    for (const auto& file : group.files)
      copies += selected_.count(file.path) ? 1 : 0;
  }
  return copies;
}

std::int64_t DuplicateFlow::selectedBytes() const {
  std::int64_t total = 0;
  for (const auto& group : groups_) {
    for (const auto& file : group.files) {
      if (selected_.count(file.path)) total = Clearing::addBytes(total, file.bytes);
    }
  }
  return total;
}

const std::string& DuplicateFlow::keptPath(const DuplicateScanner::Group& group) const {
  auto kept = keepPath_.find(group.hashHex);
  return kept == keepPath_.end() ? group.files.front().path : kept->second;
}

void DuplicateFlow::setScope(DuplicateScanner::Scope scope) {
  scope_ = scope;
  context_.notify(ModelField::duplicateScope);
}

bool DuplicateFlow::find() {
  if (FlowContext::underTestHost()) return false;
  std::uint64_t search = task_.begin();
  scanning_ = true;
  context_.notify(ModelField::duplicatesScanning);
  progress_ = std::string(texts::duplicates::kLooking);
  context_.notify(ModelField::duplicateProgress);

  task_.run(context_.dispatcher.start([this, search, places = context_.places, scope = scope_,
                                       post = context_.poster()](std::stop_token stop) {
    auto progress = [&](const std::string& text) {
      post([this, text, search] {
        if (!task_.isNewest(search) || !scanning_) return;
        progress_ = text;
        context_.notify(ModelField::duplicateProgress);
      });
    };
    try {
      DuplicateScanner::Result result = DuplicateScanner::scan(places, scope, stop, progress);
      post([this, result = std::move(result), scope, search]() mutable {
        finish(std::move(result), scope, search);
      });
    } catch (const Cancelled&) {
      post([this, search] { endWithError(true, search); });
    } catch (...) {
      post([this, search] { endWithError(false, search); });
    }
  }));
  return true;
}

void DuplicateFlow::cancel() {
  task_.cancel();
}

void DuplicateFlow::finish(DuplicateScanner::Result result, DuplicateScanner::Scope scope,
                           std::uint64_t search) {
  if (!task_.isNewest(search)) return;
  task_.ended();
  // The folders these groups came from: a move of their copies checks against them.
  searchedScope_ = scope;
  groups_ = std::move(result.groups);
  context_.notify(ModelField::duplicateGroups);
  skipped_ = std::move(result.skipped);
  context_.notify(ModelField::duplicateSkipped);
  // The newest copy is first in each group: it is the one kept until the user chooses.
  keepPath_.clear();
  for (const auto& group : groups_) {
    if (!group.files.empty()) keepPath_[group.hashHex] = group.files.front().path;
  }
  context_.notify(ModelField::duplicateKeepPath);
  selected_.clear();
  context_.notify(ModelField::duplicateSelected);
  scanning_ = false;
  context_.notify(ModelField::duplicatesScanning);
  progress_.reset();
  context_.notify(ModelField::duplicateProgress);
  context_.say(groups_.empty() ? std::string(texts::duplicates::kNoneFound)
                               : texts::duplicates::found(extraBytes()));
}

void DuplicateFlow::endWithError(bool cancelled, std::uint64_t search) {
  if (!task_.isNewest(search)) return;
  task_.ended();
  scanning_ = false;
  context_.notify(ModelField::duplicatesScanning);
  progress_.reset();
  context_.notify(ModelField::duplicateProgress);
  context_.say(std::string(cancelled ? texts::duplicates::kCancelled : texts::duplicates::kFailed));
}

void DuplicateFlow::keepCopy(const std::string& hashHex, const std::string& path) {
  for (const auto& group : groups_) {
    if (group.hashHex != hashHex) continue;
    for (const auto& file : group.files) {
      if (file.path != path) continue;
      keepPath_[hashHex] = path;
      context_.notify(ModelField::duplicateKeepPath);
      if (selected_.erase(path) > 0) context_.notify(ModelField::duplicateSelected);
      return;
    }
  }
}

void DuplicateFlow::setSelected(const std::string& path, bool on) {
  bool changed = on ? selected_.insert(path).second : selected_.erase(path) > 0;
  if (changed) context_.notify(ModelField::duplicateSelected);
}

void DuplicateFlow::selectExtraCopies() {
  std::set<std::string> extra;
  for (const auto& group : groups_) {
    auto kept = keepPath_.find(group.hashHex);
    for (const auto& file : group.files) {
      if (kept == keepPath_.end() || file.path != kept->second) extra.insert(file.path);
    }
  }
  selected_ = std::move(extra);
  context_.notify(ModelField::duplicateSelected);
}

void DuplicateFlow::selectNone() {
  if (selected_.empty()) return;
  selected_.clear();
  context_.notify(ModelField::duplicateSelected);
}

MoveRunner::Plan DuplicateFlow::plan() {
  // In the order the groups are shown; a selected path no group holds any more is refused.
  std::vector<Clearing::DuplicateCopy> copies;
  std::set<std::string> placed;
  for (const auto& group : groups_) {
    auto kept = keepPath_.find(group.hashHex);
    for (const auto& file : group.files) {
      if (!selected_.count(file.path) || !placed.insert(file.path).second) continue;
      copies.push_back({file.path, file.bytes, group.hashHex,
                        kept == keepPath_.end() ? file.path : kept->second});
    }
  }
  for (const auto& path : selected_) {
    if (!placed.count(path)) copies.push_back({path, 0, {}, path});
  }

  MoveRunner::Plan plan;
  for (const auto& copy : copies) {
    plan.items.push_back({std::string(paths::lastComponent(copy.path)), copy.path, copy.bytes,
                          std::string(texts::kCopyKindWord), copy.keptPath});
    plan.bytes = Clearing::addBytes(plan.bytes, copy.bytes);
  }
  plan.title = texts::confirmTitle(static_cast<std::int64_t>(copies.size()));
  plan.moving = texts::kMovingCopies;
  plan.nothing = texts::kNoCopiesSelected;
  plan.work = [this, copies = std::move(copies), places = context_.places, scope = searchedScope_](
                  std::stop_token stop,
                  const MoveRunner::ReportProgress& report) -> std::function<MoveRunner::Ending()> {
    Clearing::Outcome outcome = Clearing::clearDuplicates(copies, places, scope, stop, report);
    return [this, outcome = std::move(outcome)]() mutable {
      removeMoved(outcome);
      std::string message = texts::copiesMessage(outcome, context_.wording);
      return MoveRunner::Ending{std::move(outcome), std::move(message)};
    };
  };
  return plan;
}

void DuplicateFlow::removeMoved(const Clearing::Outcome& outcome) {
  std::set<std::string> moved(outcome.movedIds.begin(), outcome.movedIds.end());
  if (moved.empty()) return;
  for (auto& group : groups_) {
    std::erase_if(group.files, [&](const auto& f) { return moved.count(f.path) > 0; });
  }
  // A group with one copy left is no longer a duplicate.
  std::erase_if(groups_, [&](const auto& group) {
    if (group.files.size() >= 2) return false;
    keepPath_.erase(group.hashHex);
    return true;
  });
  context_.notify(ModelField::duplicateGroups);
  context_.notify(ModelField::duplicateKeepPath);
  for (const auto& path : moved)
    selected_.erase(path);
  context_.notify(ModelField::duplicateSelected);
}

}  // namespace dw
