#include "clearing/clearing.h"

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <system_error>

#include "base/paths.h"
#include "base/uuid.h"
#include "measure/disk_sizer.h"
#include "platform/own_ground.h"
#include "platform/trash.h"
#include "scanners/caches/cache_scanner.h"
#include "scanners/duplicates/duplicate_scanner.h"
#include "scanners/largefiles/large_files_scanner.h"
#include "scanners/leftovers/leftover_scanner.h"

namespace dw::Clearing {

std::int64_t addBytes(std::int64_t a, std::int64_t b) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) {
    std::fputs("dustwhale: byte count overflow\n", stderr);
    std::abort();
  }
  return sum;
}

namespace {

std::string absolutePath(const std::string& path) {
  if (!path.empty() && path.front() == '/') return paths::standardize(path);
  char cwd[PATH_MAX];
  if (!::getcwd(cwd, sizeof cwd)) return path;
  return paths::standardize(paths::join(cwd, path));
}

// A cache or a large file: one path, re-checked against the scanner's own listing rules.
void clearPathItem(const Finding& item, const Locations& places,
                   const platform::Workspace& workspace, Outcome& outcome) {
  const std::string& path = item.id;
  bool isFile = item.kind == Finding::Kind::file;
  bool allowed = isFile ? LargeFilesScanner::isAllowedLocation(path, places)
                        : CacheScanner::isListableCache(path, places);
  if (!allowed) {
    outcome.failures.push_back({item.name, std::string(kNoLongerAllowed)});
    return;
  }
  if (!isFile && CacheScanner::isChromeFinding(item, places) &&
      CacheScanner::isChromeRunning(workspace)) {
    outcome.failures.push_back({item.name, std::string(kChromeIsOpen)});
    return;
  }
  MoveRequest request{path, item.bytes, isFile ? "file" : "cache", item.name};
  if (std::optional<MoveFailure> failure = moveOne(request, places, outcome)) {
    outcome.failures.push_back({item.name, failure->reason});
    return;
  }
  outcome.movedIds.push_back(item.id);
}

// A leftover: every path of the vanished app, each re-checked on its own.
void clearLeftover(const Finding& item, const Locations& places,
                   const platform::Workspace& workspace, std::stop_token stop, Outcome& outcome) {
  std::string bundleID =
      item.id.substr(item.id.rfind(kLeftoverIdPrefix, 0) == 0 ? kLeftoverIdPrefix.size() : 0);
  if (LeftoverScanner::isAccountedFor(bundleID,
                                      LeftoverScanner::installedBundleIDs(places, workspace))) {
    outcome.failures.push_back({item.name, std::string(kInstalledAgain)});
    return;
  }
  size_t moved = 0;
  size_t notAllowed = 0;
  for (const std::string& path : item.leftoverPaths) {
    if (stop.stop_requested()) {
      outcome.stopped = true;
      break;
    }
    std::int64_t bytes = DiskSizer::measure(path).bytes;
    if (!LeftoverScanner::stillBelongsTo(path, bundleID, places)) {
      ++notAllowed;
      continue;
    }
    if (std::optional<MoveFailure> failure =
            moveOne({path, bytes, "leftover", item.name}, places, outcome)) {
      outcome.failures.push_back({item.name, failure->reason});
      continue;
    }
    ++moved;
  }
  if (moved > 0) outcome.movedIds.push_back(item.id);
  if (notAllowed > 0) {
    size_t total = item.leftoverPaths.size();
    outcome.notes.push_back(item.name + ": " + std::to_string(moved) + " of " +
                            std::to_string(total) + " " + (total == 1 ? "item" : "items") +
                            " moved (" + std::to_string(notAllowed) + " no longer allowed)");
  }
}

}  // namespace

