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
#include "platform/trash.h"
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
  // The item as it was listed, measured or hashed. Whatever else stands at path stays; an item
  // without a known identity never moves.
  FileIdentity identity;
  // More checks of the very item that moves, read through the folder held open for the move (a
  // copy's content, a large file's size): false keeps it in place. It may set the bytes the log
  // records to what it measured.
  std::function<bool(const platform::ItemAt& item, std::int64_t& bytes)> verify;
};
struct MoveFailure {
  std::string reason;             // the system's text, e.g. "Permission denied"
  bool permissionDenied = false;  // EACCES/EPERM, or a parent folder the user may not write
};
// Moves one item to the Trash under outcome.sessionID and records it durably (journal before and
// after the rename). On success appends the ClearedLog::Entry to outcome.entries, adds bytes to
// outcome.movedBytes and returns nullopt; otherwise returns why the item stayed (outcome
// unchanged). Refused as "no longer allowed": the program's own ground (a Trash, the log's
// folder, the settings), an item in a place of the user's that may not be used (another user's,
// or one that others may write), and an item that is not the one listed or fails verify. The
// parent folder is opened once, from the user's place without following a link below it, and
// every check and the rename work on that descriptor. Nothing moves at all in a home of another
// user (Ownership::refusalToMove).
std::optional<MoveFailure> moveOne(const MoveRequest& request, const Locations& places,
                                   Outcome& outcome);

// An item measured just before it moves: its identity (which the move then checks) and its size
// on disk; nullopt when it is missing or was replaced while it was measured.
struct Measured {
  FileIdentity identity;
  std::int64_t bytes = 0;
};
std::optional<Measured> measureForMove(const std::string& path);

// Re-checks and moves every item. A stop request is honoured before the next item (and, in a
// leftover, before the next path): the one in hand always finishes.
Outcome clearFindings(const std::vector<Finding>& items, const Locations& places,
                      const platform::Workspace& workspace, std::stop_token stop,
                      const std::function<void(const Progress&)>& onProgress = {});

// One extra copy of a duplicate group, as the model hands it to the clear.
struct DuplicateCopy {
  std::string path;
  std::int64_t bytes = 0;
  std::string hashHex;        // its group's
  std::string keptPath;       // the group's copy that stays
  FileIdentity identity;      // the copy's, as the search listed it
  FileIdentity keptIdentity;  // the kept copy's
};

// Moves the extra copies, in order, each re-checked just before: still a copy the search
// would list in scope, the very file listed, of the group's size and content (hashed through
// the descriptor it is moved from), while the kept copy is still there, another file than this
// one, the one listed and of that content, checked again before every move; the kept copy
// itself never moves. A refused copy is named with "no longer allowed". Entries have kind
// "duplicate". A stop request is honoured before the next copy (or while a copy is read).
Outcome clearDuplicates(const std::vector<DuplicateCopy>& copies, const Locations& places,
                        DuplicateScanner::Scope scope, std::stop_token stop,
                        const std::function<void(const Progress&)>& onProgress = {});

}  // namespace dw::Clearing
