#pragma once
// The one reviewable item of every clean list: an app cache, a large file or the folders an
// uninstalled app left behind.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/core.h"

namespace dw {

struct LeftoverFilePeek {
  std::string name;
  std::int64_t bytes = 0;
  bool operator==(const LeftoverFilePeek&) const = default;
};

struct Finding {
  enum class Kind { cache, file, leftover };

  std::string id;    // a cache's or file's absolute path; "leftover:" + bundle id
  std::string name;  // display name
  std::string path;  // absolute path with the home folder shown as "~"
  // What moving it gives back: the allocated bytes (a sparse file's may be far below its length).
  std::int64_t bytes = 0;
  // A large file's length (its logical size), said beside bytes when the two differ.
  std::int64_t length = 0;
  std::string note;
  bool suggested = false;
  bool removable = false;
  Kind kind = Kind::cache;
  std::vector<std::string> leftoverPaths;
  std::vector<std::string> leftoverEvidence;
  std::optional<std::string> leftoverBundleID;
  std::optional<TimePoint> leftoverLastUsed;
  std::vector<LeftoverFilePeek> leftoverLargestFiles;
  std::optional<TimePoint> contentModified;
  // The cache's or file's own, as listed: a clear moves only that item. (A leftover's paths are
  // measured again when it is cleared.)
  FileIdentity identity;

  bool operator==(const Finding&) const = default;
};

// "cache", "file", "leftover": the kind's name in code, in the log and in JSON.
std::string_view kindName(Finding::Kind kind);

inline constexpr std::string_view kLeftoverIdPrefix = "leftover:";

}  // namespace dw
