#pragma once
// The few system calls that move items into and out of the Trash and keep their records, behind
// one seam so that tests can make any single step fail (or end the process there, or swap a
// folder for a link just before it) and check that no item and no record is ever lost. Each call
// behaves like the system call it names: -1 with errno set on failure. Folders are held open and
// every step works relative to a folder descriptor, so what was checked is what is used.

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>

namespace dw::platform::sys {

enum class Step {
  openFolder,   // opening a folder without following links
  checkItem,    // reading the item about to move through its open parent (content, size)
  makeFolder,   // mkdir of a Trash folder, or of a missing folder on the way back
  reserveInfo,  // O_CREAT|O_EXCL open of a .trashinfo
  writeInfo,    // writing its contents
  syncInfo,     // fsync of it
  rename,       // renameat2(RENAME_NOREPLACE) of the item
  link,         // link, where the file system has no RENAME_NOREPLACE
  unlink,       // unlink of the old name after such a link
  dropInfo,     // removing a .trashinfo whose item did not move in, or was put back
  journal,      // appending one record to the log's journal (written and fsynced)
  replaceLog,   // renaming a freshly written log over the old one
  share,        // one verified dedupe request: a copy's range onto the kept file's blocks
};

// For tests only: called before every step with the path it acts on; a non-zero result is an
// errno that the step then fails with, without doing anything. An empty hook (the default) lets
// every call through. A hook may also change the file system, or end the process.
using FaultHook = std::function<int(Step, const std::string& path)>;
void setFaultHook(FaultHook hook);

// Runs the hook for a step that is not one of the calls below; the errno it asks for, or 0.
int checkpoint(Step step, const std::string& path);

// An absolute, standardised folder path opened with no symbolic link anywhere on the way
// (openat2 with RESOLVE_NO_SYMLINKS, or one O_NOFOLLOW step per component on older kernels).
int openFolderPath(const std::string& path);
// One folder inside an open one, never through a link.
int openFolderAt(int dirfd, const std::string& name, const std::string& path);
int makeFolderAt(int dirfd, const std::string& name, mode_t mode, const std::string& path);
// A new file, never an existing one and never through a symbolic link.
int reserveFileAt(int dirfd, const std::string& name, mode_t mode, const std::string& path);
// Writes all of the bytes (retrying short writes) and fsyncs; path names fd for the hook.
int writeAndSync(int fd, const std::string& path, std::string_view bytes);
// Appends one journal record (the bytes in one write) and fsyncs.
int appendRecord(int fd, const std::string& path, std::string_view bytes);
int renameNoReplace(int fromDir, const std::string& fromName, int toDir, const std::string& toName,
                    const std::string& path);
int link(int fromDir, const std::string& fromName, int toDir, const std::string& toName,
         const std::string& path);
// Removes oldName only when it and newName are two names of the same item (after a link).
int unlinkOldName(int fromDir, const std::string& oldName, int toDir, const std::string& newName,
                  const std::string& path);
// Removes Trash bookkeeping: a regular file whose name ends ".trashinfo", nothing else.
int dropInfo(int dirfd, const std::string& name, const std::string& path);

}  // namespace dw::platform::sys
