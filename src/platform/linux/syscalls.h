#pragma once
// The few system calls that move items into and out of the Trash, behind one seam so that tests
// can make any single step fail and check that no item is ever lost. Each call behaves like the
// system call it names: -1 with errno set on failure.

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>

namespace dw::platform::sys {

enum class Step {
  makeFolder,   // mkdir of a Trash folder
  reserveInfo,  // O_CREAT|O_EXCL open of a .trashinfo
  writeInfo,    // writing its contents
  syncInfo,     // fsync of it
  rename,       // renameat2(RENAME_NOREPLACE) of the item
  link,         // link, where the file system has no RENAME_NOREPLACE
  unlink,       // unlink of the old name after such a link
  dropInfo,     // removing a .trashinfo whose item did not move in, or was put back
};

// For tests only: called before every step with the path it acts on; a non-zero result is an
// errno that the step then fails with, without doing anything. An empty hook (the default) lets
// every call through.
using FaultHook = std::function<int(Step, const std::string& path)>;
void setFaultHook(FaultHook hook);

int makeFolder(const std::string& path, mode_t mode);
// A new file, never an existing one and never through a symbolic link.
int reserveFile(const std::string& path, mode_t mode);
// Writes all of the bytes (retrying short writes) and fsyncs; path names fd for the hook.
int writeAndSync(int fd, const std::string& path, std::string_view bytes);
int renameNoReplace(const std::string& from, const std::string& to);
int link(const std::string& from, const std::string& to);
// Removes oldName only when it and newName are two names of the same item (after a link).
int unlinkOldName(const std::string& oldName, const std::string& newName);
// Removes Trash bookkeeping: a regular file whose name ends ".trashinfo", nothing else.
int dropInfo(const std::string& path);

}  // namespace dw::platform::sys
