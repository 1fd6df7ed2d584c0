#pragma once
// Sharing extra copies instead of moving them: on a file system that shares blocks between files
// (Btrfs, XFS with reflink; APFS on a Mac), each extra copy of a duplicate group is made to use
// its kept copy's blocks. Every path stays and every file stays a file of its own; on Linux the
// space comes back at once and nothing is renamed, moved or rewritten. What cannot share (another
// file system, blocks already shared, a file that changed, a file system without support) stays
// as it is, with its reason. One log record per share, per file system, says what it freed.

#include <cstdint>
#include <functional>
#include <map>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "clearing/clearing.h"
#include "platform/locations.h"
#include "platform/share.h"
#include "scanners/duplicates/duplicate_types.h"

namespace dw::Sharing {

// Why a copy stays as it is.
inline constexpr std::string_view kOtherFileSystem = "on another file system than the kept copy";
inline constexpr std::string_view kAlreadySharing = "already shares its blocks";
inline constexpr std::string_view kChanged = "changed since the search";
inline constexpr std::string_view kCannotShare = "its file system cannot share blocks";

// What sharing knows of some files before anything happens: each readable file's facts, and for
// each file system among them whether it shares blocks (asked of the file system itself).
struct Survey {
  std::map<std::string, platform::share::FileFacts> files;  // by path
  std::map<std::string, bool> canShare;                     // by FileFacts::fileSystem
};
// Reads every path (a stop request ends it early with what was read so far).
Survey survey(const std::vector<std::string>& paths, std::stop_token stop = {});
Survey survey(const std::vector<DuplicateScanner::Group>& groups, std::stop_token stop = {});

// One copy as a share would treat it.
// It shares the kept copy's blocks; where the kept copy is on another file system, those of the
// group's first copy on its own file system (that one stays as it is, and every file stays).
struct PlannedCopy {
  Clearing::DuplicateCopy copy;
  std::string source;         // the file whose blocks it will use
  std::int64_t freeable = 0;  // what sharing it can give back: its blocks nothing else uses
  std::string reason;         // why it stays; empty when it will share
};
struct Plan {
  std::vector<PlannedCopy> copies;  // in the order given
  std::int64_t freeable = 0;        // of the copies that will share
  int sharing = 0;                  // how many will share
};
Plan plan(const std::vector<Clearing::DuplicateCopy>& copies, const Survey& survey);

// Whether some group has two files on one file system that can share: the option is offered
// only then.
bool canShareAny(const std::vector<DuplicateScanner::Group>& groups, const Survey& survey);

struct Outcome : Clearing::Outcome {
  std::vector<std::string> sharedPaths;  // copies that now use their kept copy's blocks
  std::int64_t predictedBytes = 0;       // what the plan said they could free
  std::int64_t freedBytes = 0;           // what each file system's free space grew by
  bool cloned = false;                   // a Mac: copies became clones, the replaced files went
                                         // to the Trash (movedBytes) and free space waits for it
};

// Shares each copy with its kept copy, in order: re-checked as the search would list it (as a
// clear of copies does), then surveyed, then given to the file system's verified request. A stop
// request is honoured before the next copy. Entries: one "share" record per file system that
// freed something, under one session (a Mac: one Trash move per replaced file instead).
Outcome share(const std::vector<Clearing::DuplicateCopy>& copies, const Locations& places,
              DuplicateScanner::Scope scope, std::stop_token stop,
              const std::function<void(const Clearing::Progress&)>& onProgress = {});

}  // namespace dw::Sharing
