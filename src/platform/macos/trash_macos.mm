// The Mac's own Trash service: the system picks the Trash of the item's volume and a free name,
// and never copies or replaces anything.

#include "platform/trash.h"

#import <Foundation/Foundation.h>

#include <unistd.h>

#include <cerrno>

#include <string>
#include <string_view>
#include <vector>

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

// The system refused for lack of rights: the Finder would ask for an administrator here.
bool isRightsError(NSError* error) {
  if (error == nil) return false;
  if ([error.domain isEqualToString:NSCocoaErrorDomain] &&
      (error.code == NSFileWriteNoPermissionError || error.code == NSFileReadNoPermissionError))
    return true;
  NSError* underlying = error.userInfo[NSUnderlyingErrorKey];
  NSError* posix = [error.domain isEqualToString:NSPOSIXErrorDomain] ? error : underlying;
  return posix != nil && [posix.domain isEqualToString:NSPOSIXErrorDomain] &&
         (posix.code == EACCES || posix.code == EPERM);
}

}  // namespace

TrashMove moveToTrash(const std::string& path) {
  @autoreleasepool {
    NSURL* resulting = nil;
    NSError* error = nil;
    BOOL moved = [[NSFileManager defaultManager] trashItemAtURL:fileURL(path)
                                               resultingItemURL:&resulting
                                                          error:&error];
    if (!moved || resulting == nil) return TrashMove{{}, describe(error), isRightsError(error)};
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

bool trashItemMatches(const std::string&, const std::string&) {
  // The Mac's Trash keeps no record beside the item that could be checked.
  return true;
}

std::string moveOutOfTrash(const std::string& trashPath, const std::string& originalPath) {
  @autoreleasepool {
    NSError* error = nil;
    // Fails when anything exists at the destination; nothing is replaced.
    BOOL moved = [[NSFileManager defaultManager] moveItemAtURL:fileURL(trashPath)
                                                         toURL:fileURL(originalPath)
                                                         error:&error];
    return moved ? std::string() : describe(error);
  }
}

}  // namespace dw::platform
