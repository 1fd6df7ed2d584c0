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

// The page a button beside the advice opens. The advice names the Caches page ("review") for
// Downloads and Movies too, but what can be reviewed there is their large files, so those open
// the Large files page ("largeFiles"); everything else opens the page the advice names.
std::optional<std::string> pageToOpen(const Advice& advice);

}  // namespace dw::SpaceMapLabels
