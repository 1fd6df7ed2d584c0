#include "scanners/folder_listing.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>

#include "base/paths.h"

namespace dw::scanners {

namespace {
mode_t typeOf(unsigned char direntType) {
  switch (direntType) {
    case DT_DIR:
      return S_IFDIR;
    case DT_REG:
      return S_IFREG;
    case DT_LNK:
      return S_IFLNK;
    case DT_FIFO:
      return S_IFIFO;
    case DT_SOCK:
      return S_IFSOCK;
    case DT_CHR:
      return S_IFCHR;
    case DT_BLK:
      return S_IFBLK;
    default:
      return 0;
  }
}
}  // namespace

std::optional<std::vector<FolderEntry>> listFolder(const std::string& folder) {
  std::vector<FolderEntry> entries;
  DIR* dir = ::opendir(folder.c_str());
  if (!dir) {
    if (errno == ENOENT || errno == ENOTDIR) return entries;
    return std::nullopt;
  }
  while (dirent* e = ::readdir(dir)) {
    std::string_view name = e->d_name;
    if (name == "." || name == "..") continue;
    mode_t type = typeOf(e->d_type);
    if (type == 0) {  // file systems that do not say: ask the entry itself
      struct stat s {};
      if (::lstat(paths::join(folder, name).c_str(), &s) != 0) continue;
      type = s.st_mode & S_IFMT;
    }
    entries.push_back({std::string(name), type});
  }
  ::closedir(dir);
  std::sort(entries.begin(), entries.end(),
            [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
  return entries;
}

}  // namespace dw::scanners
