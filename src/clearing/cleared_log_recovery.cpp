#include "clearing/cleared_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>

#include "base/paths.h"
#include "base/time.h"
#include "clearing/cleared_log_parts.h"
#include "platform/log_files.h"
#include "platform/ownership.h"
#include "platform/trash.h"

namespace dw::ClearedLog {

// With tidy, a .trashinfo of ours whose item never arrived or has gone back is dropped.
Settled settle(const std::vector<JournalRecord>& journal, const std::vector<Entry>& known,
               bool tidy) {
  struct Move {
    std::vector<Entry> tries;  // every name tried in the Trash
    std::string result;
  };
  struct Return {
    TimePoint at{};
    std::string result;
  };
  std::vector<std::string> order;
  std::map<std::string, Move> moves;
  std::map<std::string, Return> returns;
  for (const JournalRecord& r : journal) {
    if (r.op == "move") {
      if (!moves.count(r.id)) order.push_back(r.id);
      moves[r.id].tries.push_back(*r.entry);
    } else if (r.op == "moved" || r.op == "stayed") {
      if (moves.count(r.id)) moves[r.id].result = r.op;
    } else if (r.op == "putBack") {
      returns[r.id] = {r.at, {}};
    } else if ((r.op == "putBackDone" || r.op == "putBackFailed") && returns.count(r.id)) {
      returns[r.id].result = r.op;
    }
  }

  Settled out;
  auto dropStale = [&](const Entry& e) {
    if (tidy) platform::dropStaleRecord(e.trashPath, e.originalPath, e.date);
  };
  for (const std::string& id : order) {
    const Move& move = moves[id];
    const Entry* arrived = nullptr;
    if (move.result == "moved") {
      arrived = &move.tries.back();
    } else if (move.result.empty()) {
      // Killed between the intent and the result: the Trash says whether it moved.
      for (const Entry& e : move.tries) {
        if (!e.trashPath.empty() && platform::trashItemMatches(e.trashPath, e.originalPath)) {
          arrived = &e;
        }
      }
    }
    for (const Entry& e : move.tries) {
      if (&e != arrived) dropStale(e);
    }
    if (arrived) out.moved.push_back(*arrived);
  }

  auto find = [&](const std::string& id) -> const Entry* {
    for (const Entry& e : out.moved)
      if (e.id == id) return &e;
    for (const Entry& e : known)
      if (e.id == id) return &e;
    return nullptr;
  };
  for (const auto& [id, back] : returns) {
    const Entry* e = find(id);
    if (!e || back.result == "putBackFailed") continue;
    bool done = back.result == "putBackDone";
    // Killed during a Put Back: it happened when the item left the Trash and stands where it
    // was.
    if (!done) {
      done =
          !platform::trashItemMatches(e->trashPath, e->originalPath) && existsAt(e->originalPath);
    }
    if (!done) continue;
    out.putBack[id] = back.at;
    dropStale(*e);
  }
  return out;
}

namespace {

// mkostemp's names for the log's temporary copies: ".cleared.json." and six letters or digits.
bool isTemporaryLogName(std::string_view name, const std::string& logFile) {
  std::string prefix = "." + std::string(paths::lastComponent(logFile)) + ".";
  if (name.size() != prefix.size() + 6 || !name.starts_with(prefix)) return false;
  return std::all_of(name.begin() + static_cast<std::ptrdiff_t>(prefix.size()), name.end(),
                     [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; });
}

// Copies of the log a process left when it was killed between writing one and renaming it over
// the log. Runs under the log's lock, which every writer of such a copy holds from creating it
// to renaming it: any copy there now belongs to no one.
void removeTemporaryLogs(const Locations& places) {
  const std::string folder = folderOf(places);
  for (const std::string& name : namesIn(folder)) {
    if (!isTemporaryLogName(name, places.logFile)) continue;
    std::string path = paths::join(folder, name);
    struct stat s {};
    if (::lstat(path.c_str(), &s) != 0 || !S_ISREG(s.st_mode) || s.st_uid != ::geteuid()) continue;
    // Removing our own half-written copy of cleared.json: the name is mkostemp's pattern for
    // it, the file is ours, and the lock proves no process is writing it.
    ::unlink(path.c_str());
  }
}

// Renames one of our journals to prefix + the time, beside the log, never over another file.
void keepAside(const std::string& path, std::string_view prefix) {
  const std::string folder(paths::parent(path));
  const std::string base = std::string(prefix) + timefmt::compactUtc(Clock::now());
  int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir < 0) throw systemError(errno, "Cannot keep " + path);
  int error = EEXIST;
  for (int n = 1; n < 1000 && error == EEXIST; ++n) {
    std::string name = n == 1 ? base : base + "-" + std::to_string(n);
    error = platform::logfiles::renameNoReplace(dir, std::string(paths::lastComponent(path)), name,
                                                path) == 0
                ? 0
                : errno;
  }
  if (error == 0) ::fsync(dir);
  ::close(dir);
  if (error != 0) throw systemError(error, "Cannot keep " + path + " beside the log");
}

// What becomes of a journal once its records are in the log: it goes when every line was read;
// one that could not be read whole keeps its bytes beside the log, and one that could not be
// read at all (its permissions taken away, another owner's, not a file) is set aside, to be merged
// when it can be.
void finishJournal(const std::string& path, const JournalFile& journal, bool setAside) {
  if (!journal.exists) return;
  if (!journal.readable()) {
    if (!setAside) keepAside(path, kUnreadJournal);
    return;
  }
  if (journal.text.damaged > 0) {
    keepAside(path, kDamagedJournal);
    return;
  }
  // Removing a journal of ours whose every record is now in the log. The log's lock is held:
  // no move is writing to it.
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
    throw systemError(errno, "Cannot empty " + path);
  }
}

