#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/core.h"

namespace dw::AppUninstaller {

// One installed application with the folders it keeps in the user's Library.
struct AppRecord {
  std::string name;
  std::string bundleID;
  std::string bundlePath;
  std::int64_t bundleBytes = 0;
  std::vector<std::string> related;
  std::int64_t relatedBytes = 0;
  std::optional<TimePoint> lastUsed;
  bool running = false;
  bool apple = false;
  bool own = false;  // this application itself
  std::uint64_t ino = 0;
  bool operator==(const AppRecord&) const = default;
};

}  // namespace dw::AppUninstaller
