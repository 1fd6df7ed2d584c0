#include "trash/cleared_log.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "base/json.h"
#include "base/paths.h"
#include "base/time.h"
#include "platform/trash.h"

namespace dw::ClearedLog {

namespace {

using Kind = PutBackError::Kind;

std::string describe(Kind kind, const std::string& text) {
  switch (kind) {
    case Kind::moveFailed:
      return text;
    case Kind::alreadyPutBack:
      return "This item was already put back.";
    case Kind::notInTrash:
      return "This item is no longer in the Trash (it may have been emptied).";
    case Kind::originalOccupied:
      return "Something already exists at the original location.";
    case Kind::refusedLocation:
      return "This item cannot be put back. The recorded Trash path or original location is "
             "not allowed.";
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
  return e;
}

// --- The file ----------------------------------------------------------------------------------

std::system_error systemError(int error, const std::string& what) {
  return std::system_error(error, std::generic_category(), what);
}

void checkIds(const std::vector<Entry>& entries) {
  // A record that could not be read back would make the whole log unreadable.
  for (const Entry& e : entries) {
    if (!isUuid(e.id) || !isUuid(e.sessionID)) {
      throw std::invalid_argument("A cleared-log record needs UUIDs for id and sessionID: \"" +
                                  e.id + "\", \"" + e.sessionID + "\"");
    }
  }
}

void makeFolder(const Locations& places) {
  std::string folder(paths::parent(places.logFile));
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  if (ec) throw std::system_error(ec, "Cannot create " + folder);
}

// Serialises read-modify-write cycles of processes sharing the log. The lock file stays: removing
// it while another process waits on it would let a third one lock a different file.
class LogLock {
 public:
  explicit LogLock(const std::string& logFile) {
    std::string path = logFile + ".lock";
    fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
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

std::vector<Entry> readEntries(const std::string& logFile) {
  std::ifstream in(logFile, std::ios::binary);
  if (!in) return {};
  std::stringstream text;
  text << in.rdbuf();
  return decode(text.str()).value_or(std::vector<Entry>{});
}

// Writes a whole new log beside the old one and renames it over: a reader sees the old log or
// the new one, never half of either.
void writeAtomically(const std::string& logFile, const std::string& text) {
  std::string folder(paths::parent(logFile));
  std::string pattern =
      paths::join(folder, "." + std::string(paths::lastComponent(logFile)) + ".XXXXXX");
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  int fd = ::mkostemp(name.data(), O_CLOEXEC);
  if (fd < 0) throw systemError(errno, "Cannot write " + logFile);
  const std::string temporary = name.data();

  int error = 0;
  std::string_view rest = text;
  while (!rest.empty() && error == 0) {
    ssize_t n = ::write(fd, rest.data(), rest.size());
    if (n < 0) {
      if (errno != EINTR) error = errno;
      continue;
    }
    rest.remove_prefix(static_cast<size_t>(n));
  }
  if (error == 0 && ::fsync(fd) != 0) error = errno;
  if (::close(fd) != 0 && error == 0) error = errno;
  // Replacing cleared.json is intended: it is this program's own file, never a user's.
  if (error == 0 && ::rename(temporary.c_str(), logFile.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(temporary.c_str());  // the log's own half-written temporary file
    throw systemError(error, "Cannot write " + logFile);
  }
  if (int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); dir >= 0) {
    ::fsync(dir);
    ::close(dir);
  }
}

// --- Put Back ----------------------------------------------------------------------------------

bool allowedResolved(const std::string& trash, const std::string& original,
                     const std::string& home) {
  if (original.rfind(home + "/", 0) != 0) return false;
  return platform::isInTrashFolder(trash, home);
}

bool absolute(const std::string& path) {
  return !path.empty() && path.front() == '/';
}

}  // namespace

PutBackError::PutBackError(Kind kind, const std::string& text)
    : std::runtime_error(describe(kind, text)), kind_(kind) {}

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

void append(const std::vector<Entry>& entries, const Locations& places) {
  if (entries.empty()) return;
  checkIds(entries);
  makeFolder(places);
  LogLock lock(places.logFile);
  std::vector<Entry> all = readEntries(places.logFile);
  all.insert(all.end(), entries.begin(), entries.end());
  writeAtomically(places.logFile, encode(all));
}

void save(const std::vector<Entry>& entries, const Locations& places) {
  checkIds(entries);
  makeFolder(places);
  LogLock lock(places.logFile);
  writeAtomically(places.logFile, encode(entries));
}

std::vector<Entry> load(const Locations& places) {
  std::vector<Entry> entries = readEntries(places.logFile);
  std::reverse(entries.begin(), entries.end());
  return entries;
}

bool isAllowed(const std::string& trashPath, const std::string& originalPath,
               const std::string& home) {
  if (!absolute(trashPath) || !absolute(originalPath) || !absolute(home)) return false;
  // The last components stay unresolved: a trashed link is the item itself, and a link at the
  // original place is something that exists there.
  return allowedResolved(paths::resolveParentSymlinks(trashPath),
                         paths::resolveParentSymlinks(originalPath), paths::resolveSymlinks(home));
}

int status(const Entry& entry) {
  if (entry.putBackAt) return 1;
  struct stat s {};
  return ::lstat(entry.trashPath.c_str(), &s) == 0 ? 0 : 2;
}

std::string statusText(const Entry& entry) {
  switch (status(entry)) {
    case 0:
      return "In the Trash";
    case 1:
      return "Put back " + timefmt::localDateTime(*entry.putBackAt);
    default:
      return "Trash emptied";
  }
}

Entry putBack(const Entry& entry, const Locations& places) {
  if (entry.putBackAt) throw PutBackError(Kind::alreadyPutBack);
  if (!absolute(entry.trashPath) || !absolute(entry.originalPath) || !absolute(places.home)) {
    throw PutBackError(Kind::refusedLocation);
  }
  // From here on only the resolved paths are used, so the item moved is the one that was
  // checked, whatever links or ".." the record holds.
  const std::string home = paths::resolveSymlinks(places.home);
  const std::string trash = paths::resolveParentSymlinks(entry.trashPath);
  const std::string original = paths::resolveParentSymlinks(entry.originalPath);
  if (!allowedResolved(trash, original, home)) throw PutBackError(Kind::refusedLocation);

  struct stat s {};
  if (::lstat(trash.c_str(), &s) != 0 || !platform::trashItemMatches(trash, entry.originalPath)) {
    throw PutBackError(Kind::notInTrash);
  }
  if (::lstat(original.c_str(), &s) == 0) throw PutBackError(Kind::originalOccupied);

  std::error_code ec;
  std::filesystem::create_directories(std::string(paths::parent(original)), ec);
  if (ec) throw std::system_error(ec);

  std::string failure = platform::moveOutOfTrash(trash, original);
  if (!failure.empty()) throw PutBackError(Kind::moveFailed, failure);

  Entry updated = entry;
  updated.putBackAt = Clock::now();
  makeFolder(places);
  LogLock lock(places.logFile);
  std::vector<Entry> all = readEntries(places.logFile);
  for (Entry& e : all) {
    if (e.id == upper(updated.id)) e = updated;
  }
  writeAtomically(places.logFile, encode(all));
  return updated;
}

}  // namespace dw::ClearedLog
