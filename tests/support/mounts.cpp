#include "support/mounts.h"

#include <cerrno>
#include <cstring>

#ifdef __linux__
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace dw::test {

namespace {

int changeImmutable(const std::string& path, bool on) {
  int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return errno;
  int flags = 0;
  int error = 0;
  if (::ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0) {
    error = errno;
  } else {
    flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
    if (::ioctl(fd, FS_IOC_SETFLAGS, &flags) != 0) error = errno;
  }
  ::close(fd);
  return error;
}

}  // namespace

ScopedTmpfs::ScopedTmpfs(std::string mountPoint, unsigned long flags)
    : point_(std::move(mountPoint)) {
  if (::mount("tmpfs", point_.c_str(), "tmpfs", flags, "size=16m,mode=0755") != 0) {
    error_ = std::string("cannot mount a tmpfs here: ") + std::strerror(errno);
  }
}

ScopedTmpfs::~ScopedTmpfs() {
  if (mounted()) ::umount2(point_.c_str(), MNT_DETACH);
}

ScopedBindMount::ScopedBindMount(const std::string& from, std::string at) : at_(std::move(at)) {
  if (::mount(from.c_str(), at_.c_str(), nullptr, MS_BIND, nullptr) != 0) {
    error_ = std::string("cannot bind-mount a folder here: ") + std::strerror(errno);
  }
}

ScopedBindMount::~ScopedBindMount() {
  if (mounted()) ::umount2(at_.c_str(), MNT_DETACH);
}

ScopedImmutable::ScopedImmutable(std::string path) : path_(std::move(path)) {
  if (int e = changeImmutable(path_, true)) {
    error_ = std::string("cannot make a folder immutable here: ") + std::strerror(e);
  }
}

ScopedImmutable::~ScopedImmutable() {
  if (set()) changeImmutable(path_, false);
}

}  // namespace dw::test

#else

namespace dw::test {

ScopedTmpfs::ScopedTmpfs(std::string mountPoint, unsigned long)
    : point_(std::move(mountPoint)), error_("tmpfs mounts are a Linux test fixture") {}
ScopedTmpfs::~ScopedTmpfs() = default;
ScopedBindMount::ScopedBindMount(const std::string&, std::string at)
    : at_(std::move(at)), error_("bind mounts are a Linux test fixture") {}
ScopedBindMount::~ScopedBindMount() = default;
ScopedImmutable::ScopedImmutable(std::string path)
    : path_(std::move(path)), error_("the immutable flag is a Linux test fixture") {}
ScopedImmutable::~ScopedImmutable() = default;

}  // namespace dw::test

#endif
