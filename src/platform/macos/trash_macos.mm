// The Mac's own Trash service: the system picks the Trash of the item's volume and a free name,
// and never copies or replaces anything.

#include "platform/trash.h"

#import <Foundation/Foundation.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ownership.h"

namespace dw::platform {

namespace {

NSURL* fileURL(const std::string& path) {
  NSString* text = [[NSFileManager defaultManager] stringWithFileSystemRepresentation:path.c_str()
                                                                               length:path.size()];
  return [NSURL fileURLWithPath:text];
}

std::string describe(NSError* error) {
  NSString* text = error.localizedDescription ?: @"The item could not be moved.";
  return std::string(text.UTF8String ?: "The item could not be moved.");
}

}  // namespace

namespace {

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
    BOOL moved = [[NSFileManager defaultManager] trashItemAtURL:fileURL(path)
                                               resultingItemURL:&resulting
                                                          error:&error];
    if (!moved || resulting == nil) {
      bool denied =
          [error.domain isEqualToString:NSCocoaErrorDomain] &&
          (error.code == NSFileWriteNoPermissionError || error.code == NSFileReadNoPermissionError);
      return TrashMove{{}, describe(error), denied};
    }
    return TrashMove{resulting.path.fileSystemRepresentation, {}};
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

std::string moveOutOfTrash(const std::string& trashPath, const Placement& original) {
  const std::string originalPath = original.folder + "/" + original.relative;
  @autoreleasepool {
    NSError* error = nil;
    // Fails when anything exists at the destination; nothing is replaced.
    BOOL moved = [[NSFileManager defaultManager] moveItemAtURL:fileURL(trashPath)
                                                         toURL:fileURL(originalPath)
                                                         error:&error];
    return moved ? std::string() : describe(error);
  }
}

int makeFolders(const Placement& original) {
  std::error_code ec;
  std::filesystem::create_directories(
      (std::filesystem::path(original.folder) / original.relative).parent_path(), ec);
  return ec ? ec.value() : 0;
}

bool dropStaleRecord(const std::string&, const std::string&, TimePoint) {
  // The system's Trash keeps its records itself; there is nothing of ours to drop.
  return false;
}

}  // namespace dw::platform