std::optional<MoveFailure> moveOne(const MoveRequest& request, const Locations& places,
                                   Outcome& outcome) {
  if (OwnGround::excludes(request.path, places)) return MoveFailure{std::string(kNoLongerAllowed)};
  ClearedLog::Entry planned;
  planned.id = newUuid();
  planned.sessionID = outcome.sessionID.empty() ? newUuid() : outcome.sessionID;
  planned.originalPath = absolutePath(request.path);
  planned.bytes = request.bytes;
  planned.kind = request.kind;
  planned.name = request.name;
  planned.date = Clock::now();
  try {
    // Holds the log's lock for this one move: no other process's recovery runs meanwhile.
    ClearedLog::Journal journal(places);
    platform::TrashMove move =
        platform::moveToTrash(request.path, [&](const std::string& trashPath) {
          planned.trashPath = trashPath;
          return journal.intendMove(planned);  // nothing moves without its intent on disk
        });
    // The result is a shortcut for the next start; without it the Trash itself tells.
    journal.recordMove(planned.id, move.ok());
    if (!move.ok()) return MoveFailure{move.error, move.permissionDenied};
    planned.trashPath = move.trashPath;
  } catch (const std::system_error& e) {
    // The journal cannot be opened: nothing moved, since nothing could be recorded.
    bool denied =
        e.code() == std::errc::permission_denied || e.code() == std::errc::operation_not_permitted;
    return MoveFailure{e.code().message(), denied};
  }
  if (outcome.sessionID.empty()) outcome.sessionID = planned.sessionID;
  outcome.entries.push_back(planned);
  outcome.movedBytes = addBytes(outcome.movedBytes, request.bytes);
  return std::nullopt;
}

namespace {

// Whether the copy may still go: a copy the search would list, with the group's content, while
// the kept copy is still in place with that same content (checked once per group and clear).
bool copyMayMove(const DuplicateCopy& copy, const Locations& places, DuplicateScanner::Scope scope,
                 std::stop_token stop, std::map<std::string, bool>& keptHolds) {
  if (paths::standardize(copy.path) == paths::standardize(copy.keptPath)) return false;
  auto matches = [&](const std::string& path) {
    if (!DuplicateScanner::isListableCopy(path, copy.bytes, places, scope)) return false;
    try {
      return DuplicateScanner::fullDigest(path, stop) == copy.hashHex;
    } catch (const std::system_error&) {
      return false;
    }
  };
  auto kept = keptHolds.find(copy.keptPath);
  if (kept == keptHolds.end())
    kept = keptHolds.emplace(copy.keptPath, matches(copy.keptPath)).first;
  return kept->second && matches(copy.path);
}

}  // namespace

Outcome clearDuplicates(const std::vector<DuplicateCopy>& copies, const Locations& places,
                        DuplicateScanner::Scope scope, std::stop_token stop,
                        const std::function<void(const Progress&)>& onProgress) {
  Outcome outcome;
  outcome.sessionID = newUuid();
  std::map<std::string, bool> keptHolds;
  int total = static_cast<int>(copies.size());
  for (int i = 0; i < total; ++i) {
    if (stop.stop_requested()) {
      outcome.stopped = true;
      break;
    }
    const DuplicateCopy& copy = copies[static_cast<size_t>(i)];
    std::string name(paths::lastComponent(copy.path));
    bool mayMove = false;
    try {
      mayMove = copyMayMove(copy, places, scope, stop, keptHolds);
    } catch (const Cancelled&) {
      // Stopped while reading, before anything of this copy moved.
      outcome.stopped = true;
      break;
    }
    if (!mayMove) {
      outcome.failures.push_back({name, std::string(kNoLongerAllowed)});
    } else if (auto failure =
                   moveOne({copy.path, copy.bytes, "duplicate", name}, places, outcome)) {
      outcome.failures.push_back({name, failure->reason});
    } else {
      outcome.movedIds.push_back(copy.path);
    }
    if (onProgress) onProgress({i + 1, total, name});
  }
  return outcome;
}

Outcome clearFindings(const std::vector<Finding>& items, const Locations& places,
                      const platform::Workspace& workspace, std::stop_token stop,
                      const std::function<void(const Progress&)>& onProgress) {
  Outcome outcome;
  outcome.sessionID = newUuid();
  int total = static_cast<int>(items.size());
  for (int i = 0; i < total; ++i) {
    if (stop.stop_requested()) {
      outcome.stopped = true;
      break;
    }
    const Finding& item = items[static_cast<size_t>(i)];
    if (item.kind == Finding::Kind::leftover) {
      clearLeftover(item, places, workspace, stop, outcome);
    } else {
      clearPathItem(item, places, workspace, outcome);
    }
    if (onProgress) onProgress({i + 1, total, item.name});
    if (outcome.stopped) break;
  }
  return outcome;
}

}  // namespace dw::Clearing
