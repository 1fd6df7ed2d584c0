#include "clearing/cleared_log.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <limits>
#include <map>
#include <stdexcept>
#include <system_error>

#include "base/json.h"
#include "base/paths.h"
#include "base/time.h"
#include "platform/ownership.h"
#include "platform/trash.h"
#include "scanners/folder_listing.h"
#ifdef __linux__
#include "platform/linux/syscalls.h"
#endif

namespace dw::ClearedLog {

namespace {

using Kind = PutBackError::Kind;

// Every refusal names the item it refuses.
std::string describe(Kind kind, const std::string& text, const std::string& name) {
  const std::string item = name.empty() ? std::string("This item") : name;
  switch (kind) {
    case Kind::moveFailed:
      return name.empty() ? text : name + " was not put back: " + text;
    case Kind::alreadyPutBack:
      return item + " was already put back.";
    case Kind::notInTrash:
      return item + " is no longer in the Trash (it may have been emptied).";
    case Kind::originalOccupied:
      return item + " was not put back: something already exists at its original location.";
    case Kind::refusedLocation:
      return item +
             " cannot be put back: the recorded Trash path or original location is not "
             "allowed.";
    case Kind::alreadyInPlace:
      return item + " is already back in its original location.";
  }
  return text;
}

bool isUuid(std::string_view text) {
  if (text.size() != 36) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (i == 8 || i == 13 || i == 18 || i == 23) {
      if (c != '-') return false;
    } else if (!std::isxdigit(static_cast<unsigned char>(c))) {
      return false;
    }
  }
  return true;
}

std::string upper(std::string_view text) {
  std::string out(text);
  for (char& c : out)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

// --- JSON --------------------------------------------------------------------------------------

json::Value itemToJson(const platform::ItemMark& mark) {
  json::Value item{json::Object{}};
  item.set("device", static_cast<std::int64_t>(mark.identity.dev));
  item.set("inode", static_cast<std::int64_t>(mark.identity.ino));
  if (mark.bornNs) item.set("born", *mark.bornNs);
  return item;
}

json::Value toJson(const Entry& e) {
  json::Value object{json::Object{}};
  object.set("id", upper(e.id));
  object.set("sessionID", upper(e.sessionID));
  object.set("originalPath", e.originalPath);
  object.set("trashPath", e.trashPath);
  object.set("bytes", e.bytes);
  object.set("kind", e.kind);
  object.set("name", e.name);
  object.set("date", timefmt::referenceSeconds(e.date));
  if (e.putBackAt) object.set("putBackAt", timefmt::referenceSeconds(*e.putBackAt));
  // An extra key: a reader that knows only the fields above reads the record all the same.
  if (!e.shared.empty()) {
    json::Array copies;
    for (const SharedCopy& c : e.shared) {
      json::Value copy{json::Object{}};
      copy.set("path", c.path);
      copy.set("keptPath", c.keptPath);
      copies.push_back(std::move(copy));
    }
    object.set("shared", std::move(copies));
  }
  if (e.item) object.set("item", itemToJson(*e.item));
  return object;
}

const std::string* stringMember(const json::Value& object, std::string_view key) {
  const json::Value* v = object.find(key);
  return v && v->isString() ? &v->string() : nullptr;
}

// Dates a time point can hold: about 250 years either side of 2001.
constexpr double kDateLimit = 8e9;

std::optional<double> dateMember(const json::Value& object, std::string_view key) {
  const json::Value* v = object.find(key);
  if (!v || !v->isNumber() || !(std::fabs(v->number()) < kDateLimit)) return std::nullopt;
  return v->number();
}

std::optional<std::int64_t> bytesMember(const json::Value& object) {
  const json::Value* v = object.find("bytes");
  if (!v || !v->isNumber()) return std::nullopt;
  if (v->isInteger()) return v->integer();
  // A whole number written with a fraction ("5.0") still names a byte count.
  double d = v->number();
  if (!std::isfinite(d) || std::trunc(d) != d || d < -9.2e18 || d > 9.2e18) return std::nullopt;
  return static_cast<std::int64_t>(d);
}

std::optional<platform::ItemMark> itemFromJson(const json::Value& item) {
  if (!item.isObject()) return std::nullopt;
  auto whole = [&](std::string_view key) -> std::optional<std::int64_t> {
    const json::Value* v = item.find(key);
    if (!v || !v->isInteger()) return std::nullopt;
    return v->integer();
  };
  std::optional<std::int64_t> device = whole("device"), inode = whole("inode");
  if (!device || !inode || *device < 0 || *inode < 0) return std::nullopt;
  platform::ItemMark mark{{static_cast<std::uint64_t>(*device), static_cast<std::uint64_t>(*inode)},
                          std::nullopt};
  if (const json::Value* born = item.find("born"); born && !born->isNull()) {
    if (!born->isInteger()) return std::nullopt;
    mark.bornNs = born->integer();
  }
  return mark;
}

std::optional<Entry> fromJson(const json::Value& v) {
  if (!v.isObject()) return std::nullopt;
  const std::string* id = stringMember(v, "id");
  const std::string* session = stringMember(v, "sessionID");
  const std::string* original = stringMember(v, "originalPath");
  const std::string* trash = stringMember(v, "trashPath");
  const std::string* kind = stringMember(v, "kind");
  const std::string* name = stringMember(v, "name");
  std::optional<std::int64_t> bytes = bytesMember(v);
  std::optional<double> date = dateMember(v, "date");
  if (!id || !session || !original || !trash || !kind || !name || !bytes || !date) {
    return std::nullopt;
  }
  if (!isUuid(*id) || !isUuid(*session)) return std::nullopt;
  Entry e;
  e.id = upper(*id);
  e.sessionID = upper(*session);
  e.originalPath = *original;
  e.trashPath = *trash;
  e.bytes = *bytes;
  e.kind = *kind;
  e.name = *name;
  e.date = timefmt::fromReferenceSeconds(*date);
  if (const json::Value* back = v.find("putBackAt"); back && !back->isNull()) {
    std::optional<double> at = dateMember(v, "putBackAt");
    if (!at) return std::nullopt;
    e.putBackAt = timefmt::fromReferenceSeconds(*at);
  }
  if (const json::Value* shared = v.find("shared"); shared && !shared->isNull()) {
    // Malformed, the record is kept as it is rather than rewritten without its copies.
    if (!shared->isArray()) return std::nullopt;
    for (const json::Value& item : shared->array()) {
      const std::string* path = item.isObject() ? stringMember(item, "path") : nullptr;
      const std::string* kept = item.isObject() ? stringMember(item, "keptPath") : nullptr;
      if (!path || !kept) return std::nullopt;
      e.shared.push_back({*path, *kept});
    }
  }
  if (const json::Value* item = v.find("item"); item && !item->isNull()) {
    // Malformed, the record is kept as it is, as for its copies.
    std::optional<platform::ItemMark> mark = itemFromJson(*item);
    if (!mark) return std::nullopt;
    e.item = mark;
  }
  return e;
}

// --- The file ----------------------------------------------------------------------------------

std::system_error systemError(int error, const std::string& what) {
  return std::system_error(error, std::generic_category(), what);
}

void checkIds(const std::vector<Entry>& entries) {
  // A record that could not be read back would be kept only as text.
  for (const Entry& e : entries) {
    if (!isUuid(e.id) || !isUuid(e.sessionID)) {
      throw std::invalid_argument("A cleared-log record needs UUIDs for id and sessionID: \"" +
                                  e.id + "\", \"" + e.sessionID + "\"");
    }
  }
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

// The replacing of the log, behind the seam where tests can fail it or end the process there.
int beforeReplacingLog([[maybe_unused]] const std::string& path) {
#ifdef __linux__
  return platform::sys::checkpoint(platform::sys::Step::replaceLog, path);
#else
  return 0;
#endif
}

int appendRecord(int fd, const std::string& path, std::string_view bytes) {
#ifdef __linux__
  return platform::sys::appendRecord(fd, path, bytes);
#else
  while (!bytes.empty()) {
    ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return -1;
    }
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return ::fsync(fd);
#endif
}

// Serialises read-modify-write cycles of processes sharing the log, and every move with the
// recovery of another process. The lock file stays: removing it while another process waits on
// it would let a third one lock a different file.
class LogLock {
 public:
  explicit LogLock(const std::string& logFile) {
    std::string path = logFile + ".lock";
    fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd_ < 0) throw systemError(errno, "Cannot open " + path);
    while (::flock(fd_, LOCK_EX) != 0) {
      if (errno == EINTR) continue;
      int error = errno;
      ::close(fd_);
      throw systemError(error, "Cannot lock " + path);
    }
  }
  ~LogLock() { ::close(fd_); }  // closing releases the lock
  LogLock(const LogLock&) = delete;
  LogLock& operator=(const LogLock&) = delete;

 private:
  int fd_ = -1;
};

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

bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// The top-level values of a JSON array, each as its own text, read as far as the text goes:
// one bad record, or a file cut short, leaves the others readable.
// Where the JSON string opening at text[at] ends (just past its closing quote); npos when the
// text ends inside it.
size_t pastString(std::string_view text, size_t at) {
  for (size_t i = at + 1; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      return i + 1;
    }
  }
  return std::string_view::npos;
}

std::vector<std::string_view> splitArray(std::string_view text, bool& whole) {
  std::vector<std::string_view> items;
  size_t i = 0;
  auto skip = [&] {
    while (i < text.size() && isSpace(text[i]))
      ++i;
  };
  skip();
  if (i == text.size()) return items;  // an empty file: no records
  if (text[i] != '[') {
    whole = false;
    return items;
  }
  ++i;
  bool closed = false;
  while (true) {
    skip();
    if (i >= text.size()) break;
    if (text[i] == ']' && items.empty()) {
      closed = true;
      ++i;
      break;
    }
    size_t start = i;
    int depth = 0;
    for (; i < text.size(); ++i) {
      char c = text[i];
      if (c == '"') {
        i = std::min(pastString(text, i), text.size()) - 1;  // the loop steps past it
      } else if (c == '[' || c == '{') {
        ++depth;
      } else if (c == ']' || c == '}') {
        if (depth == 0) break;
        --depth;
      } else if (c == ',' && depth == 0) {
        break;
      }
    }
    size_t end = std::min(i, text.size());
    while (end > start && isSpace(text[end - 1]))
      --end;
    items.push_back(text.substr(start, end - start));
    if (i >= text.size()) break;
    if (text[i] == ']') {
      closed = true;
      ++i;
      break;
    }
    ++i;  // the comma
  }
  skip();
  if (!closed || i != text.size()) whole = false;
  return items;
}

// The records of log.bytes.
void readRecords(LogFile& log) {
  for (std::string_view item : splitArray(log.bytes, log.whole)) {
    Record record;
    std::optional<json::Value> value = json::parse(item);
    if (value) record.entry = fromJson(*value);
    if (!record.entry) {
      record.raw = std::string(item);
      ++log.unreadable;
      // A record that is JSON is written back as it is; a fragment that is not cannot be.
      if (!value) log.whole = false;
    }
    log.records.push_back(std::move(record));
  }
}

LogFile readLog(const std::string& logFile) {
  LogFile log;
  log.exists = readWhole(logFile, log.bytes, log.isFolder);
  if (log.exists) readRecords(log);
  return log;
}

std::string entryText(const Entry& e) {
  return json::write(toJson(e), json::WriteOptions{.escapeSlashes = true});
}

// The log's bytes for these records: entries as encode writes them, unreadable records as they
// were. A fragment that is not JSON at all (a file cut short) cannot stay in an array; its bytes
// live on in the damaged copy.
std::string encodeRecords(const std::vector<Record>& records) {
  std::string text = "[";
  bool first = true;
  for (const Record& r : records) {
    std::string item = r.entry ? entryText(*r.entry) : r.raw;
    if (!r.entry && !json::parse(r.raw)) continue;
    if (!first) text += ',';
    text += item;
    first = false;
  }
  return text + "]";
}

std::string utcStamp() {
  std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  char buffer[32];
  size_t n = std::strftime(buffer, sizeof buffer, "%Y%m%dT%H%M%SZ", &parts);
  return std::string(buffer, n);
}

void writeAll(int fd, std::string_view rest, int& error) {
  while (!rest.empty() && error == 0) {
    ssize_t n = ::write(fd, rest.data(), rest.size());
    if (n < 0) {
      if (errno != EINTR) error = errno;
      continue;
    }
    rest.remove_prefix(static_cast<size_t>(n));
  }
}

// Keeps the bytes of a log that did not read as a whole beside it, under a name never used
// before, before anything replaces it. (A log whose unreadable records are JSON needs no copy:
// they are written back byte for byte.)
void keepDamaged(const std::string& logFile, const std::string& bytes) {
  const std::string base = logFile + ".damaged-" + utcStamp();
  for (int n = 1; n < 1000; ++n) {
    std::string path = n == 1 ? base : base + "-" + std::to_string(n);
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0 && errno == EEXIST) continue;
    if (fd < 0) throw systemError(errno, "Cannot keep the damaged log as " + path);
    int error = 0;
    writeAll(fd, bytes, error);
    if (error == 0 && ::fsync(fd) != 0) error = errno;
    ::close(fd);
    if (error != 0) throw systemError(error, "Cannot keep the damaged log as " + path);
    syncFolder(std::string(paths::parent(logFile)));
    return;
  }
  throw systemError(EEXIST, "Cannot keep the damaged log beside " + logFile);
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
  int fd = ::mkostemp(name.data(), O_CLOEXEC);
  if (fd < 0) throw systemError(errno, "Cannot write " + logFile);
  const std::string temporary = name.data();

