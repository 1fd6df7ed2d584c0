// The freedesktop.org Trash's record of an item (a .trashinfo file), read the same way on every
// system: Linux's Trash writes and checks them, and the parser is fuzzed everywhere.

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "base/paths.h"
#include "base/time.h"
#include "platform/trash.h"

namespace dw::platform {

namespace {

std::optional<std::string> percentDecode(std::string_view text) {
  auto hex = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    if (i + 2 >= text.size()) return std::nullopt;
    int high = hex(text[i + 1]), low = hex(text[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    out += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return out;
}

std::optional<TimePoint> parseDeletionDate(std::string_view text) {
  std::tm parts{};
  std::string value(text);
  const char* end = ::strptime(value.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
  // A year no deletion was made in is no date of a record (and could not be held).
  if (!end || parts.tm_year < 70 || parts.tm_year > 300) return std::nullopt;
  parts.tm_isdst = -1;
  std::time_t when = std::mktime(&parts);
  if (when == -1) return std::nullopt;
  return timefmt::fromUnixSeconds(when);
}

}  // namespace

std::optional<TrashInfo> parseTrashInfo(std::string_view text) {
  bool inGroup = false;
  std::optional<std::string> path;
  std::optional<TimePoint> deleted;
  for (std::string_view line : paths::split(text, '\n')) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (!line.empty() && line.front() == '[') {
      inGroup = line == "[Trash Info]";
      continue;
    }
    if (inGroup && line.substr(0, 5) == "Path=" && !path) path = percentDecode(line.substr(5));
    if (inGroup && line.substr(0, 13) == "DeletionDate=" && !deleted) {
      deleted = parseDeletionDate(line.substr(13));
    }
  }
  if (!path) return std::nullopt;
  return TrashInfo{*path, deleted};
}

}  // namespace dw::platform
