#include "platform/plist.h"

#include <algorithm>
#include <cstdint>

#include "base/json.h"
#include "platform/file_reading.h"

namespace dw::platform {

namespace {

// A key's value as read: a string, an array of strings, or something callers never ask for.
struct Value {
  enum class Kind { string, strings, other } kind = Kind::other;
  std::string text;
  std::vector<std::string> items;
};

void setValue(PropertyList& list, std::string key, Value value) {
  std::erase_if(list.stringValues, [&](const auto& kv) { return kv.first == key; });
  std::erase_if(list.stringArrays, [&](const auto& kv) { return kv.first == key; });
  if (value.kind == Value::Kind::string) {
    list.stringValues.emplace_back(std::move(key), std::move(value.text));
  } else if (value.kind == Value::Kind::strings) {
    list.stringArrays.emplace_back(std::move(key), std::move(value.items));
  }
}

// --- XML -------------------------------------------------------------------------------------
//
// One pass over the text with a stack of open element names (the depth is bounded), no
// recursion. Everything must be well formed; only the top dictionary's strings and its arrays'
// strings are kept.

class XmlReader {
 public:
  explicit XmlReader(std::string_view text) : text_(text) {}

  std::optional<PropertyList> read() {
    if (text_.starts_with("\xEF\xBB\xBF")) pos_ = 3;  // a UTF-8 byte order mark
    while (true) {
      if (!skipText()) return std::nullopt;
      if (pos_ >= text_.size()) break;
      if (!markup()) return std::nullopt;
    }
    if (!stack_.empty() || !rootSeen_ || !topIsDict_) return std::nullopt;
    return std::move(list_);
  }

 private:
  // Text up to the next '<': kept where a string or key is being read, else only blanks.
  bool skipText() {
    size_t end = text_.find('<', pos_);
    if (end == std::string_view::npos) end = text_.size();
    std::string_view raw = text_.substr(pos_, end - pos_);
    pos_ = end;
    if (capturing()) return decodeInto(raw, *capture_);
    if (stack_.empty() || isContainer(stack_.back())) {
      return raw.find_first_not_of(" \t\r\n") == std::string_view::npos;
    }
    return true;  // the content of a value nobody asks for (an integer, a date)
  }

  static bool isContainer(std::string_view name) {
    return name == "plist" || name == "dict" || name == "array";
  }

  bool capturing() const { return capture_ && stack_.size() == captureDepth_; }

  bool decodeInto(std::string_view raw, std::string& out) {
    for (size_t i = 0; i < raw.size(); ++i) {
      if (raw[i] != '&') {
        out += raw[i];
        continue;
      }
      size_t semi = raw.find(';', i);
      if (semi == std::string_view::npos || semi - i > 12) return false;
      std::string_view name = raw.substr(i + 1, semi - i - 1);
      i = semi;
      if (name == "lt") {
        out += '<';
      } else if (name == "gt") {
        out += '>';
      } else if (name == "amp") {
        out += '&';
      } else if (name == "quot") {
        out += '"';
      } else if (name == "apos") {
        out += '\'';
      } else if (name.size() >= 2 && name[0] == '#') {
        bool hex = name[1] == 'x' || name[1] == 'X';
        std::string_view digits = name.substr(hex ? 2 : 1);
        if (digits.empty()) return false;
        std::uint32_t c = 0;
        for (char d : digits) {
          int v = d >= '0' && d <= '9'          ? d - '0'
                  : hex && d >= 'a' && d <= 'f' ? d - 'a' + 10
                  : hex && d >= 'A' && d <= 'F' ? d - 'A' + 10
                                                : -1;
          if (v < 0) return false;
          c = c * (hex ? 16 : 10) + static_cast<std::uint32_t>(v);
          if (c > 0x10FFFF) return false;
        }
        if (c == 0 || (c >= 0xD800 && c <= 0xDFFF)) return false;
        json::appendUtf8(out, c);
      } else {
        return false;
      }
    }
    return true;
  }

  // Markup at pos_ ('<'): a declaration, comment, doctype, CDATA section, or a tag.
  bool markup() {
    std::string_view rest = text_.substr(pos_);
    if (rest.starts_with("<?")) return skipPast("?>");
    if (rest.starts_with("<!--")) return skipPast("-->");
    if (rest.starts_with("<![CDATA[")) {
      size_t end = text_.find("]]>", pos_ + 9);
      if (end == std::string_view::npos) return false;
      std::string_view raw = text_.substr(pos_ + 9, end - pos_ - 9);
      pos_ = end + 3;
      if (capturing()) {
        capture_->append(raw);
      } else if (stack_.empty() || isContainer(stack_.back())) {
        return raw.find_first_not_of(" \t\r\n") == std::string_view::npos;
      }
      return true;
    }
    if (rest.starts_with("<!")) return skipDoctype();
    return tag();
  }

