#pragma once
// The direct entries of one folder, as every scanner lists a Library location: links are not
// followed, and entries come sorted by name so that results do not depend on the order the file
// system lists them in.

#include <sys/stat.h>

#include <optional>
#include <string>
#include <vector>

namespace dw::scanners {

struct FolderEntry {
  std::string name;
  mode_t type = 0;  // S_IFDIR, S_IFREG, S_IFLNK, ... of the entry itself
  bool isFolder() const { return type == S_IFDIR; }
};

// nullopt when the folder exists but cannot be listed; an empty list when it is missing.
std::optional<std::vector<FolderEntry>> listFolder(const std::string& folder);

}  // namespace dw::scanners
