#include "platform/linux/syscalls.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <mutex>

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

}  // namespace

void setFaultHook(FaultHook hook) {
  auto next = hook ? std::make_shared<const FaultHook>(std::move(hook)) : nullptr;
  std::lock_guard lock(hookMutex);
  currentHook = std::move(next);
}

int makeFolder(const std::string& path, mode_t mode) {
  if (int e = injected(Step::makeFolder, path)) return fail(e);
  return ::mkdir(path.c_str(), mode);
}

int reserveFile(const std::string& path, mode_t mode) {
  if (int e = injected(Step::reserveInfo, path)) return fail(e);
  return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
}

int writeAndSync(int fd, const std::string& path, std::string_view bytes) {
  if (int e = injected(Step::writeInfo, path)) return fail(e);
  while (!bytes.empty()) {
    ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return -1;
    }
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  if (int e = injected(Step::syncInfo, path)) return fail(e);
  return ::fsync(fd);
}

int renameNoReplace(const std::string& from, const std::string& to) {
  if (int e = injected(Step::rename, from)) return fail(e);
  return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE);
}

int link(const std::string& from, const std::string& to) {
  if (int e = injected(Step::link, from)) return fail(e);
  // linkat without AT_SYMLINK_FOLLOW links a symbolic link itself, and fails on an existing
  // target instead of replacing it.
  return ::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), 0);
}

int unlinkOldName(const std::string& oldName, const std::string& newName) {
  if (int e = injected(Step::unlink, oldName)) return fail(e);
  // Only a second name of the very same item may go; anything else there is someone's file.
  struct stat before {
  }, after{};
  if (::lstat(oldName.c_str(), &before) != 0 || ::lstat(newName.c_str(), &after) != 0) return -1;
  if (before.st_dev != after.st_dev || before.st_ino != after.st_ino) return fail(EBUSY);
  return ::unlink(oldName.c_str());
}

int dropInfo(const std::string& path) {
  if (int e = injected(Step::dropInfo, path)) return fail(e);
  constexpr std::string_view kSuffix = ".trashinfo";
  struct stat s {};
  if (path.size() <= kSuffix.size() ||
      path.compare(path.size() - kSuffix.size(), kSuffix.size(), kSuffix) != 0) {
    return fail(EINVAL);
  }
  if (::lstat(path.c_str(), &s) != 0) return -1;
  if (!S_ISREG(s.st_mode)) return fail(EINVAL);
  return ::unlink(path.c_str());
}

}  // namespace dw::platform::sys