  bool skipPast(std::string_view end) {
    size_t at = text_.find(end, pos_);
    if (at == std::string_view::npos) return false;
    pos_ = at + end.size();
    return true;
  }

  // <!DOCTYPE ...>, with an internal subset in brackets if any.
  bool skipDoctype() {
    if (!stack_.empty() || rootSeen_) return false;
    int brackets = 0;
    for (size_t i = pos_ + 2; i < text_.size(); ++i) {
      char c = text_[i];
      if (c == '[') ++brackets;
      if (c == ']') --brackets;
      if (c == '>' && brackets <= 0) {
        pos_ = i + 1;
        return true;
      }
    }
    return false;
  }

  static bool isNameEnd(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '/' || c == '>';
  }

  bool tag() {
    size_t i = pos_ + 1;
    bool closing = i < text_.size() && text_[i] == '/';
    if (closing) ++i;
    size_t nameStart = i;
    while (i < text_.size() && !isNameEnd(text_[i]))
      ++i;
    std::string_view name = text_.substr(nameStart, i - nameStart);
    if (name.empty() || i >= text_.size()) return false;
    // Attributes (of <plist version="1.0">): quoted values may hold '>' and '/'.
    bool selfClosing = false;
    while (i < text_.size() && text_[i] != '>') {
      char c = text_[i];
      if (c == '"' || c == '\'') {
        size_t end = text_.find(c, i + 1);
        if (end == std::string_view::npos) return false;
        i = end + 1;
        continue;
      }
      if (c == '/') {
        if (closing || i + 1 >= text_.size() || text_[i + 1] != '>') return false;
        selfClosing = true;
      } else if (closing && c != ' ' && c != '\t' && c != '\r' && c != '\n') {
        return false;
      }
      ++i;
    }
    if (i >= text_.size()) return false;
    pos_ = i + 1;
    if (closing) return close(name);
    return open(name, selfClosing);
  }

  bool open(std::string_view name, bool selfClosing) {
    if (capturing()) return false;                  // markup inside a string or a key
    if (stack_.empty() && rootSeen_) return false;  // a second document element
    bool top = false;
    if (stack_.empty()) {
      rootSeen_ = true;
      // A property list written without the <plist> wrapper is its value alone.
      top = name != "plist";
    } else if (stack_.size() == 1 && stack_.front() == "plist") {
      if (valueSeen_) return false;  // one value in a property list
      top = true;
    }
    if (top) {
      valueSeen_ = true;
      topIsDict_ = name == "dict";
      topDepth_ = stack_.size() + 1;
    } else if (topIsDict_ && stack_.size() == topDepth_) {
      if (!entry(name, selfClosing)) return false;
    } else if (arrayKey_ && stack_.size() == topDepth_ + 1 && name == "string") {
      pending_.items.emplace_back();
      if (!selfClosing) startCapture(pending_.items.back());
    }
    if (selfClosing) return true;
    if (stack_.size() >= kMaxPropertyListDepth) return false;
    stack_.push_back(name);
    return true;
  }

  void startCapture(std::string& into) {
    capture_ = &into;
    captureDepth_ = stack_.size() + 1;
  }

  // A child of the top dictionary: a key, or the value of the key before it.
  bool entry(std::string_view name, bool selfClosing) {
    if (name == "key") {
      if (key_) return false;  // two keys in a row
      key_.emplace();
      if (!selfClosing) startCapture(*key_);
      return true;
    }
    if (!key_) return false;  // a value without its key
    pending_ = Value{};
    if (name == "string") {
      pending_.kind = Value::Kind::string;
      if (!selfClosing) startCapture(pending_.text);
    } else if (name == "array") {
      pending_.kind = Value::Kind::strings;
      arrayKey_ = !selfClosing;
    }
    if (selfClosing) finishEntry();
    return true;
  }

  void finishEntry() {
    if (key_) setValue(list_, std::move(*key_), std::move(pending_));
    key_.reset();
    pending_ = Value{};
    arrayKey_ = false;
  }