  int error = 0;
  writeAll(fd, text, error);
  if (error == 0 && ::fsync(fd) != 0) error = errno;
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error == 0) error = beforeReplacingLog(logFile);
  // Replacing cleared.json is intended: it is this program's own file, never a user's.
  if (error == 0 && ::rename(temporary.c_str(), logFile.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(temporary.c_str());  // the log's own half-written temporary file
    throw systemError(error, "Cannot write " + logFile);
  }
  syncFolder(folder);
}

// --- The journal -------------------------------------------------------------------------------

struct JournalRecord {
  std::string op;  // "move", "moved", "stayed", "putBack", "putBackDone", "putBackFailed"
  std::string id;
  std::optional<Entry> entry;  // for "move": the record it will be, trashPath the planned place
  TimePoint at{};              // for "putBack"
};

// A line cut short (its end lost with the power, or a full disk) read as far as it goes: the
// text up to one of its last complete members, with the brackets left open closed. A cut never
// falls after a bare number or word, which may itself be cut ("bytes":12 of 1234).
std::optional<json::Value> readCutLine(std::string_view line) {
  struct Cut {
    size_t at;
    std::string closers;
  };
  std::vector<Cut> cuts;
  std::string open;  // the brackets still open, innermost last
  auto closers = [&] {
    std::string out;
    for (auto it = open.rbegin(); it != open.rend(); ++it)
      out += *it == '{' ? '}' : ']';
    return out;
  };
  bool inString = false;
  for (size_t i = 0; i < line.size(); ++i) {
    char c = line[i];
    if (c == '"') {
      size_t end = pastString(line, i);
      inString = end == std::string_view::npos;
      if (inString) break;
      i = end - 1;  // the loop steps past it
    } else if (c == '{' || c == '[') {
      open.push_back(c);
    } else if (c == '}' || c == ']') {
      if (open.empty()) return std::nullopt;
      open.pop_back();
      if (!open.empty()) cuts.push_back({i + 1, closers()});
    } else if (c == ',' && !open.empty()) {
      cuts.push_back({i, closers()});
    }
  }
  size_t end = line.find_last_not_of(" \t\r");
  if (!inString && !open.empty() && end != std::string_view::npos && line[end] == '"') {
    cuts.push_back({end + 1, closers()});
  }
  // The last few places only: a record is a few hundred bytes.
  for (size_t tried = 0; tried < 8 && !cuts.empty(); ++tried) {
    Cut cut = std::move(cuts.back());
    cuts.pop_back();
    if (auto v = json::parse(std::string(line.substr(0, cut.at)) + cut.closers)) return v;
  }
  return std::nullopt;
}

