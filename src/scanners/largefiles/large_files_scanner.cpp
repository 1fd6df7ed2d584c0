#include "scanners/largefiles/large_files_scanner.h"

#include <sys/stat.h>

#include <array>
#include <set>

#include "base/paths.h"
#include "findings/folder_names.h"
#include "measure/disk_sizer.h"
#include "measure/project_folders.h"
#include "platform/own_ground.h"
#include "platform/ownership.h"
#include "platform/package.h"

namespace dw::LargeFilesScanner {

namespace {

struct Folder {
  std::string Locations::*path;
  std::string_view note;
  bool selectable;
};
const std::array<Folder, 3> kFolders = {{
    {&Locations::downloads, "In Downloads. Nothing is removed until you select it and confirm.",
     true},
    {&Locations::desktop, "Shown only. Files on the Desktop stay.", false},
    {&Locations::movies, "In Movies. Nothing is removed until you select it and confirm.", true},
}};

std::string resolved(const std::string& path) {
  return paths::stripPrivate(paths::resolveSymlinks(path));
}

// The folders of the path between base and the file: none may be a project folder or a
// package, and there may be no more of them than the listing enters.
bool passesFoldersBelow(const std::string& file, const std::string& base) {
  std::string_view rest = std::string_view(file).substr(base.size() + 1);
  std::string folder = base;
  int folders = 0;
  size_t i = 0;
  while (true) {
    size_t slash = rest.find('/', i);
    if (slash == std::string_view::npos) break;
    std::string_view name = rest.substr(i, slash - i);
    folder = paths::join(folder, name);
    if (isProjectFolderName(name) || platform::isPackage(folder)) return false;
    ++folders;
    i = slash + 1;
  }
  return folders <= DiskSizer::kLargeFileDepth;
}

}  // namespace

std::vector<Finding> scan(const Locations& places, std::stop_token stop) {
  std::vector<Finding> findings;
  const FolderNames names = folderNames(places);
  // Each folder and each file once, by identity: a Movies that is a link to Downloads, or a
  // hard link of a listed file, adds nothing.
  std::set<FileIdentity> seenFolders, seenFiles;
  for (const Folder& folder : kFolders) {
    const std::string& root = places.*folder.path;
    struct stat rootStat {};
    if (root.empty() || ::stat(root.c_str(), &rootStat) != 0 ||
        !seenFolders.insert(identityOf(rootStat)).second) {
      continue;
    }
    // Another user's folder, or one that others may write, is not searched.
    if (!Ownership::isUsablePlace(root, places.home)) continue;
    for (const DiskSizer::LargeFile& file : DiskSizer::listLargeFiles(
             root, DiskSizer::kLargeFileMinimum, DiskSizer::kLargeFileDepth, stop)) {
      // A file in a Trash or among our own data is never offered, even as shown only.
      if (OwnGround::excludes(file.path, places)) continue;
      // Only the user's own files: another user's would land in this user's Trash.
      struct stat s {};
      if (::lstat(file.path.c_str(), &s) != 0 || !Ownership::owns(s)) continue;
      if (!seenFiles.insert(identityOf(s)).second) continue;
      Finding f;
      f.id = file.path;
      f.name = std::string(paths::lastComponent(file.path));
      f.path = paths::tilde(file.path, places.home);
      // Moving it gives back what it takes on disk; its length is said beside.
      f.bytes = file.allocated;
      f.length = file.bytes;
      // Each folder goes by its own name on Linux ("Videos", or the user's language).
      f.note = namingFolders(folder.note, names);
      f.kind = Finding::Kind::file;
      f.suggested = false;
      f.removable = folder.selectable && isAllowedLocation(file.path, places);
      f.contentModified = file.modified;
      f.identity = identityOf(s);
      findings.push_back(std::move(f));
    }
  }
  return findings;
}

bool isAllowedLocation(const std::string& path, const Locations& places) {
  struct stat s {};
  // The item itself: the user's own regular file, never a link (moving a link would not free
  // its target).
  if (path.empty() || ::lstat(path.c_str(), &s) != 0 || !S_ISREG(s.st_mode) ||
      !Ownership::owns(s)) {
    return false;
  }
  if (OwnGround::excludes(path, places)) return false;
  std::string file = resolved(path);
  for (const std::string* refused : {&places.desktop, &places.documents}) {
    if (!refused->empty() && (paths::isWithin(file, resolved(*refused)) ||
                              paths::isWithin(file, paths::stripPrivate(*refused)))) {
      return false;
    }
  }
  for (const std::string* searched : {&places.downloads, &places.movies}) {
    if (searched->empty() || !Ownership::isUsablePlace(*searched, places.home)) continue;
    std::string base = resolved(*searched);
    if (paths::isStrictlyWithin(file, base)) return passesFoldersBelow(file, base);
  }
  return false;
}

}  // namespace dw::LargeFilesScanner
