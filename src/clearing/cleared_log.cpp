#include "clearing/cleared_log.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "base/fd.h"
#include "base/paths.h"
#include "base/time.h"
#include "clearing/cleared_log_parts.h"
#include "platform/log_files.h"
#include "scanners/folder_listing.h"

namespace dw::ClearedLog {

std::system_error systemError(int error, const std::string& what) {
  return std::system_error(error, std::generic_category(), what);
}

std::string folderOf(const Locations& places) {
  return std::string(paths::parent(places.logFile));
}

std::string journalFile(const Locations& places) {
  return paths::join(folderOf(places), "cleared.journal");
}

void makeFolder(const Locations& places) {
  std::string folder = folderOf(places);
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  if (ec) throw std::system_error(ec, "Cannot create " + folder);
}

void syncFolder(const std::string& folder) {
  if (int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); dir >= 0) {
    ::fsync(dir);
    ::close(dir);
  }
}

LogLock::LogLock(const std::string& logFile) {
  std::string path = logFile + ".lock";
  fd_.reset(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!fd_) throw systemError(errno, "Cannot open " + path);
  while (::flock(fd_.get(), LOCK_EX) != 0) {
    if (errno == EINTR) continue;
    throw systemError(errno, "Cannot lock " + path);
  }
}

LogLock::~LogLock() = default;

// Reads fd to its end into text; 0, or the errno of a read that failed. Closes fd.
int readToEnd(int fd, std::string& text) {
  char buffer[65536];
  int error = 0;
  while (true) {
    ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) error = errno;
    if (n <= 0) break;
    text.append(buffer, static_cast<size_t>(n));
  }
  ::close(fd);
  return error;
}

namespace {

bool readWhole(const std::string& path, std::string& text, bool& isFolder) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return false;
  struct stat s {};
  if (::fstat(fd, &s) == 0 && S_ISDIR(s.st_mode)) {
    isFolder = true;
    ::close(fd);
    return false;
  }
  readToEnd(fd, text);
  return true;
}

// Keeps the bytes of a log that did not read as a whole beside it, under a name never used
// before, before anything replaces it. (A log whose unreadable records are JSON needs no copy:
// they are written back byte for byte.)
void keepDamaged(const std::string& logFile, const std::string& bytes) {
  const std::string base = logFile + ".damaged-" + timefmt::compactUtc(Clock::now());
  for (int n = 1; n < 1000; ++n) {
    std::string path = n == 1 ? base : base + "-" + std::to_string(n);
    UniqueFd fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!fd && errno == EEXIST) continue;
    if (!fd) throw systemError(errno, "Cannot keep the damaged log as " + path);
    int error = writeAll(fd.get(), bytes);
    if (error == 0 && ::fsync(fd.get()) != 0) error = errno;
    fd.close();
    if (error != 0) throw systemError(error, "Cannot keep the damaged log as " + path);
    syncFolder(std::string(paths::parent(logFile)));
    return;
  }
  throw systemError(EEXIST, "Cannot keep the damaged log beside " + logFile);
}

}  // namespace

LogFile readLog(const std::string& logFile) {
  LogFile log;
  log.exists = readWhole(logFile, log.bytes, log.isFolder);
  if (log.exists) readRecords(log);
  return log;
}

// Writes a whole new log beside the old one and renames it over: a reader sees the old log or
// the new one, never half of either. A log that did not read as a whole is kept first.
void writeLog(const std::string& logFile, const LogFile& old, const std::string& text) {
  if (old.isFolder) {
    throw systemError(EISDIR, "Cannot write " + logFile + ": a folder is in its place");
  }
  if (old.exists && !old.whole) keepDamaged(logFile, old.bytes);
  std::string folder(paths::parent(logFile));
  std::string pattern =
      paths::join(folder, "." + std::string(paths::lastComponent(logFile)) + ".XXXXXX");
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  UniqueFd fd(::mkostemp(name.data(), O_CLOEXEC));
  if (!fd) throw systemError(errno, "Cannot write " + logFile);
  const std::string temporary = name.data();

  int error = writeAll(fd.get(), text);
  if (error == 0 && ::fsync(fd.get()) != 0) error = errno;
  if (int closed = fd.close(); closed != 0 && error == 0) error = closed;
  if (error == 0) error = platform::logfiles::beforeReplacingLog(logFile);
  // Replacing cleared.json is intended: it is this program's own file, never a user's.
  if (error == 0 && ::rename(temporary.c_str(), logFile.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(temporary.c_str());  // the log's own half-written temporary file
    throw systemError(error, "Cannot write " + logFile);
  }
  syncFolder(folder);
}

bool existsAt(const std::string& path) {
  struct stat s {};
  return ::lstat(path.c_str(), &s) == 0;
}

std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const scanners::FolderEntry& e :
       scanners::listFolder(folder).value_or(std::vector<scanners::FolderEntry>{}))
    names.push_back(e.name);
  return names;
}

void append(const std::vector<Entry>& entries, const Locations& places) {
  checkIds(entries);
  if (entries.empty() && !existsAt(journalFile(places))) return;
  makeFolder(places);
  LogLock lock(places.logFile);
  mergeLocked(places, entries, false);
}

void save(const std::vector<Entry>& entries, const Locations& places) {
  checkIds(entries);
  makeFolder(places);
  LogLock lock(places.logFile);
  mergeLocked(places, entries, true);
}

Reading read(const Locations& places) {
  Reading reading;
  LogFile log = readLog(places.logFile);
  reading.entries = entriesOf(log);
  reading.unreadable = log.unreadable;
  if (log.isFolder) {
    reading.problem = places.logFile + " is a folder, not a log; nothing was read from it.";
  } else if (log.exists && !log.whole) {
    reading.problem = "Part of the log could not be read; its bytes are kept beside it.";
  }
  // Moves and Put Backs not yet merged (another process is merging, or the log cannot be
  // written) are shown as they will be recorded.
  const std::string journalPath = journalFile(places);
  JournalFile current = readJournalFile(journalPath);
  std::vector<JournalRecord> journal = current.text.records;
  if (current.exists && !current.readable()) {
    reading.journalNotes.push_back(
        journalPath + " could not be read (" +
        std::error_code(current.error, std::generic_category()).message() +
        "); it stays as it is until it can be merged.");
  }
  for (const std::string& name : namesIn(folderOf(places))) {
    std::string path = paths::join(folderOf(places), name);
    if (name.starts_with(kUnreadJournal)) {
      reading.journalNotes.push_back(
          "A journal of moves that could not be read is kept beside the log as " + path +
          "; it is merged once it can be read.");
    } else if (name.starts_with(kDamagedJournal)) {
      reading.journalNotes.push_back(
          "Part of a journal of moves could not be read; its bytes are "
          "kept beside the log as " +
          path + ".");
    }
  }
  if (!journal.empty()) {
    Settled settled = settle(journal, reading.entries, false);
    for (const Entry& e : settled.moved) {
      bool present = std::any_of(reading.entries.begin(), reading.entries.end(),
                                 [&](const Entry& x) { return x.id == e.id; });
      if (!present) reading.entries.push_back(e);
    }
    for (Entry& e : reading.entries) {
      if (auto it = settled.putBack.find(e.id); it != settled.putBack.end() && !e.putBackAt) {
        e.putBackAt = it->second;
      }
    }
  }
  return reading;
}

std::vector<Entry> load(const Locations& places) {
  std::vector<Entry> entries = read(places).entries;
  std::reverse(entries.begin(), entries.end());
  return entries;
}

}  // namespace dw::ClearedLog
