// The Mac's own Trash service: the system picks the Trash of the item's volume and a free name,
// and never copies or replaces anything.

#include "platform/trash.h"

#import <Foundation/Foundation.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/paths.h"
#include "platform/macos/cocoa_text.h"
#include "platform/ownership.h"

namespace dw::platform {

namespace {

std::string describe(NSError* error) {
  NSString* text = error.localizedDescription ?: @"The item could not be moved.";
  return std::string(text.UTF8String ?: "The item could not be moved.");
}

// The checks a move makes before the system's service takes the item: the parent opened once
// and the item read on that descriptor (its identity, its owner, the caller's checks). The
// service itself then moves it by its path, which is all it takes.
std::string refusalOf(const std::string& path, const MoveChecks& checks, bool& notAsListed,
                      bool& denied) {
  std::string folder = std::filesystem::path(path).parent_path().string();
  std::string name = std::filesystem::path(path).filename().string();
  if (checks.placement) {
    // A place outside the home must still be the user's own.
    if (checks.placement->mustBeOwn && !Ownership::isOwnFolder(checks.placement->folder)) {
      denied = true;
      return std::strerror(EACCES);
    }
    folder = checks.placement->folder;
    std::string relative = checks.placement->relative;
    size_t slash = relative.rfind('/');
    name = slash == std::string::npos ? relative : relative.substr(slash + 1);
    if (slash != std::string::npos) folder += "/" + relative.substr(0, slash);
  }
  int parent = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (parent < 0) return std::strerror(errno);
  struct stat item {};
  std::string refusal;
  if (::fstatat(parent, name.c_str(), &item, AT_SYMLINK_NOFOLLOW) != 0) {
    refusal = std::strerror(errno);
  } else if (checks.identity.known() && identityOf(item) != checks.identity) {
    notAsListed = true;
    refusal = "The item is no longer the one listed";
  } else if (!Ownership::owns(item)) {
    denied = true;
    refusal = std::strerror(EACCES);
  } else if (checks.verify && !checks.verify(ItemAt{parent, name, item})) {
    notAsListed = true;
    refusal = "The item is no longer the one listed";
  }
  ::close(parent);
  return refusal;
}

}  // namespace

TrashMove moveToTrash(const std::string& path, const BeforeTrashing& beforeTrashing) {
  return moveToTrash(path, MoveChecks{}, beforeTrashing);
}

TrashMove moveToTrash(const std::string& path, const MoveChecks& checks,
                      const BeforeTrashing& beforeTrashing) {
  @autoreleasepool {
    bool notAsListed = false, denied = false;
    std::string refusal = refusalOf(path, checks, notAsListed, denied);
    if (!refusal.empty()) {
      TrashMove refused{{}, refusal, denied};
      refused.notAsListed = notAsListed;
      return refused;
    }
    // The system picks the name in the Trash only as it moves the item, so the place is not
    // known beforehand: the journal is told the Trash folder the item is headed for.
    if (beforeTrashing) {
      if (int e = beforeTrashing(std::string())) return TrashMove{{}, std::strerror(e), false};
    }
    NSURL* resulting = nil;
    NSError* error = nil;
    BOOL moved = [[NSFileManager defaultManager] trashItemAtURL:cocoa::fileURL(path)
                                               resultingItemURL:&resulting
                                                          error:&error];
    if (!moved || resulting == nil) {
      bool noPermission =
          [error.domain isEqualToString:NSCocoaErrorDomain] &&
          (error.code == NSFileWriteNoPermissionError || error.code == NSFileReadNoPermissionError);
      return TrashMove{{}, describe(error), noPermission};
    }
    return TrashMove{cocoa::pathOf(resulting), {}};
  }
}

bool isInTrashFolder(const std::string& resolvedPath, const std::string& resolvedHome) {
  if (resolvedPath.rfind(resolvedHome + "/.Trash/", 0) == 0) return true;
  // A volume's per-user Trash: .Trashes/<uid>/<item>. Only the first .Trashes counts.
  std::vector<std::string_view> parts;
  std::string_view rest = resolvedPath;
  while (!rest.empty()) {
    size_t slash = rest.find('/');
    std::string_view part = rest.substr(0, slash);
    if (!part.empty()) parts.push_back(part);
    if (slash == std::string_view::npos) break;
    rest.remove_prefix(slash + 1);
  }
  for (size_t i = 0; i < parts.size(); ++i) {
    if (parts[i] != ".Trashes") continue;
    return i + 2 < parts.size() && parts[i + 1] == std::to_string(::getuid());
  }
  return false;
}

bool trashItemMatches(const std::string& trashPath, const std::string&) {
  // The Mac's Trash keeps no record beside the item that could be checked: the item being there
  // is the test.
  struct stat s {};
  return ::lstat(trashPath.c_str(), &s) == 0;
}

namespace {

// The folder that holds a placed item, reached from the placement's folder one component at a
// time without following a link, each made where missing when make is set. -1 with errno set
// when it cannot be: a link slipped into the path since the move makes this fail rather than
// send the item elsewhere.
int openAbove(const Placement& original, bool make) {
  int at = ::open(original.folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (at < 0) return -1;
  std::vector<std::string_view> parts = paths::split(original.relative, '/');
  std::erase_if(parts, [](std::string_view part) { return part.empty() || part == "."; });
  if (!parts.empty()) parts.pop_back();  // the item itself
  for (std::string_view part : parts) {
    const std::string name(part);
    if (name == ".." || (make && ::mkdirat(at, name.c_str(), 0777) != 0 && errno != EEXIST)) {
      int error = name == ".." ? EINVAL : errno;
      ::close(at);
      errno = error;
      return -1;
    }
    int next = ::openat(at, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    int error = errno;
    ::close(at);
    if (next < 0) {
      errno = error == ELOOP ? ENOTDIR : error;
      return -1;
    }
    at = next;
  }
  return at;
}

// Moves the item at from to name in the open folder, never replacing anything: renameatx_np
// with RENAME_EXCL. Where the volume lacks that flag a file is given its new name as a second
// link (which fails on any existing name) and its Trash name is then taken away only when both
// names are the same file; a folder stays in the Trash.
int moveNoReplace(const std::string& from, int folder, const std::string& name) {
  if (::renameatx_np(AT_FDCWD, from.c_str(), folder, name.c_str(), RENAME_EXCL) == 0) return 0;
  if (errno != ENOTSUP) return errno;
  struct stat item {};
  if (::lstat(from.c_str(), &item) != 0) return errno;
  if (!S_ISREG(item.st_mode)) return ENOTSUP;
  if (::linkat(AT_FDCWD, from.c_str(), folder, name.c_str(), 0) != 0) return errno;
  struct stat back {};
  struct stat left {};
  if (::fstatat(folder, name.c_str(), &back, AT_SYMLINK_NOFOLLOW) != 0 ||
      ::lstat(from.c_str(), &left) != 0 || back.st_dev != left.st_dev ||
      back.st_ino != left.st_ino) {
    return EAGAIN;  // both names stay: nothing is lost
  }
  // The Trash name of the very file now back at its place (same device and inode): the item
  // stays whole under its original name.
  return ::unlink(from.c_str()) == 0 ? 0 : errno;
}

}  // namespace

std::string moveOutOfTrash(const std::string& trashPath, const Placement& original) {
  const std::string back(paths::lastComponent(original.relative));
  if (back.empty() || back == "." || back == ".." || back == "/") return std::strerror(EINVAL);
  int folder = openAbove(original, true);
  if (folder < 0) return std::strerror(errno);
  int error = moveNoReplace(trashPath, folder, back);
  ::close(folder);
  return error == 0 ? std::string() : std::strerror(error);
}

int makeFolders(const Placement& original) {
  int folder = openAbove(original, true);
  if (folder < 0) return errno;
  ::close(folder);
  return 0;
}

bool dropStaleRecord(const std::string&, const std::string&, TimePoint) {
  // The system's Trash keeps its records itself; there is nothing of ours to drop.
  return false;
}

}  // namespace dw::platform
