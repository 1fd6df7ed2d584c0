#include "model/duplicate_flow.h"

#include <algorithm>

#include "base/paths.h"
#include "scanners/duplicates/duplicate_scanner.h"
#include "texts/duplicates.h"
#include "texts/sharing.h"

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
    total = addBytes(total, DuplicateScanner::wastedBytes(group));
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
      if (selected_.count(file.path)) total = addBytes(total, file.bytes);
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
      // What the groups' file systems can share, known before the groups are shown.
      Sharing::Survey survey = Sharing::survey(result.groups, stop);
      throwIfCancelled(stop);
      post([this, result = std::move(result), survey = std::move(survey), scope, search]() mutable {
        finish(std::move(result), std::move(survey), scope, search);
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

void DuplicateFlow::finish(DuplicateScanner::Result result, Sharing::Survey survey,
                           DuplicateScanner::Scope scope, std::uint64_t search) {
  if (!task_.isNewest(search)) return;
  task_.ended();
  survey_ = std::move(survey);
  context_.notify(ModelField::duplicateSharing);
  // The folders these groups came from: a move of their copies checks against them.
  searchedScope_ = scope;
  groups_ = std::move(result.groups);
  context_.notify(ModelField::duplicateGroups);
  skipped_ = std::move(result.skipped);
  context_.notify(ModelField::duplicateSkipped);
  // The copy kept by default is first in each group: it stays until the user chooses another.
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
                               : texts::duplicates::found(extraBytes()),
               MessageTopic::duplicates);
}

void DuplicateFlow::endWithError(bool cancelled, std::uint64_t search) {
  if (!task_.isNewest(search)) return;
  task_.ended();
  scanning_ = false;
  context_.notify(ModelField::duplicatesScanning);
  progress_.reset();
  context_.notify(ModelField::duplicateProgress);
  context_.say(std::string(cancelled ? texts::duplicates::kCancelled : texts::duplicates::kFailed),
               MessageTopic::duplicates);
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

void DuplicateFlow::selectExtraCopies(const std::optional<std::set<std::string>>& among) {
  std::set<std::string> extra = among ? selected_ : std::set<std::string>{};
  for (const auto& group : groups_) {
    auto kept = keepPath_.find(group.hashHex);
    for (const auto& file : group.files) {
      if (among && !among->count(file.path)) continue;
      if (kept == keepPath_.end() || file.path != kept->second) extra.insert(file.path);
    }
  }
  if (extra == selected_) return;
  selected_ = std::move(extra);
  context_.notify(ModelField::duplicateSelected);
}

void DuplicateFlow::selectNone(const std::optional<std::set<std::string>>& among) {
  size_t before = selected_.size();
  if (among) {
    for (const auto& path : *among)
      selected_.erase(path);
  } else {
    selected_.clear();
  }
  if (selected_.size() != before) context_.notify(ModelField::duplicateSelected);
}

std::vector<Clearing::DuplicateCopy> DuplicateFlow::selectedCopyList() const {
  // In the order the groups are shown; a selected path no group holds any more is refused.
  std::vector<Clearing::DuplicateCopy> copies;
  std::set<std::string> placed;
  for (const auto& group : groups_) {
    auto kept = keepPath_.find(group.hashHex);
    for (const auto& file : group.files) {
      if (!selected_.count(file.path) || !placed.insert(file.path).second) continue;
      Clearing::DuplicateCopy copy{file.path, file.bytes,    group.hashHex,
                                   file.path, file.identity, file.identity};
      for (const auto& other : group.files) {
        if (kept != keepPath_.end() && other.path == kept->second) {
          copy.keptPath = other.path;
          copy.keptIdentity = other.identity;
        }
      }
      copies.push_back(std::move(copy));
    }
  }
  for (const auto& path : selected_) {
    if (!placed.count(path)) copies.push_back({path, 0, {}, path, {}, {}});
  }
  return copies;
}

MoveRunner::Plan DuplicateFlow::plan() {
  std::vector<Clearing::DuplicateCopy> copies = selectedCopyList();
  MoveRunner::Plan plan;
  for (const auto& copy : copies) {
    auto group = std::find_if(groups_.begin(), groups_.end(),
                              [&](const auto& g) { return g.hashHex == copy.hashHex; });
    std::string name = group == groups_.end()
                           ? std::string(paths::lastComponent(copy.path))
                           : texts::duplicates::copyName(*group, copy.path, context_.places.home);
    plan.items.push_back(
        {std::move(name), copy.path, copy.bytes, std::string(texts::kCopyKindWord), copy.keptPath});
    plan.bytes = addBytes(plan.bytes, copy.bytes);
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

bool DuplicateFlow::canShare() const {
  return Sharing::canShareAny(groups_, survey_);
}

Sharing::Plan DuplicateFlow::sharePlan() const {
  return Sharing::plan(selectedCopyList(), survey_);
}

MoveRunner::Plan DuplicateFlow::sharing() {
  std::vector<Clearing::DuplicateCopy> copies = selectedCopyList();
  const Sharing::Plan shares = Sharing::plan(copies, survey_);
  MoveRunner::Plan plan;
  plan.kind = texts::MoveKind::share;
  // The question lists the copies that will share, each with what it gives back.
  for (const auto& planned : shares.copies) {
    if (!planned.reason.empty()) continue;
    plan.items.push_back({std::string(paths::lastComponent(planned.copy.path)), planned.copy.path,
                          planned.freeable, std::string(texts::sharing::kKindWord),
                          planned.copy.keptPath});
  }
  plan.bytes = shares.freeable;
  plan.title = texts::sharing::question(shares.sharing);
  plan.staysLine = texts::sharing::staysLine(shares);
  plan.steps = static_cast<int>(copies.size());
  plan.moving = texts::sharing::kSharing;
  plan.nothing = selected_.empty() ? std::string(texts::sharing::kNoCopiesSelected)
                                   : texts::sharing::planSummary(shares);
  // The files a share can change, read again afterwards; the rest of the survey stands.
  std::vector<std::string> files;
  for (const auto& copy : copies) {
    files.push_back(copy.path);
    files.push_back(copy.keptPath);
  }
  plan.work = [this, copies = std::move(copies), files = std::move(files), places = context_.places,
               scope = searchedScope_, before = survey_](
                  std::stop_token stop,
                  const MoveRunner::ReportProgress& report) -> std::function<MoveRunner::Ending()> {
    Sharing::Outcome outcome = Sharing::share(copies, places, scope, stop, report);
    // The groups' files as they are now, for the next review.
    Sharing::Survey survey = before;
    for (auto& [path, facts] : Sharing::survey(files).files)
      survey.files[path] = std::move(facts);
    return [this, outcome = std::move(outcome), survey = std::move(survey)]() mutable {
      endShare(outcome, std::move(survey));
      std::string message = texts::sharing::message(outcome);
      return MoveRunner::Ending{std::move(outcome), std::move(message)};
    };
  };
  return plan;
}

void DuplicateFlow::endShare(const Sharing::Outcome& outcome, Sharing::Survey survey) {
  // Every file stays in its group: a shared copy is still a copy, it only holds no space of its
  // own. What is done leaves the selection: shared now, or sharing already.
  bool deselected = false;
  for (const auto& path : outcome.sharedPaths)
    deselected = selected_.erase(path) > 0 || deselected;
  for (const auto& planned : Sharing::plan(selectedCopyList(), survey).copies) {
    if (planned.reason == Sharing::kAlreadySharing)
      deselected = selected_.erase(planned.copy.path) > 0 || deselected;
  }
  if (deselected) context_.notify(ModelField::duplicateSelected);
  survey_ = std::move(survey);
  context_.notify(ModelField::duplicateSharing);
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
