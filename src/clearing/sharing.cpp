#include "clearing/sharing.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <thread>

#include "base/paths.h"
#include "base/uuid.h"
#include "findings/size_text.h"
#include "scanners/duplicates/duplicate_scanner.h"

namespace dw::Sharing {

namespace {

namespace share = platform::share;

// The folder that holds every one of the paths ("/" at worst).
std::string commonFolder(const std::vector<std::string>& files) {
  if (files.empty()) return "/";
  std::vector<std::string_view> common = paths::split(paths::parent(files.front()), '/');
  for (const std::string& f : files) {
    std::vector<std::string_view> parts = paths::split(paths::parent(f), '/');
    size_t n = 0;
    while (n < common.size() && n < parts.size() && common[n] == parts[n])
      ++n;
    common.resize(n);
  }
  std::string out;
  for (std::string_view part : common)
    out += "/" + std::string(part);
  return out.empty() ? "/" : out;
}

// The reason the file system gave, in the words a person reads.
std::string reasonFor(const share::Result& result) {
  if (result.status == share::Result::Status::changed) return std::string(kChanged);
  switch (result.error) {
    case EOPNOTSUPP:
    case ENOTTY:
    case EROFS:
      return std::string(kCannotShare);
    case EXDEV:
      return std::string(kOtherFileSystem);
    default:
      return result.errorText;
  }
}

// The re-check before a copy shares, as before a copy moves: still a file the search would
// list. Contents are not read again: the file system compares them itself. A file whose size
// changed since the search has changed.
std::string recheck(const std::string& path, std::int64_t bytes,
                    DuplicateScanner::CopyCheck& listable) {
  struct stat s {};
  if (::lstat(path.c_str(), &s) == 0 && S_ISREG(s.st_mode) && s.st_size != bytes) {
    return std::string(kChanged);
  }
  if (!listable.listable(path, bytes)) {
    return std::string(Clearing::kNoLongerAllowed);
  }
  return {};
}

// One record per file system, for the copies that now share there.
ClearedLog::Entry record(const std::string& sessionID,
                         const std::vector<ClearedLog::SharedCopy>& shared, std::int64_t freed) {
  std::vector<std::string> files;
  std::set<std::string> kept;
  for (const auto& c : shared) {
    files.push_back(c.path);
    files.push_back(c.keptPath);
    kept.insert(c.keptPath);
  }
  ClearedLog::Entry e;
  e.id = newUuid();
  e.sessionID = sessionID;
  e.originalPath = commonFolder(files);
  // No Trash path: no reader of the log finds this record in a Trash or offers to put it back.
  e.trashPath = "";
  e.bytes = freed;
  e.kind = std::string(ClearedLog::kShareKind);
  e.name = std::string(paths::lastComponent(shared.front().keptPath));
  if (kept.size() > 1) {
    e.name += " and " + countNoun(static_cast<std::int64_t>(kept.size() - 1), "other file");
  }
  e.date = Clock::now();
  e.shared = shared;
  return e;
}

}  // namespace

Survey survey(const std::vector<std::string>& paths, std::stop_token stop) {
  Survey out;
  std::map<std::string, std::vector<std::string>> byFileSystem;
  for (const std::string& path : paths) {
    if (stop.stop_requested()) break;
    if (out.files.count(path)) continue;
    if (std::optional<share::FileFacts> facts = share::inspect(path)) {
      byFileSystem[facts->fileSystem].push_back(path);
      out.files.emplace(path, std::move(*facts));
    }
  }
  // One real question per file system; a file that cannot tell (not ours, every block alike)
  // hands it to the next.
  constexpr size_t kAsked = 8;
  for (const auto& [fileSystem, files] : byFileSystem) {
    bool can = false;
    for (size_t i = 0; i < files.size() && i < kAsked && !stop.stop_requested(); ++i) {
      share::Probe answer = share::probe(files[i]);
      if (answer == share::Probe::unknown) continue;
      can = answer == share::Probe::yes;
      break;
    }
    out.canShare[fileSystem] = can;
  }
  return out;
}

Survey survey(const std::vector<DuplicateScanner::Group>& groups, std::stop_token stop) {
  std::vector<std::string> paths;
  for (const auto& group : groups)
    for (const auto& file : group.files)
      paths.push_back(file.path);
  return survey(paths, stop);
}

Plan plan(const std::vector<Clearing::DuplicateCopy>& copies, const Survey& survey) {
  Plan out;
  std::set<std::pair<std::uint64_t, std::uint64_t>> planned;  // files already taken, by identity
  // Per group (kept copy) and file system away from it: the first copy there, which the others
  // there share with.
  std::map<std::pair<std::string, std::string>, std::string> firstAway;
  for (const Clearing::DuplicateCopy& copy : copies) {
    PlannedCopy p{copy, copy.keptPath, 0, {}};
    auto kept = survey.files.find(copy.keptPath);
    auto mine = survey.files.find(copy.path);
    if (kept != survey.files.end() && mine != survey.files.end() &&
        kept->second.fileSystem != mine->second.fileSystem) {
      auto [first, added] =
          firstAway.try_emplace({copy.keptPath, mine->second.fileSystem}, copy.path);
      if (!added) {
        p.source = first->second;
        kept = survey.files.find(p.source);
      }
    }
    auto can = mine == survey.files.end() ? survey.canShare.end()
                                          : survey.canShare.find(mine->second.fileSystem);
    if (paths::standardize(copy.path) == paths::standardize(copy.keptPath)) {
      p.reason = Clearing::kNoLongerAllowed;  // the kept copy itself never changes
    } else if (kept == survey.files.end() || mine == survey.files.end() ||
               kept->second.size != copy.bytes || mine->second.size != copy.bytes) {
      p.reason = kChanged;
    } else if (kept->second.fileSystem != mine->second.fileSystem) {
      p.reason = kOtherFileSystem;  // and the others of its group on its file system use it
    } else if (can == survey.canShare.end() || !can->second) {
      p.reason = kCannotShare;
    } else if ((kept->second.device == mine->second.device &&
                kept->second.inode == mine->second.inode) ||
               share::sameBlocks(kept->second, mine->second) ||
               !planned.insert({mine->second.device, mine->second.inode}).second) {
      // A second name of the kept file (or of a copy already planned) has nothing of its own.
      p.reason = kAlreadySharing;
    } else {
      p.freeable = mine->second.unshared;
      out.freeable = addBytes(out.freeable, p.freeable);
      ++out.sharing;
    }
    out.copies.push_back(std::move(p));
  }
  return out;
}

bool canShareAny(const std::vector<DuplicateScanner::Group>& groups, const Survey& survey) {
  for (const auto& group : groups) {
    std::map<std::string, int> onFileSystem;
    for (const auto& file : group.files) {
      auto facts = survey.files.find(file.path);
      if (facts == survey.files.end()) continue;
      auto can = survey.canShare.find(facts->second.fileSystem);
      if (can != survey.canShare.end() && can->second &&
          ++onFileSystem[facts->second.fileSystem] >= 2) {
        return true;
      }
    }
  }
  return false;
}

Outcome share(const std::vector<Clearing::DuplicateCopy>& copies, const Locations& places,
              DuplicateScanner::Scope scope, std::stop_token stop,
              const std::function<void(const Clearing::Progress&)>& onProgress) {
  Outcome outcome;
  outcome.sessionID = newUuid();
  const int total = static_cast<int>(copies.size());

  // Both files of each pair re-checked first, each file once; the checks are independent of
  // each other, so two threads share them.
  std::vector<std::pair<std::string, std::int64_t>> unique;  // path, the group's size
  std::map<std::string, size_t> slot;
  for (const auto& c : copies) {
    for (const std::string* p : {&c.keptPath, &c.path}) {
      if (slot.emplace(*p, unique.size()).second) unique.push_back({*p, c.bytes});
    }
  }
  std::vector<std::string> verdict(unique.size());
  auto check = [&](size_t from, size_t to) {
    DuplicateScanner::CopyCheck listable(places, scope);
    for (size_t k = from; k < to; ++k)
      verdict[k] = recheck(unique[k].first, unique[k].second, listable);
  };
  {
    const size_t half = unique.size() / 2;
    std::thread other(check, half, unique.size());
    check(0, half);
    other.join();
  }
  std::vector<std::string> refused(copies.size());
  std::vector<std::string> paths;
  for (size_t i = 0; i < copies.size(); ++i) {
    const auto& c = copies[i];
    const std::string& kept = verdict[slot.at(c.keptPath)];
    refused[i] = kept.empty() ? verdict[slot.at(c.path)] : kept;
    if (refused[i].empty()) {
      paths.push_back(c.keptPath);
      paths.push_back(c.path);
    }
  }
  const Survey facts = survey(paths, stop);
  // Each file still the one the search listed (device and inode): another file at its path now
  // stays, as it would in a clear.
  auto listed = [&](const std::string& path, const FileIdentity& identity) {
    auto it = facts.files.find(path);
    return !identity.known() || (it != facts.files.end() && it->second.device == identity.dev &&
                                 it->second.inode == identity.ino);
  };
  for (size_t i = 0; i < copies.size(); ++i) {
    const auto& c = copies[i];
    if (refused[i].empty() && (!listed(c.path, c.identity) || !listed(c.keptPath, c.keptIdentity)))
      refused[i] = std::string(Clearing::kNoLongerAllowed);
  }
  const Plan planned = plan(copies, facts);

  // Free space before, on every file system a copy will share on.
  std::map<std::string, std::string> fileSystems;  // file system -> a path on it
  for (size_t i = 0; i < copies.size(); ++i) {
    if (refused[i].empty() && planned.copies[i].reason.empty()) {
      fileSystems.emplace(facts.files.at(copies[i].path).fileSystem, copies[i].path);
    }
  }
  std::map<std::string, std::int64_t> freeBefore;
  for (const auto& [fs, path] : fileSystems) {
    if (auto free = share::freeSpace(path)) freeBefore[fs] = *free;
  }

  std::map<std::string, std::vector<ClearedLog::SharedCopy>> sharedOn;
  for (int i = 0; i < total; ++i) {
    if (stop.stop_requested()) {
      outcome.stopped = true;
      break;
    }
    const auto index = static_cast<size_t>(i);
    const Clearing::DuplicateCopy& copy = copies[index];
    const std::string name(paths::lastComponent(copy.path));
    const PlannedCopy& p = planned.copies[index];
    if (!refused[index].empty()) {
      outcome.failures.push_back({name, refused[index]});
    } else if (!p.reason.empty()) {
      outcome.failures.push_back({name, p.reason});
    } else {
      const share::FileFacts& mine = facts.files.at(copy.path);
      share::Result result =
          share::shareBlocks(p.source, facts.files.at(p.source), copy.path, mine);
      if (result.status != share::Result::Status::shared) {
        outcome.failures.push_back({name, reasonFor(result)});
      } else {
        outcome.sharedPaths.push_back(copy.path);
        outcome.predictedBytes = addBytes(outcome.predictedBytes, p.freeable);
        sharedOn[mine.fileSystem].push_back({copy.path, p.source});
        if (!result.replacedPath.empty()) {
          // A Mac: the copy's name now holds a clone; the file it replaced goes to the Trash
          // like every move, logged and able to come back.
          outcome.cloned = true;
          Clearing::MoveRequest replaced{result.replacedPath, copy.bytes, "duplicate", name,
                                         FileIdentity{mine.device, mine.inode}};
          if (auto failure = Clearing::moveOne(replaced, places, outcome)) {
            outcome.failures.push_back(
                {name, "the replaced file stays beside it as " +
                           std::string(paths::lastComponent(result.replacedPath)) + " (" +
                           failure->reason + ")"});
          }
        }
      }
    }
    if (onProgress) onProgress({i + 1, total, name});
  }

  // What came back, as the file systems count their free space; a share moved nothing, so its
  // record is written only where something was shared.
  for (const auto& [fs, shared] : sharedOn) {
    std::int64_t freed = 0;
    auto before = freeBefore.find(fs);
    auto after = share::freeSpace(fileSystems[fs]);
    if (before != freeBefore.end() && after)
      freed = std::max<std::int64_t>(0, *after - before->second);
    outcome.freedBytes = addBytes(outcome.freedBytes, freed);
    if (!outcome.cloned) outcome.entries.push_back(record(outcome.sessionID, shared, freed));
  }
  return outcome;
}

}  // namespace dw::Sharing