  bool close(std::string_view name) {
    if (stack_.empty() || stack_.back() != name) return false;
    bool captured = capturing();
    stack_.pop_back();
    if (captured) capture_ = nullptr;
    if (!topIsDict_) return true;
    if (stack_.size() == topDepth_ && name != "key") {
      finishEntry();  // a value of the top dictionary ends
    } else if (stack_.size() + 1 == topDepth_ && key_) {
      return false;  // the dictionary ends on a key without its value
    }
    return true;
  }

  std::string_view text_;
  size_t pos_ = 0;
  std::vector<std::string_view> stack_;
  bool rootSeen_ = false;
  bool valueSeen_ = false;
  bool topIsDict_ = false;
  size_t topDepth_ = 0;  // stack size inside the top dictionary
  std::optional<std::string> key_;
  Value pending_;
  bool arrayKey_ = false;
  std::string* capture_ = nullptr;
  size_t captureDepth_ = 0;
  PropertyList list_;
};

// --- Binary ----------------------------------------------------------------------------------
//
// The "bplist00" format: objects, a table of their offsets and a 32-byte trailer. Only the top
// dictionary's entries and the elements of its arrays are visited; nothing is followed further,
// so neither a cycle of references nor a deep nesting can make it recurse. The work is bounded
// by a budget proportional to the input: a list built to make the reader copy one array into
// every key of a dictionary is refused.

class BinaryReader {
 public:
  explicit BinaryReader(std::string_view data) : data_(data) {}

  std::optional<PropertyList> read() {
    if (data_.size() < 8 + 32 || !data_.starts_with("bplist00")) return std::nullopt;
    std::string_view trailer = data_.substr(data_.size() - 32);
    offsetSize_ = static_cast<unsigned char>(trailer[6]);
    refSize_ = static_cast<unsigned char>(trailer[7]);
    std::uint64_t objects = number(trailer.substr(8, 8));
    std::uint64_t top = number(trailer.substr(16, 8));
    tableStart_ = number(trailer.substr(24, 8));
    objectsEnd_ = data_.size() - 32;
    if (offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 || refSize_ > 8 || objects == 0 ||
        top >= objects || tableStart_ < 8 || tableStart_ > objectsEnd_ ||
        objects > (objectsEnd_ - tableStart_) / offsetSize_) {
      return std::nullopt;
    }
    objects_ = objects;
    budget_ = 16 * data_.size() + 4096;

    std::optional<size_t> at = objectAt(top);
    if (!at) return std::nullopt;
    unsigned char marker = byte(*at);
    if (marker >> 4 != 0xD) return std::nullopt;  // not a dictionary
    std::optional<std::uint64_t> count;
    size_t refs = 0;
    if (!(count = countOf(*at, refs))) return std::nullopt;
    if (*count > (tableStart_ - refs) / (2 * refSize_)) return std::nullopt;
    PropertyList list;
    for (std::uint64_t i = 0; i < *count; ++i) {
      std::uint64_t keyRef = number(data_.substr(refs + i * refSize_, refSize_));
      std::uint64_t valueRef = number(data_.substr(refs + (*count + i) * refSize_, refSize_));
      std::optional<std::string> key = stringObject(keyRef);
      if (!key) return std::nullopt;  // a dictionary's keys are strings
      std::optional<Value> value = valueObject(valueRef);
      if (!value) return std::nullopt;
      setValue(list, std::move(*key), std::move(*value));
    }
    return list;
  }

 private:
  static std::uint64_t number(std::string_view bytes) {
    std::uint64_t n = 0;
    for (char c : bytes)
      n = (n << 8) | static_cast<unsigned char>(c);
    return n;
  }

  unsigned char byte(size_t at) const { return static_cast<unsigned char>(data_[at]); }

  bool spend(std::uint64_t units) {
    if (units > budget_) return false;
    budget_ -= units;
    return true;
  }

  // Where object index starts; nullopt for an index or offset out of bounds.
  std::optional<size_t> objectAt(std::uint64_t index) const {
    if (index >= objects_) return std::nullopt;
    std::uint64_t offset = number(data_.substr(tableStart_ + index * offsetSize_, offsetSize_));
    if (offset < 8 || offset >= tableStart_) return std::nullopt;
    return static_cast<size_t>(offset);
  }

