// The duplicate flow of the model: the search, the choice of the copy to keep, and the clear of
// the extra copies.

#include <cstdio>
#include <cstdlib>

#include "findings/size_text.h"
#include "model/scan_model.h"
#include "scanners/duplicates/duplicate_scanner.h"

namespace dw {

namespace {

bool underTestHost() {
  return std::getenv("XCTestConfigurationFilePath") != nullptr;
}

std::int64_t totalWaste(const std::vector<DuplicateScanner::Group>& groups) {
  std::int64_t total = 0;
  for (const auto& group : groups) {
    if (__builtin_add_overflow(total, DuplicateScanner::wastedBytes(group), &total)) {
      std::fputs("dustwhale: duplicate waste overflow\n", stderr);
      std::abort();
    }
  }
  return total;
}

}  // namespace

void ScanModel::setDuplicateScope(DuplicateScanner::Scope scope) {
  duplicateScope_ = scope;
  notify(Field::duplicateScope);
}

void ScanModel::findDuplicates() {
  if (underTestHost()) return;
  if (duplicateTask_) duplicateTask_->cancel();
  std::uint64_t search = ++duplicateSearch_;
  duplicatesScanning_ = true;
  notify(Field::duplicatesScanning);
  duplicateProgress_ = "Looking for duplicates…";
  notify(Field::duplicateProgress);

  duplicateTask_ = dispatcher_.start([this, search, places = places_, scope = duplicateScope_,
                                      post = poster()](std::stop_token stop) {
    auto progress = [&](const std::string& text) {
      post([this, text, search] {
        if (search != duplicateSearch_ || !duplicatesScanning_) return;
        duplicateProgress_ = text;
        notify(Field::duplicateProgress);
      });
    };
    try {
      DuplicateScanner::Result result = DuplicateScanner::scan(places, scope, stop, progress);
      // What the groups' file systems can share, known before the groups are shown.
      Sharing::Survey survey = Sharing::survey(result.groups, stop);
      throwIfCancelled(stop);
      post([this, survey = std::move(survey), search]() mutable {
        if (search != duplicateSearch_) return;
        duplicateSurvey_ = std::move(survey);
        notify(Field::duplicateSharing);
      });
      post([this, result = std::move(result), search, scope]() mutable {
        // The folders these groups came from: a clear of their copies checks against them.
        if (search == duplicateSearch_) duplicateSearchedScope_ = scope;
        finishDuplicates(std::move(result), search);
      });
    } catch (const Cancelled&) {
      post([this, search] { endDuplicatesWithError(true, search); });
    } catch (...) {
      post([this, search] { endDuplicatesWithError(false, search); });
    }
  });
}

void ScanModel::cancelDuplicates() {
  if (duplicateTask_) duplicateTask_->cancel();
}

void ScanModel::finishDuplicates(DuplicateScanner::Result result, std::uint64_t search) {
  if (search != duplicateSearch_) return;
  duplicateTask_.reset();
  duplicateGroups_ = std::move(result.groups);
  notify(Field::duplicateGroups);
  duplicateSkipped_ = std::move(result.skipped);
  notify(Field::duplicateSkipped);
  // The newest copy is first in each group: it is the one kept until the user chooses.
  duplicateKeepPath_.clear();
  for (const auto& group : duplicateGroups_) {
    if (!group.files.empty()) duplicateKeepPath_[group.hashHex] = group.files.front().path;
  }
  notify(Field::duplicateKeepPath);
  duplicateSelected_.clear();
  notify(Field::duplicateSelected);
  duplicatesScanning_ = false;
  notify(Field::duplicatesScanning);
  duplicateProgress_.reset();
  notify(Field::duplicateProgress);
  message_ = duplicateGroups_.empty()
                 ? "No duplicates found in the chosen folders."
                 : "Up to " + sizeText(totalWaste(duplicateGroups_)) +
                       " in extra copies. At least one copy of each file stays.";
  notify(Field::message);
}

void ScanModel::endDuplicatesWithError(bool cancelled, std::uint64_t search) {
  if (search != duplicateSearch_) return;
  duplicateTask_.reset();
  duplicatesScanning_ = false;
  notify(Field::duplicatesScanning);
  duplicateProgress_.reset();
  notify(Field::duplicateProgress);
  message_ =
      cancelled ? "Duplicate scan cancelled." : "Duplicate scan could not finish. Try again.";
  notify(Field::message);
}

void ScanModel::keepCopy(const std::string& hashHex, const std::string& path) {
  for (const auto& group : duplicateGroups_) {
    if (group.hashHex != hashHex) continue;
    for (const auto& file : group.files) {
      if (file.path != path) continue;
      duplicateKeepPath_[hashHex] = path;
      notify(Field::duplicateKeepPath);
      if (duplicateSelected_.erase(path) > 0) notify(Field::duplicateSelected);
      return;
    }
  }
}

void ScanModel::setDuplicateSelected(const std::string& path, bool on) {
  bool changed = on ? duplicateSelected_.insert(path).second : duplicateSelected_.erase(path) > 0;
  if (changed) notify(Field::duplicateSelected);
}

void ScanModel::selectExtraCopies() {
  std::set<std::string> extra;
  for (const auto& group : duplicateGroups_) {
    auto kept = duplicateKeepPath_.find(group.hashHex);
    for (const auto& file : group.files) {
      if (kept == duplicateKeepPath_.end() || file.path != kept->second) extra.insert(file.path);
    }
  }
  duplicateSelected_ = std::move(extra);
  notify(Field::duplicateSelected);
}

void ScanModel::clearDuplicates() {
  if (duplicateSelected_.empty()) {
    message_ = "Select extra copies to clear first. One copy of each file stays.";
    notify(Field::message);
    return;
  }
  std::vector<Clearing::DuplicateCopy> copies = selectedDuplicateCopies();
  int count = static_cast<int>(copies.size());  // counted before the work takes them
  startMoving("Moving extra copies to the Trash.", count,
              [this, copies = std::move(copies), places = places_, scope = duplicateSearchedScope_](
                  std::stop_token stop, const auto& onProgress) -> std::function<void()> {
                Clearing::Outcome outcome =
                    Clearing::clearDuplicates(copies, places, scope, stop, onProgress);
                return [this, outcome = std::move(outcome)]() mutable {
                  finishDuplicateClear(std::move(outcome));
                };
              });
}

std::vector<Clearing::DuplicateCopy> ScanModel::selectedDuplicateCopies() const {
  // In the order the groups are shown; a selected path no group holds any more is refused.
  std::vector<Clearing::DuplicateCopy> copies;
  std::set<std::string> placed;
  for (const auto& group : duplicateGroups_) {
    auto kept = duplicateKeepPath_.find(group.hashHex);
    for (const auto& file : group.files) {
      if (!duplicateSelected_.count(file.path) || !placed.insert(file.path).second) continue;
      Clearing::DuplicateCopy copy{file.path, file.bytes,    group.hashHex,
                                   file.path, file.identity, file.identity};
      for (const auto& other : group.files) {
        if (kept != duplicateKeepPath_.end() && other.path == kept->second) {
          copy.keptPath = other.path;
          copy.keptIdentity = other.identity;
        }
      }
      copies.push_back(std::move(copy));
    }
  }
  for (const auto& path : duplicateSelected_) {
    if (!placed.count(path)) copies.push_back({path, 0, {}, path, {}, {}});
  }
  return copies;
}

void ScanModel::finishDuplicateClear(Clearing::Outcome outcome) {
  std::set<std::string> moved(outcome.movedIds.begin(), outcome.movedIds.end());
  if (!moved.empty()) {
    for (auto& group : duplicateGroups_) {
      std::erase_if(group.files, [&](const auto& f) { return moved.count(f.path) > 0; });
    }
    // A group with one copy left is no longer a duplicate.
    std::erase_if(duplicateGroups_, [&](const auto& group) {
      if (group.files.size() >= 2) return false;
      duplicateKeepPath_.erase(group.hashHex);
      return true;
    });
    notify(Field::duplicateGroups);
    notify(Field::duplicateKeepPath);
    for (const auto& path : moved)
      duplicateSelected_.erase(path);
    notify(Field::duplicateSelected);
  }
  endMoving(outcome,
            Clearing::duplicatesMessage(outcome, places_.layout == Locations::Layout::linux));
}

}  // namespace dw
