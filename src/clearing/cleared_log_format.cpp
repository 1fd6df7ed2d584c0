#include "clearing/cleared_log.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <stdexcept>

#include "base/time.h"
#include "clearing/cleared_log_parts.h"

namespace dw::ClearedLog {

namespace {

std::optional<std::int64_t> bytesMember(const json::Value& object) {
  const json::Value* v = object.find("bytes");
  if (!v || !v->isNumber()) return std::nullopt;
  if (v->isInteger()) return v->integer();
  // A whole number written with a fraction ("5.0") still names a byte count.
  double d = v->number();
  if (!std::isfinite(d) || std::trunc(d) != d || d < -9.2e18 || d > 9.2e18) return std::nullopt;
  return static_cast<std::int64_t>(d);
}

bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

}  // namespace

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

void checkIds(const std::vector<Entry>& entries) {
  // A record that could not be read back would be kept only as text.
  for (const Entry& e : entries) {
    if (!isUuid(e.id) || !isUuid(e.sessionID)) {
      throw std::invalid_argument("A cleared-log record needs UUIDs for id and sessionID: \"" +
                                  e.id + "\", \"" + e.sessionID + "\"");
    }
  }
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

namespace {

std::string entryText(const Entry& e) {
  return json::write(toJson(e), json::WriteOptions{.escapeSlashes = true});
}

}  // namespace

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

std::vector<Entry> entriesOf(const LogFile& log) {
  std::vector<Entry> entries;
  for (const Record& r : log.records)
    if (r.entry) entries.push_back(*r.entry);
  return entries;
}

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

}  // namespace dw::ClearedLog
