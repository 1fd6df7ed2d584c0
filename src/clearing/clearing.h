#pragma once
// The clearing pipeline: each selected finding is checked again against the rules that let it
// be listed, then moved to the Trash, one at a time, in order. Nothing is deleted; what no
// longer passes stays where it is and is named in the result.

#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "clearing/cleared_log.h"
#include "findings/finding.h"
#include "platform/locations.h"
#include "platform/workspace.h"
#include "scanners/duplicates/duplicate_types.h"

namespace dw::Clearing {

inline constexpr std::string_view kNoLongerAllowed = "no longer allowed";
inline constexpr std::string_view kChromeIsOpen = "Chrome is open";
inline constexpr std::string_view kInstalledAgain = "App is installed again";

struct Failure {
  std::string name;
  std::string reason;
  bool operator==(const Failure&) const = default;
};

struct Outcome {
  std::string sessionID;
  std::vector<ClearedLog::Entry> entries;  // one per moved item (per moved path of a leftover)
  std::vector<std::string> movedIds;       // findings of which something moved
  std::int64_t movedBytes = 0;
  std::vector<Failure> failures;
  std::vector<std::string> notes;
  bool stopped = false;
};

struct Progress {
  int done = 0;
  int total = 0;
  std::string current;
};

struct MoveRequest {
  std::string path;        // the item to move (never followed if a symlink)
  std::int64_t bytes = 0;  // what the log records for it
  std::string kind;        // "cache", "file", "leftover", "duplicate", "app", "app-data"
  std::string name;        // the finding's display name
};
struct MoveFailure {
  std::string reason;             // the system's text, e.g. "Permission denied"
  bool permissionDenied = false;  // EACCES/EPERM, or a parent folder the user may not write
};
// Moves one item to the Trash under outcome.sessionID and records it durably (journal before and
// after the rename). On success appends the ClearedLog::Entry to outcome.entries, adds bytes to
// outcome.movedBytes and returns nullopt; otherwise returns why the item stayed (outcome
// unchanged). The program's own ground (a Trash, the log's folder, the settings) never moves:
// that is refused as "no longer allowed".
std::optional<MoveFailure> moveOne(const MoveRequest& request, const Locations& places,
                                   Outcome& outcome);

// Re-checks and moves every item. A stop request is honoured before the next item (and, in a
// leftover, before the next path): the one in hand always finishes.
Outcome clearFindings(const std::vector<Finding>& items, const Locations& places,
                      const platform::Workspace& workspace, std::stop_token stop,
                      const std::function<void(const Progress&)>& onProgress = {});

// One extra copy of a duplicate group, as the model hands it to the clear.
struct DuplicateCopy {
  std::string path;
  std::int64_t bytes = 0;
  std::string hashHex;   // its group's
  std::string keptPath;  // the group's copy that stays
};

// Moves the extra copies, in order, each re-checked just before: still a copy the search
// would list in scope, of the group's size and content, while the kept copy is still there
// with that content; the kept copy itself never moves. A refused copy is named with "no longer
// allowed". Entries have kind "duplicate". A stop request is honoured before the next copy.
Outcome clearDuplicates(const std::vector<DuplicateCopy>& copies, const Locations& places,
                        DuplicateScanner::Scope scope, std::stop_token stop,
                        const std::function<void(const Progress&)>& onProgress = {});
// Adds byte counts that cannot overflow in practice; an overflow is a programming error and
// ends the program rather than showing a wrong amount.
std::int64_t addBytes(std::int64_t a, std::int64_t b);

}  // namespace dw::Clearing
