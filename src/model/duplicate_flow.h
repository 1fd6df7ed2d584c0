#pragma once
// The duplicate search: the folders it searches, its progress, the groups it found with the
// copy kept of each and the extra copies chosen, and the two ways to get their space back: the
// move of those copies to the Trash, and, on file systems that can, a share, where each copy
// uses its kept copy's blocks and stays where it is. The search runs off the model's thread; a
// new one replaces a running one, whose results never appear.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "clearing/sharing.h"
#include "model/flow_context.h"
#include "model/move_runner.h"
#include "scanners/duplicates/duplicate_types.h"

namespace dw {

class DuplicateFlow {
 public:
  explicit DuplicateFlow(FlowContext& context) : context_(context) {}
  DuplicateFlow(const DuplicateFlow&) = delete;
  DuplicateFlow& operator=(const DuplicateFlow&) = delete;

  const std::vector<DuplicateScanner::Group>& groups() const { return groups_; }
  // Group hash → the path of its copy that stays.
  const std::map<std::string, std::string>& keepPath() const { return keepPath_; }
  const std::set<std::string>& selected() const { return selected_; }
  DuplicateScanner::Scope scope() const { return scope_; }
  const std::optional<std::string>& progress() const { return progress_; }
  bool scanning() const { return scanning_; }
  const std::vector<std::string>& skipped() const { return skipped_; }
  bool running() const { return task_.running(); }

  // The figures of the groups: every copy but one of each group and the bytes they take, and
  // the selected copies of the groups and theirs (sums are overflow-checked).
  std::int64_t extraCopies() const;
  std::int64_t extraBytes() const;
  std::int64_t selectedCopies() const;
  std::int64_t selectedBytes() const;
  // The copy that stays of a group: the one chosen, else the one kept by default (the first).
  const std::string& keptPath(const DuplicateScanner::Group& group) const;

  void setScope(DuplicateScanner::Scope scope);
  // Searches scope; false under a test host, where nothing starts by itself.
  bool find();
  void cancel();
  // The chosen copy (a file of the group) becomes the one kept and leaves the selection.
  void keepCopy(const std::string& hashHex, const std::string& path);
  void setSelected(const std::string& path, bool on);
  // Every copy but the kept one of each group, or none; given the paths a page shows, only
  // those of them (a search's hidden rows keep their choice).
  void selectExtraCopies(const std::optional<std::set<std::string>>& among = std::nullopt);
  void selectNone(const std::optional<std::set<std::string>>& among = std::nullopt);
  // The move of the selected copies; the kept copy of a group never moves.
  MoveRunner::Plan plan();

  // What the search's files can share, read with each search: whether some group can share
  // (the share is offered only then), and what sharing the selected copies would do and free.
  const Sharing::Survey& survey() const { return survey_; }
  bool canShare() const;
  Sharing::Plan sharePlan() const;
  // The share of the selected copies, a move of its own kind: nothing goes to the Trash (a Mac:
  // the files the clones replace do). Copies shared, or sharing already, leave the selection.
  MoveRunner::Plan sharing();

 private:
  // The selected copies in the order the groups are shown, each with its group's kept copy and
  // both identities as the search listed them.
  std::vector<Clearing::DuplicateCopy> selectedCopyList() const;
  void finish(DuplicateScanner::Result result, Sharing::Survey survey,
              DuplicateScanner::Scope scope, std::uint64_t search);
  void endWithError(bool cancelled, std::uint64_t search);
  void removeMoved(const Clearing::Outcome& outcome);
  void endShare(const Sharing::Outcome& outcome, Sharing::Survey survey);

  FlowContext& context_;
  std::vector<DuplicateScanner::Group> groups_;
  std::map<std::string, std::string> keepPath_;
  std::set<std::string> selected_;
  DuplicateScanner::Scope scope_ = DuplicateScanner::Scope::all();
  std::optional<std::string> progress_;
  bool scanning_ = false;
  std::vector<std::string> skipped_;
  Sharing::Survey survey_;
  // The folders the shown groups came from, which a move of their copies re-checks against.
  DuplicateScanner::Scope searchedScope_;
  LatestTask task_;
};

}  // namespace dw
