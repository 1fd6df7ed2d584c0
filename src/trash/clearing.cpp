#include "trash/clearing.h"

#include <cstdio>
#include <cstdlib>

#include "base/uuid.h"
#include "findings/size_text.h"
#include "measure/disk_sizer.h"
#include "platform/trash.h"
#include "scanners/caches/cache_scanner.h"
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

ClearedLog::Entry entryFor(const Outcome& outcome, const std::string& originalPath,
                           const std::string& trashPath, std::int64_t bytes, std::string kind,
                           const std::string& name) {
  ClearedLog::Entry e;
  e.id = newUuid();
  e.sessionID = outcome.sessionID;
  e.originalPath = originalPath;
  e.trashPath = trashPath;
  e.bytes = bytes;
  e.kind = std::move(kind);
  e.name = name;
  e.date = Clock::now();
  return e;
}

// A cache or a large file: one path, re-checked against the scanner's own listing rules.
void clearPathItem(const CacheFinding& item, const Locations& places,
                   const platform::Workspace& workspace, Outcome& outcome) {
  const std::string& path = item.id;
  bool isFile = item.kind == CacheFinding::Kind::file;
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
  platform::TrashMove move = platform::moveToTrash(path);
  if (!move.ok()) {
    outcome.failures.push_back({item.name, move.error});
    return;
  }
  outcome.entries.push_back(
      entryFor(outcome, path, move.trashPath, item.bytes, isFile ? "file" : "cache", item.name));
  outcome.movedBytes = addBytes(outcome.movedBytes, item.bytes);
  outcome.movedIds.push_back(item.id);
}

// A leftover: every path of the vanished app, each re-checked on its own.
void clearLeftover(const CacheFinding& item, const Locations& places,
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
    platform::TrashMove move = platform::moveToTrash(path);
    if (!move.ok()) {
      outcome.failures.push_back({item.name, move.error});
      continue;
    }
    outcome.entries.push_back(
        entryFor(outcome, path, move.trashPath, bytes, "leftover", item.name));
    outcome.movedBytes = addBytes(outcome.movedBytes, bytes);
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

std::optional<MoveFailure> moveOne(const MoveRequest& request, const Locations&, Outcome& outcome) {
  platform::TrashMove move = platform::moveToTrash(request.path);
  if (!move.ok()) return MoveFailure{move.error, move.permissionDenied};
  std::int64_t total = addBytes(outcome.movedBytes, request.bytes);
  outcome.entries.push_back(
      entryFor(outcome, request.path, move.trashPath, request.bytes, request.kind, request.name));
  outcome.movedBytes = total;
  return std::nullopt;
}

Outcome clearFindings(const std::vector<CacheFinding>& items, const Locations& places,
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
    const CacheFinding& item = items[static_cast<size_t>(i)];
    if (item.kind == CacheFinding::Kind::leftover) {
      clearLeftover(item, places, workspace, stop, outcome);
    } else {
      clearPathItem(item, places, workspace, outcome);
    }
    if (onProgress) onProgress({i + 1, total, item.name});
    if (outcome.stopped) break;
  }
  return outcome;
}

std::string failureSummary(const std::vector<Failure>& failures) {
  if (failures.empty()) return {};
  std::string text = "Some items stayed in place: ";
  for (size_t i = 0; i < failures.size(); ++i) {
    if (i) text += ", ";
    text += failures[i].name + " (" + failures[i].reason + ")";
  }
  return text + ".";
}

std::string completionMessage(const Outcome& outcome) {
  std::string failures = failureSummary(outcome.failures);
  if (outcome.movedBytes < 1) {
    if (outcome.stopped) return "Clearing stopped. Nothing was moved to the Trash.";
    if (!failures.empty()) return failures;
    return "Nothing was moved to the Trash.";
  }
  std::string text =
      sizeText(outcome.movedBytes) + " moved to the Trash. Empty the Trash to get the space back.";
  if (outcome.stopped) text += " Clearing stopped after the current item.";
  if (!outcome.notes.empty()) {
    text += ' ';
    for (size_t i = 0; i < outcome.notes.size(); ++i) {
      if (i) text += ". ";
      text += outcome.notes[i];
    }
    text += '.';
  }
  if (!failures.empty()) text += " " + failures;
  return text + " See Recently Cleared to put items back while they are still in the Trash.";
}

}  // namespace dw::Clearing
