#include "clearing/cleared_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/paths.h"
#include "base/time.h"
#include "clearing/cleared_log_parts.h"
#include "platform/log_files.h"

namespace dw::ClearedLog {

namespace {

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

}  // namespace

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

struct Journal::State {
  Locations places;
  LogLock lock;
  std::string path;
  UniqueFd fd;
  explicit State(const Locations& p) : places(p), lock((makeFolder(p), p.logFile)) {}
};

Journal::Journal(const Locations& places) : state_(std::make_unique<State>(places)) {
  State& s = *state_;
  s.path = journalFile(places);
  s.fd.reset(
      ::open(s.path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (s.fd) {
    syncFolder(folderOf(places));  // a new journal's name is on disk before its records count
  } else if (errno == EEXIST) {
    s.fd.reset(::open(s.path.c_str(), O_RDWR | O_APPEND | O_NOFOLLOW | O_CLOEXEC));
  }
  if (!s.fd) throw systemError(errno, "Cannot open " + s.path);
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
  return platform::logfiles::appendRecord(fd, path, line) == 0 ? 0 : errno;
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
  return writeRecord(state_->fd.get(), state_->path, v);
}

int Journal::recordMove(const std::string& id, bool moved) {
  return writeRecord(state_->fd.get(), state_->path, opRecord(moved ? "moved" : "stayed", id));
}

int Journal::intendPutBack(const std::string& id, TimePoint at) {
  json::Value v = opRecord("putBack", id);
  v.set("at", timefmt::referenceSeconds(at));
  return writeRecord(state_->fd.get(), state_->path, v);
}

int Journal::recordPutBack(const std::string& id, bool done) {
  return writeRecord(state_->fd.get(), state_->path,
                     opRecord(done ? "putBackDone" : "putBackFailed", id));
}

void Journal::merge() {
  mergeLocked(state_->places, {}, false);
}

TextReading readJournalText(std::string_view text) {
  JournalText journal = parseJournal(text);
  return {static_cast<int>(journal.records.size()), journal.damaged};
}

}  // namespace dw::ClearedLog