std::optional<JournalRecord> journalRecord(const json::Value& v) {
  if (!v.isObject()) return std::nullopt;
  const std::string* op = stringMember(v, "op");
  const std::string* id = stringMember(v, "id");
  if (!op || !id) return std::nullopt;
  JournalRecord r{*op, upper(*id), std::nullopt, {}};
  if (*op == "move") {
    const json::Value* e = v.find("entry");
    if (!e || !(r.entry = fromJson(*e))) return std::nullopt;
  } else if (*op == "putBack") {
    std::optional<double> at = dateMember(v, "at");
    if (!at) return std::nullopt;
    r.at = timefmt::fromReferenceSeconds(*at);
  }
  return r;
}

struct JournalText {
  std::vector<JournalRecord> records;
  int damaged = 0;  // lines that could not be read whole
};

JournalText parseJournal(std::string_view text) {
  JournalText out;
  for (std::string_view line : paths::split(text, '\n')) {
    if (line.find_first_not_of(" \t\r") == std::string_view::npos) continue;
    std::optional<json::Value> v = json::parse(line);
    std::optional<JournalRecord> record = v ? journalRecord(*v) : std::nullopt;
    if (!record) {
      ++out.damaged;
      // A record whose every needed member came before the cut is still used.
      if (!v) {
        if (std::optional<json::Value> cut = readCutLine(line)) record = journalRecord(*cut);
      }
    }
    if (record) out.records.push_back(std::move(*record));
  }
  return out;
}

