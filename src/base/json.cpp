#include "base/json.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace dw::json {

std::int64_t Value::integer() const {
  if (auto* i = std::get_if<std::int64_t>(&data_)) return *i;
  return static_cast<std::int64_t>(std::get<double>(data_));
}

double Value::number() const {
  if (auto* i = std::get_if<std::int64_t>(&data_)) return static_cast<double>(*i);
  return std::get<double>(data_);
}

const Value* Value::find(std::string_view key) const {
  if (!isObject()) return nullptr;
  for (const auto& [k, v] : object()) {
    if (k == key) return &v;
  }
  return nullptr;
}

Value& Value::set(std::string key, Value value) {
  if (!isObject()) data_ = Object{};
  for (auto& [k, v] : object()) {
    if (k == key) return v = std::move(value);
  }
  object().emplace_back(std::move(key), std::move(value));
  return object().back().second;
}

Value& Value::push(Value value) {
  if (!isArray()) data_ = Array{};
  array().push_back(std::move(value));
  return array().back();
}

namespace {

// Length of the valid UTF-8 sequence starting at s[i], or 0 when the byte starts none.
size_t utf8Length(std::string_view s, size_t i) {
  auto byte = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
  unsigned char c = byte(i);
  if (c < 0x80) return 1;
  size_t n;
  char32_t min;
  char32_t cp;
  if ((c & 0xE0) == 0xC0) {
    n = 2, min = 0x80, cp = c & 0x1F;
  } else if ((c & 0xF0) == 0xE0) {
    n = 3, min = 0x800, cp = c & 0x0F;
  } else if ((c & 0xF8) == 0xF0) {
    n = 4, min = 0x10000, cp = c & 0x07;
  } else {
    return 0;
  }
  if (i + n > s.size()) return 0;
  for (size_t k = 1; k < n; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
    cp = (cp << 6) | (byte(i + k) & 0x3F);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
  return n;
}

void appendHex4(std::string& out, unsigned value) {
  char buffer[8];
  std::snprintf(buffer, sizeof buffer, "\\u%04X", value);
  out += buffer;
}

void writeNumber(std::string& out, double d) {
  if (!std::isfinite(d)) {
    out += "null";
    return;
  }
  char buffer[32];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, d);
  out.append(buffer, result.ptr);
}

void writeValue(std::string& out, const Value& v, const WriteOptions& o, int depth) {
  auto newline = [&](int level) {
    if (o.indent < 0) return;
    out += '\n';
    out.append(static_cast<size_t>(level * o.indent), ' ');
  };
  if (v.isNull()) {
    out += "null";
  } else if (v.isBool()) {
    out += v.boolean() ? "true" : "false";
  } else if (v.isInteger()) {
    out += std::to_string(v.integer());
  } else if (v.isNumber()) {
    writeNumber(out, v.number());
  } else if (v.isString()) {
    writeString(out, v.string(), o.escapeSlashes);
  } else if (v.isArray()) {
    out += '[';
    bool first = true;
    for (const auto& item : v.array()) {
      if (!first) out += ',';
      first = false;
      newline(depth + 1);
      writeValue(out, item, o, depth + 1);
    }
    if (!v.array().empty()) newline(depth);
    out += ']';
  } else {
    out += '{';
    bool first = true;
    for (const auto& [key, item] : v.object()) {
      if (!first) out += ',';
      first = false;
      newline(depth + 1);
      writeString(out, key, o.escapeSlashes);
      out += o.indent < 0 ? ":" : ": ";
      writeValue(out, item, o, depth + 1);
    }
    if (!v.object().empty()) newline(depth);
    out += '}';
  }
}

class Parser {
 public:
  explicit Parser(std::string_view text) : s_(text) {}

  std::optional<Value> document() {
    auto v = value(0);
    if (!v) return std::nullopt;
    skipSpace();
    if (i_ != s_.size()) return std::nullopt;
    return v;
  }

 private:
  static constexpr int kMaxDepth = 64;

