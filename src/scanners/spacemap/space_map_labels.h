#pragma once
// What a folder of the space map is, whether the program will ever touch it, and which page
// can help with it. A pure lookup over a table of well-known home folders: the Mac's (~/Library,
// the Photos library) or a Linux home's (the XDG folders, the user folders of user-dirs.dirs,
// the tools' own folders), by the home's layout.

#include <optional>
#include <string>

#include "platform/locations.h"

namespace dw::SpaceMapLabels {

struct Advice {
  std::string title;
  std::string detail;
  // A Page's raw value: "review", "leftovers", or (a Linux home's user folders) "largeFiles"
  std::optional<std::string> linkedPage;
  bool operator==(const Advice&) const = default;
};

// The advice for a node's absolute path in the home folder at home, from the Mac's table.
Advice advice(const std::string& path, const std::string& home);
// The advice for a node's absolute path in places.home, from the table of places.layout.
Advice advice(const std::string& path, const Locations& places);

// The page a button beside the advice opens. The advice names the Caches page ("review") for
// Downloads and Movies too, but what can be reviewed there is their large files, so those open
// the Large files page ("largeFiles"); everything else opens the page the advice names.
std::optional<std::string> pageToOpen(const Advice& advice);

}  // namespace dw::SpaceMapLabels