// The journal as found: absent, unreadable (another user's, not a file), or its records.
struct JournalFile {
  bool exists = false;
  int error = 0;  // why it could not be read
  std::string bytes;
  JournalText text;
  bool readable() const { return exists && error == 0; }
};

JournalFile readJournalFile(const std::string& path) {
  JournalFile journal;
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
  if (fd < 0) {
    journal.exists = errno != ENOENT;
    journal.error = errno;
    return journal;
  }
  journal.exists = true;
  struct stat s {};
  if (::fstat(fd, &s) != 0 || !S_ISREG(s.st_mode)) {
    journal.error = S_ISDIR(s.st_mode) ? EISDIR : EINVAL;
    ::close(fd);
    return journal;
  }
  journal.error = readToEnd(fd, journal.bytes);
  if (journal.error == 0) journal.text = parseJournal(journal.bytes);
  return journal;
}

bool existsAt(const std::string& path) {
  struct stat s {};
  return ::lstat(path.c_str(), &s) == 0;
}

// What the journal says, once each unfinished step is settled from what the file system holds.
struct Settled {
  std::vector<Entry> moved;                  // in the order they were moved
  std::map<std::string, TimePoint> putBack;  // id -> when
};

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

std::vector<Entry> entriesOf(const LogFile& log) {
  std::vector<Entry> entries;
  for (const Record& r : log.records)
    if (r.entry) entries.push_back(*r.entry);
  return entries;
}

