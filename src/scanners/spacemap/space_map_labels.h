#pragma once
// What a folder of the space map is, whether the program will ever touch it, and which page
// can help with it. A pure lookup over a fixed table of well-known home folders.

#include <optional>
#include <string>

namespace dw::SpaceMapLabels {

struct Advice {
  std::string title;
  std::string detail;
  std::optional<std::string> linkedPage;  // a Page's raw value: "review" or "leftovers"
  bool operator==(const Advice&) const = default;
};

// The advice for a node's absolute path in the home folder at home.
Advice advice(const std::string& path, const std::string& home);

}  // namespace dw::SpaceMapLabels
