#pragma once
// Reading property lists (XML and binary). A missing, unreadable or malformed file reads as
// nothing; callers skip it.
//
// Only what callers ask for is read: the top-level dictionary's strings and arrays of strings.
// The reader never recurses, whatever the input, and bounds what it reads: a file past
// kMaxPropertyListBytes, XML nested deeper than kMaxPropertyListDepth or a binary list that
// would take more than its own size many times over to read is not a property list of ours.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dw::platform {

// Info.plist and launch-agent files are a few kilobytes.
inline constexpr std::size_t kMaxPropertyListBytes = 8 * 1024 * 1024;
inline constexpr std::size_t kMaxPropertyListDepth = 256;

struct PropertyList {
  // The top-level dictionary's string values that callers ask for.
  std::optional<std::string> string(const std::string& key) const;
  // The top-level dictionary's array of strings (non-string elements left out).
  std::vector<std::string> strings(const std::string& key) const;

  // In the order of the keys; a key given twice counts once, with its last value.
  std::vector<std::pair<std::string, std::string>> stringValues;
  std::vector<std::pair<std::string, std::vector<std::string>>> stringArrays;
  bool operator==(const PropertyList&) const = default;
};

// nullopt when the file cannot be read or is not a property list with a dictionary at its top.
std::optional<PropertyList> readPropertyList(const std::string& path);
// The same for the file's bytes.
std::optional<PropertyList> parsePropertyList(std::string_view bytes);

}  // namespace dw::platform
