#pragma once
// What the files of the cleared log share: the file format (cleared_log_format.cpp), the log file
// and its lock (cleared_log.cpp), the journal (cleared_log_journal.cpp), recovery
// (cleared_log_recovery.cpp) and Put Back (cleared_log_put_back.cpp). Only those files include it.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/fd.h"
#include "base/json.h"
#include "clearing/cleared_log.h"

namespace dw::ClearedLog {

// --- The file format (cleared_log_format.cpp) ---------------------------------------------------

bool isUuid(std::string_view text);
std::string upper(std::string_view text);
json::Value toJson(const Entry& e);
std::optional<Entry> fromJson(const json::Value& v);
const std::string* stringMember(const json::Value& object, std::string_view key);
std::optional<double> dateMember(const json::Value& object, std::string_view key);
// Throws std::invalid_argument for a record whose id or sessionID is not a UUID.
void checkIds(const std::vector<Entry>& entries);

// One record of the log's array: an entry, or the text of one that could not be read.
struct Record {
  std::optional<Entry> entry;
  std::string raw;
};

struct LogFile {
  bool exists = false;
  bool isFolder = false;
  bool whole = true;  // an array whose every record can be written back as it is
  std::string bytes;
  std::vector<Record> records;
  int unreadable = 0;
};

// Where the JSON string opening at text[at] ends (just past its closing quote); npos when the
// text ends inside it.
size_t pastString(std::string_view text, size_t at);
// The records of log.bytes.
void readRecords(LogFile& log);
// The log's bytes for these records: entries as encode writes them, unreadable records as they
// were.
std::string encodeRecords(const std::vector<Record>& records);
std::vector<Entry> entriesOf(const LogFile& log);

// --- The log file (cleared_log.cpp) -------------------------------------------------------------

std::system_error systemError(int error, const std::string& what);
std::string folderOf(const Locations& places);
std::string journalFile(const Locations& places);
void makeFolder(const Locations& places);
void syncFolder(const std::string& folder);
// Reads fd to its end into text; 0, or the errno of a read that failed. Closes fd.
int readToEnd(int fd, std::string& text);
LogFile readLog(const std::string& logFile);
// Writes a whole new log beside the old one and renames it over: a reader sees the old log or
// the new one, never half of either. A log that did not read as a whole is kept first.
void writeLog(const std::string& logFile, const LogFile& old, const std::string& text);
bool existsAt(const std::string& path);
std::vector<std::string> namesIn(const std::string& folder);

// Serialises read-modify-write cycles of processes sharing the log, and every move with the
// recovery of another process. The lock file stays: removing it while another process waits on
// it would let a third one lock a different file.
class LogLock {
 public:
  explicit LogLock(const std::string& logFile);
  ~LogLock();  // closing releases the lock
  LogLock(const LogLock&) = delete;
  LogLock& operator=(const LogLock&) = delete;

 private:
  UniqueFd fd_;
};

// --- The journal (cleared_log_journal.cpp) ------------------------------------------------------

struct JournalRecord {
  std::string op;  // "move", "moved", "stayed", "putBack", "putBackDone", "putBackFailed"
  std::string id;
  std::optional<Entry> entry;  // for "move": the record it will be, trashPath the planned place
  TimePoint at{};              // for "putBack"
};

struct JournalText {
  std::vector<JournalRecord> records;
  int damaged = 0;  // lines that could not be read whole
};

// The journal as found: absent, unreadable (another user's, not a file), or its records.
struct JournalFile {
  bool exists = false;
  int error = 0;  // why it could not be read
  std::string bytes;
  JournalText text;
  bool readable() const { return exists && error == 0; }
};

JournalFile readJournalFile(const std::string& path);

// --- Recovery (cleared_log_recovery.cpp) --------------------------------------------------------

// What the journal says, once each unfinished step is settled from what the file system holds.
struct Settled {
  std::vector<Entry> moved;                  // in the order they were moved
  std::map<std::string, TimePoint> putBack;  // id -> when
};

// With tidy, a .trashinfo of ours whose item never arrived or has gone back is dropped.
Settled settle(const std::vector<JournalRecord>& journal, const std::vector<Entry>& known,
               bool tidy);

inline constexpr std::string_view kUnreadJournal = "cleared.journal.unread-";
inline constexpr std::string_view kDamagedJournal = "cleared.journal.damaged-";

// Adds the settled journals and the given entries to the log, writes it when anything changed,
// and then settles the journals. Runs under the log's lock.
void mergeLocked(const Locations& places, const std::vector<Entry>& extra, bool replaceAll);

}  // namespace dw::ClearedLog
