#pragma once
// A small JSON value with a writer and a reader that keep byte strings exact.
//
// Paths on Linux are bytes and need not be UTF-8. A byte that is not part of valid UTF-8 is
// written as a lone low surrogate "\uDCxx" (xx the byte) and read back as that byte, so a path
// survives the log and the command line's output unchanged. Valid UTF-8 can never hold a
// surrogate, so the mapping is one-to-one. General-purpose JSON libraries either reject those
// escapes or replace the bytes, which would put an item back under a different name.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace dw::json {

class Value;
using Array = std::vector<Value>;
using Object = std::vector<std::pair<std::string, Value>>;  // keeps the order keys were set

class Value {
 public:
  Value() = default;
  Value(std::nullptr_t) {}
  Value(bool b) : data_(b) {}
  Value(int i) : data_(std::int64_t{i}) {}
  Value(std::int64_t i) : data_(i) {}
  Value(double d) : data_(d) {}
  Value(std::string s) : data_(std::move(s)) {}
  Value(std::string_view s) : data_(std::string(s)) {}
  Value(const char* s) : data_(std::string(s)) {}
  Value(Array a) : data_(std::move(a)) {}
  Value(Object o) : data_(std::move(o)) {}

  bool isNull() const { return std::holds_alternative<std::monostate>(data_); }
  bool isBool() const { return std::holds_alternative<bool>(data_); }
  bool isInteger() const { return std::holds_alternative<std::int64_t>(data_); }
  bool isNumber() const { return isInteger() || std::holds_alternative<double>(data_); }
  bool isString() const { return std::holds_alternative<std::string>(data_); }
  bool isArray() const { return std::holds_alternative<Array>(data_); }
  bool isObject() const { return std::holds_alternative<Object>(data_); }

  bool boolean() const { return std::get<bool>(data_); }
  std::int64_t integer() const;
  double number() const;
  const std::string& string() const { return std::get<std::string>(data_); }
  const Array& array() const { return std::get<Array>(data_); }
  Array& array() { return std::get<Array>(data_); }
  const Object& object() const { return std::get<Object>(data_); }
  Object& object() { return std::get<Object>(data_); }

  // For objects: the member with this key, or nullptr.
  const Value* find(std::string_view key) const;
  // For objects: sets (or replaces) a member, keeping first-set order.
  Value& set(std::string key, Value value);
  // For arrays.
  Value& push(Value value);

 private:
  std::variant<std::monostate, bool, std::int64_t, double, std::string, Array, Object> data_;
};

struct WriteOptions {
  bool escapeSlashes = false;  // "/" as "\/", as the log's format has it
  int indent = -1;             // -1: compact
};

std::string write(const Value& value, const WriteOptions& options = {});
void writeString(std::string& out, std::string_view bytes, bool escapeSlashes = false);
// The UTF-8 bytes of one code point.
void appendUtf8(std::string& out, char32_t codePoint);

// nullopt for anything that is not exactly one JSON value (trailing white space allowed).
std::optional<Value> parse(std::string_view text);

}  // namespace dw::json
