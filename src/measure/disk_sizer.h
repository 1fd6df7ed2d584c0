#pragma once
// How much disk a folder tree really occupies: allocated blocks, hard links once, symbolic links
// never followed, other volumes never entered.

#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "base/core.h"

namespace dw::DiskSizer {

struct SizeReading {
  std::int64_t bytes = 0;
  std::optional<TimePoint> newest;  // newest regular file's modification second
  bool operator==(const SizeReading&) const = default;
};

struct InodeKey {
  std::int32_t dev = 0;
  std::uint64_t ino = 0;
  bool operator==(const InodeKey&) const = default;
};

struct InodeKeyHash {
  size_t operator()(const InodeKey& key) const noexcept;
};

struct LargeFile {
  std::string path;
  std::int64_t bytes = 0;  // logical size
  TimePoint modified;
  std::int64_t allocated = 0;  // what it takes on disk (a sparse file's may be far less)
  bool operator==(const LargeFile&) const = default;
};

// Measures the tree at path. A path that cannot be opened measures 0 with no newest date.
// Throws Cancelled (checked every 1000 entries) and nothing else.
SizeReading measure(const std::string& path, std::stop_token stop = {});

// What moving the tree at path gives back: as measure, but a file with links outside the tree
// counts nothing, since its blocks stay in use through them. Throws Cancelled and nothing else.
SizeReading measureUnshared(const std::string& path, std::stop_token stop = {});

// The reading of the tree at path and, from the same walk, the largest regular files that
// listLargeFiles(path, 1, maxDepth) lists for a real folder: at most count, largest first, ties
// in walk order. A scan that needs both walks once. Throws Cancelled and nothing else.
struct Walk {
  SizeReading reading;
  std::vector<LargeFile> largest;
};
Walk measureWithLargest(const std::string& path, size_t count, int maxDepth,
                        std::stop_token stop = {});

// The regular files of at least minimumBytes under folder, in walk order. Folders deeper than
// maxDepth, packages, symbolic links and project folders (node_modules, build, ...) are not
// entered. Throws Cancelled and nothing else.
std::vector<LargeFile> listLargeFiles(const std::string& folder, std::int64_t minimumBytes,
                                      int maxDepth, std::stop_token stop = {});

inline constexpr std::int64_t kLargeFileMinimum = 209'715'200;  // 200 MB
inline constexpr int kLargeFileDepth = 3;
// The largest-files peek of a leftover: its three biggest files, down to twelve folders.
inline constexpr size_t kPeekCount = 3;
inline constexpr int kPeekDepth = 12;

}  // namespace dw::DiskSizer