  void skipSpace() {
    while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\t' || s_[i_] == '\n' || s_[i_] == '\r'))
      ++i_;
  }

  bool literal(std::string_view word) {
    if (s_.substr(i_, word.size()) != word) return false;
    i_ += word.size();
    return true;
  }

  std::optional<Value> value(int depth) {
    if (depth > kMaxDepth) return std::nullopt;
    skipSpace();
    if (i_ >= s_.size()) return std::nullopt;
    char c = s_[i_];
    if (c == '{') return object(depth);
    if (c == '[') return array(depth);
    if (c == '"') {
      auto str = string();
      if (!str) return std::nullopt;
      return Value(std::move(*str));
    }
    if (literal("null")) return Value(nullptr);
    if (literal("true")) return Value(true);
    if (literal("false")) return Value(false);
    return number();
  }

  std::optional<Value> number() {
    size_t start = i_;
    if (i_ < s_.size() && s_[i_] == '-') ++i_;
    if (i_ >= s_.size() || s_[i_] < '0' || s_[i_] > '9') return std::nullopt;
    if (s_[i_] == '0') {
      ++i_;
    } else {
      while (i_ < s_.size() && s_[i_] >= '0' && s_[i_] <= '9')
        ++i_;
    }
    bool integral = true;
    if (i_ < s_.size() && s_[i_] == '.') {
      integral = false;
      ++i_;
      size_t digits = i_;
      while (i_ < s_.size() && s_[i_] >= '0' && s_[i_] <= '9')
        ++i_;
      if (i_ == digits) return std::nullopt;
    }
    if (i_ < s_.size() && (s_[i_] == 'e' || s_[i_] == 'E')) {
      integral = false;
      ++i_;
      if (i_ < s_.size() && (s_[i_] == '+' || s_[i_] == '-')) ++i_;
      size_t digits = i_;
      while (i_ < s_.size() && s_[i_] >= '0' && s_[i_] <= '9')
        ++i_;
      if (i_ == digits) return std::nullopt;
    }
    const char* first = s_.data() + start;
    const char* last = s_.data() + i_;
    if (integral) {
      std::int64_t n = 0;
      auto r = std::from_chars(first, last, n);
      if (r.ec == std::errc() && r.ptr == last) return Value(n);
    }
    double d = 0;
    auto r = std::from_chars(first, last, d);
    if (r.ec != std::errc() || r.ptr != last) return std::nullopt;
    return Value(d);
  }

  std::optional<unsigned> hex4() {
    if (i_ + 4 > s_.size()) return std::nullopt;
    unsigned v = 0;
    for (int k = 0; k < 4; ++k) {
      char c = s_[i_++];
      v <<= 4;
      if (c >= '0' && c <= '9') {
        v |= static_cast<unsigned>(c - '0');
      } else if (c >= 'a' && c <= 'f') {
        v |= static_cast<unsigned>(c - 'a' + 10);
      } else if (c >= 'A' && c <= 'F') {
        v |= static_cast<unsigned>(c - 'A' + 10);
      } else {
        return std::nullopt;
      }
    }
    return v;
  }

  std::optional<std::string> string() {
    ++i_;  // opening quote
    std::string out;
    while (true) {
      if (i_ >= s_.size()) return std::nullopt;
      unsigned char c = static_cast<unsigned char>(s_[i_]);
      if (c == '"') {
        ++i_;
        return out;
      }
      if (c < 0x20) return std::nullopt;
      if (c != '\\') {
        size_t n = utf8Length(s_, i_);
        if (n == 0) return std::nullopt;
        out.append(s_.substr(i_, n));
        i_ += n;
        continue;
      }
      if (++i_ >= s_.size()) return std::nullopt;
      char e = s_[i_++];
      switch (e) {
        case '"':
          out += '"';
          break;
        case '\\':
          out += '\\';
          break;
        case '/':
          out += '/';
          break;
        case 'b':
          out += '\b';
          break;
        case 'f':
          out += '\f';
          break;
        case 'n':
          out += '\n';
          break;
        case 'r':
          out += '\r';
          break;
        case 't':
          out += '\t';
          break;
        case 'u': {
          auto u = hex4();
          if (!u) return std::nullopt;
          if (*u >= 0xD800 && *u <= 0xDBFF) {
            if (s_.substr(i_, 2) != "\\u") return std::nullopt;
            i_ += 2;
            auto low = hex4();
            if (!low || *low < 0xDC00 || *low > 0xDFFF) return std::nullopt;
            appendUtf8(out, 0x10000 + ((*u - 0xD800) << 10) + (*low - 0xDC00));
          } else if (*u >= 0xDC80 && *u <= 0xDCFF) {
            out += static_cast<char>(*u - 0xDC00);  // an escaped raw byte
          } else if (*u >= 0xDC00 && *u <= 0xDFFF) {
            return std::nullopt;
          } else {
            appendUtf8(out, *u);
          }
          break;
        }
        default:
          return std::nullopt;
      }
    }
  }