// Journals set aside earlier because they could not be read, now readable: their paths and
// contents, oldest first.
std::vector<std::pair<std::string, JournalFile>> readableSetAside(const Locations& places) {
  std::vector<std::pair<std::string, JournalFile>> found;
  const std::string folder = folderOf(places);
  for (const std::string& name : namesIn(folder)) {
    if (!name.starts_with(kUnreadJournal)) continue;
    std::string path = paths::join(folder, name);
    JournalFile journal = readJournalFile(path);
    if (journal.readable()) found.emplace_back(std::move(path), std::move(journal));
  }
  return found;
}

}  // namespace

// Adds the settled journals and the given entries to the log, writes it when anything changed,
// and then settles the journals (finishJournal). Runs under the log's lock.
void mergeLocked(const Locations& places, const std::vector<Entry>& extra, bool replaceAll) {
  LogFile log = readLog(places.logFile);
  const std::string journalPath = journalFile(places);
  JournalFile current = readJournalFile(journalPath);
  std::vector<std::pair<std::string, JournalFile>> aside = readableSetAside(places);
  std::vector<JournalRecord> journal;
  for (const auto& [path, file] : aside)
    journal.insert(journal.end(), file.text.records.begin(), file.text.records.end());
  journal.insert(journal.end(), current.text.records.begin(), current.text.records.end());
  bool changed = false;
  if (replaceAll) {
    log.records.clear();
    for (const Entry& e : extra)
      log.records.push_back({e, {}});
    changed = true;
  }
  Settled settled = settle(journal, entriesOf(log), true);
  std::vector<Entry> added = settled.moved;
  if (!replaceAll) added.insert(added.end(), extra.begin(), extra.end());
  for (const Entry& e : added) {
    bool present = std::any_of(log.records.begin(), log.records.end(), [&](const Record& r) {
      return r.entry && r.entry->id == upper(e.id);
    });
    if (present) continue;
    Entry copy = e;
    copy.id = upper(copy.id);
    copy.sessionID = upper(copy.sessionID);
    log.records.push_back({copy, {}});
    changed = true;
  }
  for (Record& r : log.records) {
    if (!r.entry || r.entry->putBackAt) continue;
    if (auto it = settled.putBack.find(r.entry->id); it != settled.putBack.end()) {
      r.entry->putBackAt = it->second;
      changed = true;
    }
  }
  if (changed) writeLog(places.logFile, log, encodeRecords(log.records));
  for (const auto& [path, file] : aside)
    finishJournal(path, file, true);
  finishJournal(journalPath, current, false);
}

namespace {

// What recovery has to do: a journal, a temporary copy of the log, or a set-aside journal.
bool needsRecovery(const Locations& places) {
  if (existsAt(journalFile(places))) return true;
  for (const std::string& name : namesIn(folderOf(places))) {
    if (isTemporaryLogName(name, places.logFile) || name.starts_with(kUnreadJournal)) return true;
  }
  return false;
}

}  // namespace

void recover(const Locations& places) {
  // Another user's log is never written: its journal waits for that user.
  if (!needsRecovery(places) || Ownership::refusalToMove(places)) return;
  LogLock lock(places.logFile);
  removeTemporaryLogs(places);
  mergeLocked(places, {}, false);
}

}  // namespace dw::ClearedLog