  // The element count of the object at `at` (its low nibble, or the integer after the marker
  // when that is 0xF); `after` is set to where its contents begin.
  std::optional<std::uint64_t> countOf(size_t at, size_t& after) const {
    unsigned char info = byte(at) & 0x0F;
    after = at + 1;
    if (info != 0x0F) return info;
    if (after >= tableStart_) return std::nullopt;
    unsigned char marker = byte(after);
    if (marker >> 4 != 0x1 || (marker & 0x0F) > 3) return std::nullopt;
    size_t width = size_t{1} << (marker & 0x0F);
    if (after + 1 + width > tableStart_) return std::nullopt;
    std::uint64_t count = number(data_.substr(after + 1, width));
    after += 1 + width;
    if (count > tableStart_) return std::nullopt;  // more than the bytes there are
    return count;
  }

  std::optional<std::string> stringObject(std::uint64_t index) {
    std::optional<size_t> at = objectAt(index);
    if (!at) return std::nullopt;
    unsigned char type = byte(*at) >> 4;
    if (type != 0x5 && type != 0x6) return std::nullopt;
    size_t start = 0;
    std::optional<std::uint64_t> count = countOf(*at, start);
    if (!count) return std::nullopt;
    std::uint64_t bytes = type == 0x5 ? *count : *count * 2;
    if (bytes > tableStart_ - start || !spend(bytes + 1)) return std::nullopt;
    std::string_view raw = data_.substr(start, bytes);
    if (type == 0x5) return std::string(raw);
    std::string out;
    for (size_t i = 0; i < raw.size(); i += 2) {
      std::uint32_t unit = static_cast<std::uint32_t>(number(raw.substr(i, 2)));
      if (unit >= 0xD800 && unit <= 0xDBFF && i + 3 < raw.size()) {
        std::uint32_t low = static_cast<std::uint32_t>(number(raw.substr(i + 2, 2)));
        if (low >= 0xDC00 && low <= 0xDFFF) {
          json::appendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
          i += 2;
          continue;
        }
      }
      json::appendUtf8(out, unit >= 0xD800 && unit <= 0xDFFF ? 0xFFFD : unit);  // a lone surrogate
    }
    return out;
  }

  // A value of the top dictionary: strings and arrays are read, anything else is passed over
  // once its marker is known to be in bounds.
  std::optional<Value> valueObject(std::uint64_t index) {
    std::optional<size_t> at = objectAt(index);
    if (!at) return std::nullopt;
    unsigned char type = byte(*at) >> 4;
    Value value;
    if (type == 0x5 || type == 0x6) {
      std::optional<std::string> text = stringObject(index);
      if (!text) return std::nullopt;
      value.kind = Value::Kind::string;
      value.text = std::move(*text);
    } else if (type == 0xA) {
      size_t refs = 0;
      std::optional<std::uint64_t> count = countOf(*at, refs);
      if (!count || *count > (tableStart_ - refs) / refSize_ || !spend(*count + 1))
        return std::nullopt;
      value.kind = Value::Kind::strings;
      for (std::uint64_t i = 0; i < *count; ++i) {
        std::uint64_t ref = number(data_.substr(refs + i * refSize_, refSize_));
        std::optional<size_t> element = objectAt(ref);
        if (!element) return std::nullopt;
        unsigned char elementType = byte(*element) >> 4;
        if (elementType != 0x5 && elementType != 0x6) continue;  // other types left out
        std::optional<std::string> text = stringObject(ref);
        if (!text) return std::nullopt;
        value.items.push_back(std::move(*text));
      }
    }
    return value;
  }

  std::string_view data_;
  size_t offsetSize_ = 0, refSize_ = 0;
  std::uint64_t objects_ = 0;
  std::uint64_t tableStart_ = 0, objectsEnd_ = 0;
  std::uint64_t budget_ = 0;
};

}  // namespace

std::optional<std::string> PropertyList::string(const std::string& key) const {
  for (const auto& [k, v] : stringValues) {
    if (k == key) return v;
  }
  return std::nullopt;
}

std::vector<std::string> PropertyList::strings(const std::string& key) const {
  for (const auto& [k, v] : stringArrays) {
    if (k == key) return v;
  }
  return {};
}

std::optional<PropertyList> parsePropertyList(std::string_view bytes) {
  if (bytes.empty() || bytes.size() > kMaxPropertyListBytes) return std::nullopt;
  if (bytes.starts_with("bplist")) return BinaryReader(bytes).read();
  return XmlReader(bytes).read();
}

std::optional<PropertyList> readPropertyList(const std::string& path) {
  std::optional<std::string> data = readWholeFile(path, kMaxPropertyListBytes);
  if (!data) return std::nullopt;
  return parsePropertyList(*data);
}

}  // namespace dw::platform