  std::optional<Value> array(int depth) {
    ++i_;
    Array items;
    skipSpace();
    if (i_ < s_.size() && s_[i_] == ']') {
      ++i_;
      return Value(std::move(items));
    }
    while (true) {
      auto v = value(depth + 1);
      if (!v) return std::nullopt;
      items.push_back(std::move(*v));
      skipSpace();
      if (i_ >= s_.size()) return std::nullopt;
      if (s_[i_] == ',') {
        ++i_;
        continue;
      }
      if (s_[i_] == ']') {
        ++i_;
        return Value(std::move(items));
      }
      return std::nullopt;
    }
  }

  std::optional<Value> object(int depth) {
    ++i_;
    Object members;
    skipSpace();
    if (i_ < s_.size() && s_[i_] == '}') {
      ++i_;
      return Value(std::move(members));
    }
    while (true) {
      skipSpace();
      if (i_ >= s_.size() || s_[i_] != '"') return std::nullopt;
      auto key = string();
      if (!key) return std::nullopt;
      skipSpace();
      if (i_ >= s_.size() || s_[i_] != ':') return std::nullopt;
      ++i_;
      auto v = value(depth + 1);
      if (!v) return std::nullopt;
      members.emplace_back(std::move(*key), std::move(*v));
      skipSpace();
      if (i_ >= s_.size()) return std::nullopt;
      if (s_[i_] == ',') {
        ++i_;
        continue;
      }
      if (s_[i_] == '}') {
        ++i_;
        return Value(std::move(members));
      }
      return std::nullopt;
    }
  }

  std::string_view s_;
  size_t i_ = 0;
};

}  // namespace

void writeString(std::string& out, std::string_view bytes, bool escapeSlashes) {
  out += '"';
  size_t i = 0;
  while (i < bytes.size()) {
    unsigned char c = static_cast<unsigned char>(bytes[i]);
    switch (c) {
      case '"':
        out += "\\\"";
        ++i;
        continue;
      case '\\':
        out += "\\\\";
        ++i;
        continue;
      case '\n':
        out += "\\n";
        ++i;
        continue;
      case '\r':
        out += "\\r";
        ++i;
        continue;
      case '\t':
        out += "\\t";
        ++i;
        continue;
      case '\b':
        out += "\\b";
        ++i;
        continue;
      case '\f':
        out += "\\f";
        ++i;
        continue;
      case '/':
        out += escapeSlashes ? "\\/" : "/";
        ++i;
        continue;
      default:
        break;
    }
    if (c < 0x20) {
      appendHex4(out, c);
      ++i;
      continue;
    }
    size_t n = utf8Length(bytes, i);
    if (n == 0) {
      appendHex4(out, 0xDC00u + c);
      ++i;
    } else {
      out.append(bytes.substr(i, n));
      i += n;
    }
  }
  out += '"';
}

void appendUtf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

std::string write(const Value& value, const WriteOptions& options) {
  std::string out;
  writeValue(out, value, options, 0);
  return out;
}

std::optional<Value> parse(std::string_view text) {
  return Parser(text).document();
}

}  // namespace dw::json
