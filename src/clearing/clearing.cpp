#include "clearing/clearing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <map>
#include <system_error>

#include "base/fd.h"
#include "base/paths.h"
#include "base/uuid.h"
#include "measure/disk_sizer.h"
#include "platform/own_ground.h"
#include "platform/ownership.h"
#include "platform/trash.h"
#include "scanners/caches/cache_scanner.h"
#include "scanners/duplicates/duplicate_scanner.h"
#include "scanners/largefiles/large_files_scanner.h"
#include "scanners/leftovers/leftover_scanner.h"

namespace dw::Clearing {

namespace {

std::string absolutePath(const std::string& path) {
  if (!path.empty() && path.front() == '/') return paths::standardize(path);
  char cwd[PATH_MAX];
  if (!::getcwd(cwd, sizeof cwd)) return path;
  return paths::standardize(paths::join(cwd, path));
}

// A large file at the move: still a regular file meeting the listing's size rule, measured now
// through the descriptor it moves from, and logged at what it takes on disk (what the move gives
// back once the Trash is emptied; a sparse file's is below its length).
bool stillLarge(const platform::ItemAt& item, std::int64_t& bytes) {
  if (!S_ISREG(item.stat.st_mode) || item.stat.st_size < DiskSizer::kLargeFileMinimum) return false;
  bytes = static_cast<std::int64_t>(item.stat.st_blocks) * 512;
  return true;
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
  MoveRequest request{path, item.bytes, isFile ? "file" : "cache", item.name, item.identity, {}};
  if (isFile) request.verify = stillLarge;
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
    std::optional<Measured> now = measureForMove(path);
    if (!now || !LeftoverScanner::stillBelongsTo(path, bundleID, places)) {
      ++notAllowed;
      continue;
    }
    if (std::optional<MoveFailure> failure = moveOne(
            {path, now->bytes, "leftover", item.name, now->identity, {}}, places, outcome)) {
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
  const MoveFailure noLongerAllowed{std::string(kNoLongerAllowed)};
  if (OwnGround::excludes(request.path, places)) return noLongerAllowed;
  // Nothing moves that was not listed or measured as itself.
  if (!request.identity.known()) return noLongerAllowed;
  // Nor anything at all while the home (or the Trash's) is another user's.
  if (std::optional<std::string> refusal = Ownership::refusalToMove(places)) {
    return MoveFailure{*refusal};
  }
  ClearedLog::Entry planned;
  planned.id = newUuid();
  planned.sessionID = outcome.sessionID.empty() ? newUuid() : outcome.sessionID;
  planned.originalPath = absolutePath(request.path);
  planned.bytes = request.bytes;
  planned.kind = request.kind;
  planned.name = request.name;
  planned.date = Clock::now();

  // Where Put Back will look for it: the same place, reached the same way.
  Ownership::Place place = Ownership::placeOf(planned.originalPath, places);
  // Another user's place (or one that others may write): a matter of rights.
  if (place.where == Ownership::Where::refused) return MoveFailure{noLongerAllowed.reason, true};
  platform::MoveChecks checks;
  if (place.where == Ownership::Where::usable) checks.placement = place.placement;
  checks.identity = request.identity;
  if (request.verify) {
    checks.verify = [&](const platform::ItemAt& item) {
      return request.verify(item, planned.bytes);
    };
  }
  try {
    // Holds the log's lock for this one move: no other process's recovery runs meanwhile.
    ClearedLog::Journal journal(places);
    platform::TrashMove move =
        platform::moveToTrash(planned.originalPath, checks, [&](const std::string& trashPath) {
          planned.trashPath = trashPath;
          // Its mark, for knowing it again once another program restores it; only the listed
          // item's (the move checks that again before the rename).
          planned.item = platform::itemMark(planned.originalPath);
          if (planned.item && planned.item->identity != request.identity) planned.item.reset();
          return journal.intendMove(planned);  // nothing moves without its intent on disk
        });
    // The result is a shortcut for the next start; without it the Trash itself tells.
    journal.recordMove(planned.id, move.ok());
    if (move.notAsListed) return noLongerAllowed;
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
  outcome.movedBytes = addBytes(outcome.movedBytes, planned.bytes);
  return std::nullopt;
}

std::optional<Measured> measureForMove(const std::string& path) {
  auto identity = [&]() -> std::optional<FileIdentity> {
    struct stat s {};
    if (::lstat(path.c_str(), &s) != 0) return std::nullopt;
    return identityOf(s);
  };
  std::optional<FileIdentity> before = identity();
  if (!before) return std::nullopt;
  std::int64_t bytes = DiskSizer::measure(path).bytes;
  // Measured as itself: the same item before and after the walk.
  if (identity() != before) return std::nullopt;
  return Measured{*before, bytes};
}

namespace {

// The kept copies this clear has read in full, with what their stat said then: a file whose
// identity, size, modification and change times are the same since holds the same bytes (any
// write changes the change time, which no user can set).
struct KeptRead {
  FileIdentity identity;
  off_t size = 0;
  timespec modified{}, changed{};
  bool sameAs(const struct stat& s) const {
    return identity == identityOf(s) && size == s.st_size && modified.tv_sec == s.st_mtim.tv_sec &&
           modified.tv_nsec == s.st_mtim.tv_nsec && changed.tv_sec == s.st_ctim.tv_sec &&
           changed.tv_nsec == s.st_ctim.tv_nsec;
  }
};
using KeptReads = std::map<std::string, KeptRead>;

// The copy that stays, checked before every move of its group: still there, a regular file of
// the group's size, another file than the one about to move, the one the search listed, and of
// the group's content. Throws Cancelled and std::system_error (a read that failed).
bool keptCopyHolds(const DuplicateCopy& copy, FileIdentity moving, std::stop_token stop,
                   KeptReads& read) {
  UniqueFd kept{::open(copy.keptPath.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK)};
  struct stat s {};
  if (kept.get() < 0 || ::fstat(kept.get(), &s) != 0 || !S_ISREG(s.st_mode) ||
      s.st_size != copy.bytes)
    return false;
  if (identityOf(s) == moving) return false;  // one file under two names: no copy at all
  if (copy.keptIdentity.known() && identityOf(s) != copy.keptIdentity) return false;
  auto known = read.find(copy.keptPath);
  if (known != read.end() && known->second.sameAs(s)) return true;
  if (DuplicateScanner::fullDigest(kept.get(), stop) != copy.hashHex) return false;
  read[copy.keptPath] = {identityOf(s), s.st_size, s.st_mtim, s.st_ctim};
  return true;
}

// The copy about to move, read through the descriptor of the folder it moves from: the group's
// size and content, and then the kept copy.
bool copyHolds(const DuplicateCopy& copy, const platform::ItemAt& item, std::stop_token stop,
               KeptReads& read) {
  if (!S_ISREG(item.stat.st_mode) || item.stat.st_size != copy.bytes) return false;
  UniqueFd file{
      ::openat(item.folder, item.name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK)};
  struct stat s {};
  if (file.get() < 0 || ::fstat(file.get(), &s) != 0 || identityOf(s) != identityOf(item.stat))
    return false;
  if (DuplicateScanner::fullDigest(file.get(), stop) != copy.hashHex) return false;
  return keptCopyHolds(copy, identityOf(item.stat), stop, read);
}

// Whether the copy may still go by its paths: both still copies the search would list.
bool copyIsListable(const DuplicateCopy& copy, DuplicateScanner::CopyCheck& listable) {
  if (paths::standardize(copy.path) == paths::standardize(copy.keptPath)) return false;
  return listable.listable(copy.keptPath, copy.bytes) && listable.listable(copy.path, copy.bytes);
}

}  // namespace

Outcome clearDuplicates(const std::vector<DuplicateCopy>& copies, const Locations& places,
                        DuplicateScanner::Scope scope, std::stop_token stop,
                        const std::function<void(const Progress&)>& onProgress) {
  Outcome outcome;
  outcome.sessionID = newUuid();
  KeptReads keptReads;
  DuplicateScanner::CopyCheck listable(places, scope);
  int total = static_cast<int>(copies.size());
  for (int i = 0; i < total; ++i) {
    if (stop.stop_requested()) {
      outcome.stopped = true;
      break;
    }
    const DuplicateCopy& copy = copies[static_cast<size_t>(i)];
    std::string name(paths::lastComponent(copy.path));
    std::optional<MoveFailure> failure = MoveFailure{std::string(kNoLongerAllowed)};
    bool cancelled = false;
    if (copyIsListable(copy, listable)) {
      MoveRequest request{copy.path, copy.bytes, "duplicate", name, copy.identity, {}};
      request.verify = [&](const platform::ItemAt& item, std::int64_t&) {
        try {
          return copyHolds(copy, item, stop, keptReads);
        } catch (const Cancelled&) {
          cancelled = true;  // stopped while reading, before anything of this copy moved
        } catch (const std::system_error&) {
          // A copy that cannot be read through is no copy the clear can vouch for.
        }
        return false;
      };
      failure = moveOne(request, places, outcome);
    }
    if (cancelled) {
      outcome.stopped = true;
      break;
    }
    if (failure) {
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
