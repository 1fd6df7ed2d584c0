// What /proc shows of a sandboxed Flatpak process, read the same way on every system (the texts
// come from Linux, but reading them needs nothing of it).

#include <string>
#include <string_view>

#include "platform/workspace.h"

namespace dw::platform {

std::string flatpakAppOfInfo(std::string_view text) {
  bool inApplication = false;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    std::string_view line = text.substr(start, end == std::string_view::npos ? end : end - start);
    start = end == std::string_view::npos ? text.size() : end + 1;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.starts_with('[')) {
      inApplication = line == "[Application]";
    } else if (inApplication && line.starts_with("name=")) {
      return std::string(line.substr(5));
    }
  }
  return {};
}

std::string flatpakAppOfCgroup(std::string_view text) {
  constexpr std::string_view kScope = "/app-flatpak-";
  size_t at = text.find(kScope);
  if (at == std::string_view::npos) return {};
  std::string_view rest = text.substr(at + kScope.size());
  rest = rest.substr(0, rest.find_first_of("/\n"));
  if (!rest.ends_with(".scope")) return {};
  rest.remove_suffix(6);
  // "<id>-<number>": the id itself may hold "-" in its last element.
  size_t dash = rest.rfind('-');
  if (dash == std::string_view::npos || dash + 1 == rest.size() ||
      rest.substr(dash + 1).find_first_not_of("0123456789") != std::string_view::npos) {
    return {};
  }
  return std::string(rest.substr(0, dash));
}

}  // namespace dw::platform
