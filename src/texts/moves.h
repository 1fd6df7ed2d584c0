#pragma once
// The texts of every move to the Trash, whatever moves (findings, extra copies, an app): the
// question and what it lists, the progress, the status line while it runs, the outcome, and the
// command line's listing before it asks.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "clearing/clearing.h"
#include "clearing/uninstalling.h"
#include "texts/wording.h"

namespace dw::texts {

// One item the question lists.
struct MoveItem {
  std::string name;                   // as the question names it
  std::string path;                   // where it is now
  std::optional<std::int64_t> bytes;  // nothing for an item that was never measured
  std::string kindWord;               // "cache", "extra copy", "app data", ...
  std::string keptPath;               // an extra copy: its group's copy that stays
  bool operator==(const MoveItem&) const = default;
};
inline constexpr std::string_view kCopyKindWord = "extra copy";
inline constexpr std::string_view kAppKindWord = "app";
inline constexpr std::string_view kAppDataKindWord = "app data";

// "Move 3 items to the Trash?"
std::string confirmTitle(std::int64_t count);
// "Move Foo and 3 related items to the Trash?", "Move Foo to the Trash?"
std::string uninstallTitle(std::string_view name, std::int64_t relatedCount);
// How many items the question lists before "Show all".
inline constexpr int kConfirmListed = 6;
// "Show all 40 items"
std::string showAllText(std::int64_t count);
// "25 more"
std::string moreText(std::int64_t notListed);
inline constexpr std::string_view kConfirmPutBackLine =
    "Everything can be put back from Recently Cleared.";
// "Space comes back when you empty the Trash. We never empty it for you."
std::string emptyLine(const Wording& wording);
inline constexpr std::string_view kConfirmKeysHint = "Return and Esc both cancel.";

// What a question's answer does with what it lists: moves it to the Trash, or (a share of extra
// copies) makes each use its kept copy's blocks, every file staying where it is. The rest of the
// question's words follow from it.
enum class MoveKind { toTrash, share };
struct QuestionWords {
  std::string symbol;       // the question's icon: "trash", a share's "square.on.square"
  std::string action;       // its button: "Move to Trash", "Share copies"
  std::string putBackLine;  // its two reassurances
  std::string emptyLine;
  // The command line's words when nothing happens: a dry run, no terminal to ask on, a "no".
  std::string dryRun, noTerminal, answeredNo;
};
QuestionWords questionWords(MoveKind kind, const Wording& wording);
// Beside the question's title: what would move ("12 MB"), or what a share gives back ("About
// 12 MB back").
std::string questionSize(MoveKind kind, std::int64_t bytes);

// "3 of 12"
std::string progressText(int done, int total);
// "3 of 12 · item", or "3 of 12" before the first item
std::string progressLine(int done, int total, std::string_view current);

// The status line while a move runs, or why it does not start.
inline constexpr std::string_view kMovingFindings = "Moving the selected items to the Trash.";
inline constexpr std::string_view kNothingSelected = "Select something to clear first.";
inline constexpr std::string_view kMovingCopies = "Moving extra copies to the Trash.";
inline constexpr std::string_view kNoCopiesSelected =
    "Select extra copies to clear first. One copy of each file stays.";
std::string movingApp(std::string_view name);
inline constexpr std::string_view kStopping = "Stopping after the current item…";

// The status line a move ends with.
// "Some items stayed in place: a (reason), b (reason)." or "" when nothing failed.
std::string failureSummary(const std::vector<Clearing::Failure>& failures);
// A clear of findings.
std::string clearMessage(const Clearing::Outcome& outcome, const Wording& wording);
// A clear of extra copies: "Up to" what moved, since copies may share storage.
std::string copiesMessage(const Clearing::Outcome& outcome, const Wording& wording);
// An uninstall: "Some items stayed in place: a; b. 12 MB moved to the Trash. ..."
std::string uninstallMessage(const Clearing::UninstallOutcome& outcome, const Wording& wording);
// Added when the log could not record what moved.
std::string logProblem(std::string_view what);

// The command line's listing of what a move would take, heading first. Names and paths are
// used as given: the caller makes them safe to print.
// "To move to the Trash: 3 items · 80 MB", then "  name · size · kind" per item.
std::vector<std::string> toMoveFindings(const std::vector<MoveItem>& items, std::int64_t bytes);
// "To move to the Trash: 3 copies · 5 MB", then per group "  keep  <kept>" and "  move  <copy>".
std::vector<std::string> toMoveCopies(const std::vector<MoveItem>& items, std::int64_t bytes);
// "To move to the Trash: Foo · 12 MB", then "  <path> · size" for the app and each item.
std::vector<std::string> toMoveApp(const std::vector<MoveItem>& items, std::int64_t bytes);

}  // namespace dw::texts