constexpr std::string_view kUnreadJournal = "cleared.journal.unread-";
constexpr std::string_view kDamagedJournal = "cleared.journal.damaged-";

std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const scanners::FolderEntry& e :
       scanners::listFolder(folder).value_or(std::vector<scanners::FolderEntry>{}))
    names.push_back(e.name);
  return names;
}

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
  const std::string base = std::string(prefix) + utcStamp();
  int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir < 0) throw systemError(errno, "Cannot keep " + path);
  int error = EEXIST;
  for (int n = 1; n < 1000 && error == EEXIST; ++n) {
    std::string name = n == 1 ? base : base + "-" + std::to_string(n);
#ifdef __linux__
    error = platform::sys::renameNoReplace(dir, std::string(paths::lastComponent(path)), dir, name,
                                           path) == 0
                ? 0
                : errno;
#else
    struct stat s {};
    error = ::fstatat(dir, name.c_str(), &s, AT_SYMLINK_NOFOLLOW) == 0 ? EEXIST : 0;
    if (error == 0 &&
        ::renameat(dir, std::string(paths::lastComponent(path)).c_str(), dir, name.c_str()) != 0)
      error = errno;
#endif
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

// What recovery has to do: a journal, a temporary copy of the log, or a set-aside journal.
bool needsRecovery(const Locations& places) {
  if (existsAt(journalFile(places))) return true;
  for (const std::string& name : namesIn(folderOf(places))) {
    if (isTemporaryLogName(name, places.logFile) || name.starts_with(kUnreadJournal)) return true;
  }
  return false;
}

// --- Put Back ----------------------------------------------------------------------------------

bool absolute(const std::string& path) {
  return !path.empty() && path.front() == '/';
}

// An app bundle that lay in one of the Applications folders the uninstaller lists (directly, or
// in a vendor folder one level down): that folder as it resolves, and the rest of the path. The
// folder is the system's (not the user's own), so it is opened as it resolves, never through a
// link below it, and the rename back never replaces anything; the system's rights decide.
std::optional<platform::Placement> applicationPlacement(const std::string& original,
                                                        const Locations& places) {
  const std::string item = paths::standardize(original);
  if (!paths::lastComponent(item).ends_with(".app")) return std::nullopt;
  for (const std::string& folder : places.applicationFolders) {
    if (folder.empty()) continue;
    const std::string written = paths::standardize(folder);
    for (const std::string& form : {written, paths::resolveSymlinks(written)}) {
      if (!paths::isStrictlyWithin(item, form)) continue;
      std::string relative = item.substr(form == "/" ? 1 : form.size() + 1);
      if (paths::split(relative, '/').size() > 2) return std::nullopt;
      return platform::Placement{paths::resolveSymlinks(written), relative, false};
    }
  }
  return std::nullopt;
}

// A record's two places as Put Back takes them.
struct Accepted {
  std::string trash;             // links resolved
  platform::Placement original;  // the place a move accepted, and the path below it
};

// The location rule of Put Back: the Trash path names an item of one of this user's real Trash
// folders, and the original place is one that a move accepts (in the home or a place of the
// user's that may be used, Ownership::placeOf), with no link in the folders below that place:
// one put there since the move would send the item elsewhere.
std::optional<Accepted> acceptedPlaces(const Entry& entry, const Locations& places) {
  if (!absolute(entry.trashPath) || !absolute(entry.originalPath) || !absolute(places.home)) {
    return std::nullopt;
  }
  // From here on only the resolved Trash path is used, so the item moved is the one checked,
  // whatever links or ".." the record holds.
  Accepted accepted{paths::resolveParentSymlinks(entry.trashPath), {}};
  if (!platform::isInTrashFolder(accepted.trash, paths::resolveSymlinks(places.home))) {
    return std::nullopt;
  }
  Ownership::Place place = Ownership::placeOf(entry.originalPath, places);
  if (place.where == Ownership::Where::elsewhere) {
    // An app the uninstaller moved from an Applications folder goes back there.
    std::optional<platform::Placement> app = applicationPlacement(entry.originalPath, places);
    if (!app) return std::nullopt;
    place.where = Ownership::Where::usable;
    place.placement = std::move(*app);
  }
  if (place.where != Ownership::Where::usable) return std::nullopt;
  accepted.original = place.placement;
  std::string folder = accepted.original.folder;
  std::vector<std::string_view> parts = paths::split(accepted.original.relative, '/');
  parts.pop_back();  // the item's own name: whatever stands there is checked as occupying it
  for (std::string_view part : parts) {
    folder = paths::join(folder, part);
    struct stat s {};
    if (::lstat(folder.c_str(), &s) != 0) break;  // made again by Put Back
    if (S_ISLNK(s.st_mode)) return std::nullopt;
  }
  return accepted;
}

std::string originalPathOf(const platform::Placement& original) {
  return paths::join(original.folder, original.relative);
}

}  // namespace

