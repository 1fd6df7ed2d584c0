#include "cli/output.h"

#include <cstdio>
#include <iostream>

#include "base/time.h"

namespace dw::cli {

std::string displayText(std::string_view bytes) {
  // The JSON writer already knows which bytes are valid UTF-8; reuse its escaping and turn the
  // surrogate escapes back into the "\xNN" a terminal user expects.
  std::string quoted;
  json::writeString(quoted, bytes);
  std::string_view q(quoted);
  q = q.substr(1, q.size() - 2);
  std::string out;
  for (size_t i = 0; i < q.size(); ++i) {
    if (q[i] != '\\') {
      out += q[i];
      continue;
    }
    char e = q[++i];
    if (e == 'u') {
      unsigned value = std::stoul(std::string(q.substr(i + 1, 4)), nullptr, 16);
      i += 4;
      char buffer[8];
      std::snprintf(buffer, sizeof buffer, "\\x%02X", value & 0xFF);
      out += buffer;
    } else if (e == '"') {
      out += '"';
    } else {
      out += '\\';
      out += e;
    }
  }
  return out;
}

std::vector<texts::MoveItem> displayItems(std::vector<texts::MoveItem> items) {
  for (auto& item : items) {
    item.name = displayText(item.name);
    item.path = displayText(item.path);
    item.keptPath = displayText(item.keptPath);
  }
  return items;
}

json::Value isoOrNull(const std::optional<TimePoint>& when) {
  if (!when) return nullptr;
  return timefmt::isoUtc(*when);
}

void printJson(const json::Value& value) {
  std::cout << json::write(value, {.escapeSlashes = false, .indent = 2}) << '\n';
}

}  // namespace dw::cli
