#include "platform/linux/syscalls.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <mutex>

#include "base/fd.h"
#include "base/paths.h"

namespace dw::platform::sys {

namespace {

std::mutex hookMutex;
std::shared_ptr<const FaultHook> currentHook;

// The errno a test wants this step to fail with, or 0.
int injected(Step step, const std::string& path) {
  std::shared_ptr<const FaultHook> hook;
  {
    std::lock_guard lock(hookMutex);
    hook = currentHook;
  }
  if (!hook || !*hook) return 0;
  return (*hook)(step, path);
}

int fail(int error) {
  errno = error;
  return -1;
}

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// The same walk for kernels without openat2: one component at a time, never following a link.
int openStepwise(const std::string& path) {
  int fd = ::open("/", kFolderFlags);
  if (fd < 0) return -1;
  for (std::string_view part : paths::split(path, '/')) {
    int next = ::openat(fd, std::string(part).c_str(), kFolderFlags);
    int error = errno;
    ::close(fd);
    if (next < 0) return fail(error);
    fd = next;
  }
  return fd;
}

}  // namespace

void setFaultHook(FaultHook hook) {
  auto next = hook ? std::make_shared<const FaultHook>(std::move(hook)) : nullptr;
  std::lock_guard lock(hookMutex);
  currentHook = std::move(next);
}

int checkpoint(Step step, const std::string& path) {
  return injected(step, path);
}

int openFolderPath(const std::string& path) {
  if (int e = injected(Step::openFolder, path)) return fail(e);
  if (path.empty() || path.front() != '/') return fail(EINVAL);
  open_how how{};
  how.flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  how.resolve = RESOLVE_NO_SYMLINKS;
  long fd = ::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how);
  if (fd >= 0) return static_cast<int>(fd);
  if (errno == ENOSYS || errno == EPERM) return openStepwise(path);  // EPERM: a seccomp filter
  return -1;
}

int openFolderAt(int dirfd, const std::string& name, const std::string& path) {
  if (int e = injected(Step::openFolder, path)) return fail(e);
  return ::openat(dirfd, name.c_str(), kFolderFlags);
}

int makeFolderAt(int dirfd, const std::string& name, mode_t mode, const std::string& path) {
  if (int e = injected(Step::makeFolder, path)) return fail(e);
  return ::mkdirat(dirfd, name.c_str(), mode);
}

int reserveFileAt(int dirfd, const std::string& name, mode_t mode, const std::string& path) {
  if (int e = injected(Step::reserveInfo, path)) return fail(e);
  return ::openat(dirfd, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
}

int writeAndSync(int fd, const std::string& path, std::string_view bytes) {
  if (int e = injected(Step::writeInfo, path)) return fail(e);
  if (int e = writeAll(fd, bytes)) return fail(e);
  if (int e = injected(Step::syncInfo, path)) return fail(e);
  return ::fsync(fd);
}

int appendRecord(int fd, const std::string& path, std::string_view bytes) {
  if (int e = injected(Step::journal, path)) return fail(e);
  if (int e = writeAll(fd, bytes)) return fail(e);
  return ::fdatasync(fd);
}

int renameNoReplace(int fromDir, const std::string& fromName, int toDir, const std::string& toName,
                    const std::string& path) {
  if (int e = injected(Step::rename, path)) return fail(e);
  return ::renameat2(fromDir, fromName.c_str(), toDir, toName.c_str(), RENAME_NOREPLACE);
}

int link(int fromDir, const std::string& fromName, int toDir, const std::string& toName,
         const std::string& path) {
  if (int e = injected(Step::link, path)) return fail(e);
  // linkat without AT_SYMLINK_FOLLOW links a symbolic link itself, and fails on an existing
  // target instead of replacing it.
  return ::linkat(fromDir, fromName.c_str(), toDir, toName.c_str(), 0);
}

int unlinkOldName(int fromDir, const std::string& oldName, int toDir, const std::string& newName,
                  const std::string& path) {
  if (int e = injected(Step::unlink, path)) return fail(e);
  // Only a second name of the very same item may go; anything else there is someone's file.
  struct stat before {
  }, after{};
  if (::fstatat(fromDir, oldName.c_str(), &before, AT_SYMLINK_NOFOLLOW) != 0 ||
      ::fstatat(toDir, newName.c_str(), &after, AT_SYMLINK_NOFOLLOW) != 0) {
    return -1;
  }
  if (before.st_dev != after.st_dev || before.st_ino != after.st_ino) return fail(EBUSY);
  return ::unlinkat(fromDir, oldName.c_str(), 0);
}

int dropInfo(int dirfd, const std::string& name, const std::string& path) {
  if (int e = injected(Step::dropInfo, path)) return fail(e);
  constexpr std::string_view kSuffix = ".trashinfo";
  if (name.size() <= kSuffix.size() || name.find('/') != std::string::npos ||
      name.compare(name.size() - kSuffix.size(), kSuffix.size(), kSuffix) != 0) {
    return fail(EINVAL);
  }
  struct stat s {};
  if (::fstatat(dirfd, name.c_str(), &s, AT_SYMLINK_NOFOLLOW) != 0) return -1;
  if (!S_ISREG(s.st_mode)) return fail(EINVAL);
  // Only Trash bookkeeping reaches here: a .trashinfo in a Trash's info folder.
  return ::unlinkat(dirfd, name.c_str(), 0);
}

}  // namespace dw::platform::sys
