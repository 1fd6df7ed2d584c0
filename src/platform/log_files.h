#pragma once
// The system calls that keep the program's own log of moves (cleared.json and its journal) on
// disk. On Linux they go through the seam of platform/linux/syscalls.h, where tests make any one
// of them fail or end the process there. Each returns 0, or -1 with errno set, as the call it
// stands for; path names the file for the seam.

#include <string>
#include <string_view>

namespace dw::platform::logfiles {

// Appends one journal record (all of its bytes) to fd and makes it durable.
int appendRecord(int fd, const std::string& path, std::string_view bytes);
// Called just before a freshly written log is renamed over path: 0, or the errno that step then
// fails with.
int beforeReplacingLog(const std::string& path);
// Renames name to newName in the open folder dir, never over an existing entry (EEXIST).
int renameNoReplace(int dir, const std::string& name, const std::string& newName,
                    const std::string& path);

}  // namespace dw::platform::logfiles
