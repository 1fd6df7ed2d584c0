#pragma once
// Reading property lists (XML and binary). A missing, unreadable or malformed file reads as
// nothing; callers skip it.

#include <optional>
#include <string>
#include <vector>

namespace dw::platform {

struct PropertyList {
  // The top-level dictionary's string values that callers ask for.
  std::optional<std::string> string(const std::string& key) const;
  // The top-level dictionary's array of strings (non-string elements left out).
  std::vector<std::string> strings(const std::string& key) const;

  std::vector<std::pair<std::string, std::string>> stringValues;
  std::vector<std::pair<std::string, std::vector<std::string>>> stringArrays;
};

// nullopt when the file cannot be read or is not a property list with a dictionary at its top.
std::optional<PropertyList> readPropertyList(const std::string& path);

}  // namespace dw::platform
