#include "support/mounts.h"

#include <cerrno>
#include <cstring>

#include "support/command.h"

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

const char* ScopedLoopMount::name(Kind kind) {
  switch (kind) {
    case Kind::btrfs:
      return "Btrfs";
    case Kind::xfs:
      return "XFS with reflink";
    case Kind::ext4:
      return "ext4";
  }
  return "";
}

ScopedLoopMount::ScopedLoopMount(Kind kind, std::string mountPoint)
    : point_(std::move(mountPoint)) {
  if (::geteuid() != 0) {
    error_ = std::string("loop-mounting ") + name(kind) + " needs root";
    return;
  }
  // Sparse, so its size costs nothing until written. XFS needs 300 MB at least.
  image_ = images_ / "fs.img";
  int fd = ::open(image_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0 || ::ftruncate(fd, kind == Kind::ext4 ? 64 << 20 : 320 << 20) != 0) {
    error_ = std::string("cannot make an image file: ") + std::strerror(errno);
    if (fd >= 0) ::close(fd);
    return;
  }
  ::close(fd);
  std::vector<std::string> mkfs;
  switch (kind) {
    case Kind::btrfs:
      mkfs = {"mkfs.btrfs", "-q", "-f", image_};
      break;
    case Kind::xfs:
      mkfs = {"mkfs.xfs", "-q", "-f", "-m", "reflink=1", image_};
      break;
    case Kind::ext4:
      mkfs = {"mkfs.ext4", "-q", "-F", image_};
      break;
  }
  CommandResult made = runCommand(mkfs);
  if (made.status != 0) {
    error_ = "cannot make " + std::string(name(kind)) + " (" + mkfs.front() +
             "): " + (made.err.empty() ? "not installed" : made.err);
    return;
  }
  // mount(8) sets up the loop device with autoclear: it goes when the file system is unmounted.
  CommandResult mounted = runCommand({"mount", "-o", "loop", image_, point_});
  if (mounted.status != 0) {
    error_ = "cannot loop-mount " + std::string(name(kind)) + ": " +
             (mounted.err.empty() ? "mount failed" : mounted.err);
  }
}

ScopedLoopMount::~ScopedLoopMount() {
  if (mounted() && ::umount2(point_.c_str(), 0) != 0) ::umount2(point_.c_str(), MNT_DETACH);
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
const char* ScopedLoopMount::name(Kind) {
  return "a loop mount";
}
ScopedLoopMount::ScopedLoopMount(Kind, std::string mountPoint)
    : point_(std::move(mountPoint)), error_("loop mounts are a Linux test fixture") {}
ScopedLoopMount::~ScopedLoopMount() = default;
ScopedImmutable::~ScopedImmutable() = default;

}  // namespace dw::test

#endif
