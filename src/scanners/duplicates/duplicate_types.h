#pragma once
// The values the duplicate search hands to the model: which folders to search, and groups of
// byte-identical files.

#include <cstdint>
#include <string>
#include <vector>

#include "base/core.h"

namespace dw::DuplicateScanner {

// An option set over the four media folders; other bits are carried but select nothing.
struct Scope {
  std::int64_t rawValue = 0;

  static constexpr std::int64_t downloads = 1;
  static constexpr std::int64_t movies = 2;
  static constexpr std::int64_t music = 4;
  static constexpr std::int64_t pictures = 8;
  static constexpr Scope all() { return Scope{downloads | movies | music | pictures}; }

  constexpr bool contains(std::int64_t member) const { return (rawValue & member) == member; }
  constexpr bool isEmpty() const { return rawValue == 0; }
  bool operator==(const Scope&) const = default;
};

struct FileRef {
  std::string path;
  std::int64_t bytes = 0;  // logical size
  TimePoint modified;
  bool operator==(const FileRef&) const = default;
};

struct Group {
  std::string hashHex;  // SHA-256 of the whole content, lower-case
  std::int64_t bytes = 0;
  std::vector<FileRef> files;  // newest first, at least two
  bool operator==(const Group&) const = default;
};

}  // namespace dw::DuplicateScanner