PutBackError::PutBackError(Kind kind, const std::string& text, const std::string& name)
    : std::runtime_error(describe(kind, text, name)), kind_(kind) {}

std::string encode(const std::vector<Entry>& entries) {
  json::Array array;
  array.reserve(entries.size());
  for (const Entry& e : entries)
    array.push_back(toJson(e));
  return json::write(json::Value(std::move(array)), json::WriteOptions{.escapeSlashes = true});
}

std::optional<std::vector<Entry>> decode(std::string_view text) {
  std::optional<json::Value> root = json::parse(text);
  if (!root || !root->isArray()) return std::nullopt;
  std::vector<Entry> entries;
  entries.reserve(root->array().size());
  for (const json::Value& item : root->array()) {
    std::optional<Entry> e = fromJson(item);
    if (!e) return std::nullopt;
    entries.push_back(std::move(*e));
  }
  return entries;
}

// --- The journal -------------------------------------------------------------------------------

struct Journal::State {
  Locations places;
  LogLock lock;
  std::string path;
  int fd = -1;
  explicit State(const Locations& p) : places(p), lock((makeFolder(p), p.logFile)) {}
  ~State() {
    if (fd >= 0) ::close(fd);
  }
};

Journal::Journal(const Locations& places) : state_(std::make_unique<State>(places)) {
  State& s = *state_;
  s.path = journalFile(places);
  s.fd =
      ::open(s.path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (s.fd >= 0) {
    syncFolder(folderOf(places));  // a new journal's name is on disk before its records count
  } else if (errno == EEXIST) {
    s.fd = ::open(s.path.c_str(), O_RDWR | O_APPEND | O_NOFOLLOW | O_CLOEXEC);
  }
  if (s.fd < 0) throw systemError(errno, "Cannot open " + s.path);
}

Journal::~Journal() = default;

namespace {
int writeRecord(int fd, const std::string& path, const json::Value& record) {
  std::string line = json::write(record, json::WriteOptions{.escapeSlashes = true}) + "\n";
  // A line left unfinished by a crash is ended first, so this record starts a line of its own.
  struct stat s {};
  char last = '\n';
  if (::fstat(fd, &s) == 0 && s.st_size > 0 && ::pread(fd, &last, 1, s.st_size - 1) != 1) {
    last = '\n';
  }
  if (last != '\n') line.insert(line.begin(), '\n');
  return appendRecord(fd, path, line) == 0 ? 0 : errno;
}

json::Value opRecord(std::string_view op, const std::string& id) {
  json::Value v{json::Object{}};
  v.set("op", op);
  v.set("id", upper(id));
  return v;
}
}  // namespace

int Journal::intendMove(const Entry& planned) {
  if (!isUuid(planned.id) || !isUuid(planned.sessionID)) return EINVAL;
  json::Value v = opRecord("move", planned.id);
  v.set("entry", toJson(planned));
  return writeRecord(state_->fd, state_->path, v);
}

int Journal::recordMove(const std::string& id, bool moved) {
  return writeRecord(state_->fd, state_->path, opRecord(moved ? "moved" : "stayed", id));
}

int Journal::intendPutBack(const std::string& id, TimePoint at) {
  json::Value v = opRecord("putBack", id);
  v.set("at", timefmt::referenceSeconds(at));
  return writeRecord(state_->fd, state_->path, v);
}

int Journal::recordPutBack(const std::string& id, bool done) {
  return writeRecord(state_->fd, state_->path,
                     opRecord(done ? "putBackDone" : "putBackFailed", id));
}

void Journal::merge() {
  mergeLocked(state_->places, {}, false);
}

void recover(const Locations& places) {
  // Another user's log is never written: its journal waits for that user.
  if (!needsRecovery(places) || Ownership::refusalToMove(places)) return;
  LogLock lock(places.logFile);
  removeTemporaryLogs(places);
  mergeLocked(places, {}, false);
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

TextReading readLogText(std::string_view text) {
  LogFile log;
  log.exists = true;
  log.bytes = std::string(text);
  readRecords(log);
  TextReading reading;
  reading.records = static_cast<int>(entriesOf(log).size());
  reading.unreadable = log.unreadable;
  return reading;
}

TextReading readJournalText(std::string_view text) {
  JournalText journal = parseJournal(text);
  return {static_cast<int>(journal.records.size()), journal.damaged};
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

bool isBackInPlace(const Entry& entry) {
  return entry.item && platform::isSameItem(entry.originalPath, *entry.item);
}

bool isAllowed(const Entry& entry, const Locations& places) {
  return acceptedPlaces(entry, places).has_value();
}

Status status(const Entry& entry, const Locations& places) {
  if (entry.putBackAt) return Status::putBack;
  if (isShare(entry)) return Status::shared;
  if (!platform::trashItemMatches(entry.trashPath, entry.originalPath))
    return isBackInPlace(entry) ? Status::putBack : Status::trashEmptied;
  return isAllowed(entry, places) ? Status::inTrash : Status::putBackByHand;
}

Entry putBack(const Entry& entry, const Locations& places) {
  if (entry.putBackAt) throw PutBackError(Kind::alreadyPutBack, {}, entry.name);
  if (isShare(entry)) throw PutBackError(Kind::moveFailed, std::string(kNothingToPutBack));
  // Nothing goes back into a home of another user (root with that user's HOME).
  if (std::optional<std::string> refusal = Ownership::refusalToMove(places)) {
    throw PutBackError(Kind::moveFailed, *refusal);
  }
  std::optional<Accepted> accepted = acceptedPlaces(entry, places);
  if (!accepted) throw PutBackError(Kind::refusedLocation, {}, entry.name);
  const std::string& trash = accepted->trash;
  const std::string original = originalPathOf(accepted->original);

  if (!platform::trashItemMatches(trash, entry.originalPath)) {
    throw PutBackError(isBackInPlace(entry) ? Kind::alreadyInPlace : Kind::notInTrash, {},
                       entry.name);
  }
  if (existsAt(original)) throw PutBackError(Kind::originalOccupied, {}, entry.name);

  if (int e = platform::makeFolders(accepted->original)) {
    throw systemError(e, "Cannot create " + std::string(paths::parent(original)));
  }

  Entry updated = entry;
  updated.id = upper(entry.id);
  updated.putBackAt = Clock::now();
  Journal journal(places);
  if (int e = journal.intendPutBack(updated.id, *updated.putBackAt)) {
    throw systemError(e, "Cannot write " + journalFile(places));
  }
  std::string failure = platform::moveOutOfTrash(trash, accepted->original);
  if (!failure.empty()) {
    journal.recordPutBack(updated.id, false);
    try {
      journal.merge();  // nothing to record; the journal goes
    } catch (const std::exception&) {
      // The refusal is what matters; the journal is settled at the next start.
    }
    throw PutBackError(Kind::moveFailed, failure, entry.name);
  }
  // The item is back. A failure to note it (here or in the merge) is reported, and the next
  // start finds it back from the Trash and the journal.
  if (int e = journal.recordPutBack(updated.id, true)) {
    throw systemError(e, "Cannot write " + journalFile(places));
  }
  journal.merge();
  return updated;
}

}  // namespace dw::ClearedLog
