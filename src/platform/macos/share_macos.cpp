// Sharing on a Mac. APFS has no verified dedupe request, so a copy becomes a clone of the kept
// file in three checked steps, all relative to the copy's open folder:
//   1. the kept file (as opened and checked) is cloned to a hidden temporary name beside the
//      copy, and the copy's own metadata (mode, owner, flags, extended attributes, times) is put
//      on the clone;
//   2. the clone is compared byte for byte with the copy, which must still be the file listed;
//   3. the two names are exchanged (renameatx_np with RENAME_SWAP), and the file now under the
//      temporary name is checked to be the copy with the same bytes; if not, the names are
//      exchanged back.
// The replaced file then goes to the Trash like every move (the caller does that and logs it),
// so nothing is deleted: the space comes back when the Trash is emptied, and every path stays.

#include <copyfile.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/attr.h>
#include <sys/clonefile.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <vector>

#include "base/paths.h"
#include "platform/share.h"

namespace dw::platform::share {

namespace {

class Fd {
 public:
  explicit Fd(int fd = -1) : fd_(fd) {}
  ~Fd() {
    if (fd_ >= 0) ::close(fd_);
  }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  int get() const { return fd_; }
  bool ok() const { return fd_ >= 0; }

 private:
  int fd_;
};

int openFile(int dirfd, const char* name) {
  return ::openat(dirfd, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
}

bool sameFile(const struct stat& s, const FileFacts& facts) {
  return S_ISREG(s.st_mode) && isFile(facts, static_cast<std::uint64_t>(s.st_dev),
                                      static_cast<std::uint64_t>(s.st_ino), s.st_size);
}

// Whether two open files hold the same bytes, read from the start in 1 MiB pieces.
bool sameBytes(int a, int b, std::int64_t size) {
  std::vector<char> x(1 << 20), y(1 << 20);
  for (off_t at = 0; at < size;) {
    ssize_t n = ::pread(a, x.data(), x.size(), at);
    ssize_t m = ::pread(b, y.data(), y.size(), at);
    if (n <= 0 || n != m || std::memcmp(x.data(), y.data(), static_cast<size_t>(n)) != 0)
      return false;
    at += n;
  }
  return true;
}

Result failed(int error) {
  return Result::failed(error);
}
Result changed() {
  return Result::changed();
}

std::string temporaryName(const std::string& name) {
  std::random_device random;
  char tag[16];
  std::snprintf(tag, sizeof tag, "%08x", random());
  return ".dustwhale-share-" + std::string(tag) + "-" + name;
}

// The clone made at a temporary name, by this program, in a folder held open: removed only when
// it is still the very file that was made (its device and inode), never anything else.
void dropClone(int dirfd, const std::string& name, const struct stat& made) {
  struct stat now {};
  if (::fstatat(dirfd, name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 && now.st_dev == made.st_dev &&
      now.st_ino == made.st_ino) {
    ::unlinkat(dirfd, name.c_str(), 0);
  }
}

}  // namespace

std::optional<FileFacts> inspect(const std::string& path, std::string* error) {
  Fd fd(openFile(AT_FDCWD, path.c_str()));
  struct stat s {};
  if (!fd.ok() || ::fstat(fd.get(), &s) != 0 || !S_ISREG(s.st_mode)) {
    if (error)
      *error = fd.ok() && !S_ISREG(s.st_mode) ? "not a regular file" : std::strerror(errno);
    return std::nullopt;
  }
  FileFacts facts;
  // Clones are made within one volume, and each APFS volume has its own device.
  facts.fileSystem = "dev:" + std::to_string(s.st_dev);
  facts.device = static_cast<std::uint64_t>(s.st_dev);
  facts.inode = static_cast<std::uint64_t>(s.st_ino);
  facts.size = s.st_size;
  // APFS tells no extents: what a clone can give back is at most the copy's allocation.
  facts.unshared = static_cast<std::int64_t>(s.st_blocks) * 512;
  return facts;
}

Probe probe(const std::string& path) {
  struct statfs volume {};
  if (::statfs(path.c_str(), &volume) != 0) return Probe::unknown;
  struct attrlist request {};
  request.bitmapcount = ATTR_BIT_MAP_COUNT;
  request.volattr = ATTR_VOL_INFO | ATTR_VOL_CAPABILITIES;
  struct {
    u_int32_t length;
    vol_capabilities_attr_t capabilities;
  } __attribute__((aligned(4), packed)) answer{};
  if (::getattrlist(volume.f_mntonname, &request, &answer, sizeof answer, 0) != 0) {
    return Probe::unknown;
  }
  const auto& interfaces = answer.capabilities;
  const u_int32_t valid = interfaces.valid[VOL_CAPABILITIES_INTERFACES];
  const u_int32_t has = interfaces.capabilities[VOL_CAPABILITIES_INTERFACES];
  const u_int32_t needed = VOL_CAP_INT_CLONE | VOL_CAP_INT_RENAME_SWAP;
  return (valid & needed) == needed && (has & needed) == needed ? Probe::yes : Probe::no;
}

std::optional<std::int64_t> freeSpace(const std::string& path) {
  struct statfs volume {};
  if (::statfs(path.c_str(), &volume) != 0) return std::nullopt;
  return static_cast<std::int64_t>(volume.f_bavail) * static_cast<std::int64_t>(volume.f_bsize);
}

Result shareBlocks(const std::string& keptPath, const FileFacts& kept, const std::string& copyPath,
                   const FileFacts& copy) {
  const std::string folder(paths::parent(copyPath));
  const std::string name(paths::lastComponent(copyPath));
  Fd dir(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!dir.ok()) return failed(errno);
  Fd keptFd(openFile(AT_FDCWD, keptPath.c_str()));
  Fd copyFd(openFile(dir.get(), name.c_str()));
  if (!keptFd.ok() || !copyFd.ok())
    return errno == ENOENT || errno == ELOOP ? changed() : failed(errno);
  struct stat ks {
  }, cs{};
  if (::fstat(keptFd.get(), &ks) != 0 || ::fstat(copyFd.get(), &cs) != 0) return failed(errno);
  if (!sameFile(ks, kept) || !sameFile(cs, copy) || kept.size != copy.size) return changed();

  // 1. The clone, beside the copy, wearing the copy's metadata.
  const std::string temporary = temporaryName(name);
  if (::fclonefileat(keptFd.get(), dir.get(), temporary.c_str(),
                     CLONE_NOFOLLOW | CLONE_NOOWNERCOPY) != 0) {
    return failed(errno);
  }
  Fd cloneFd(::openat(dir.get(), temporary.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
  struct stat made {};
  if (!cloneFd.ok() || ::fstat(cloneFd.get(), &made) != 0) return failed(errno);
  auto giveUp = [&](Result r) {
    dropClone(dir.get(), temporary, made);
    return r;
  };
  if (::fcopyfile(copyFd.get(), cloneFd.get(), nullptr,
                  COPYFILE_SECURITY | COPYFILE_XATTR | COPYFILE_STAT) != 0) {
    return giveUp(failed(errno));
  }
  struct attrlist birth {};
  birth.bitmapcount = ATTR_BIT_MAP_COUNT;
  birth.commonattr = ATTR_CMN_CRTIME;
  struct timespec created = cs.st_birthtimespec;
  ::fsetattrlist(cloneFd.get(), &birth, &created, sizeof created, 0);

  // 2. The copy is still the file listed, and the clone holds its very bytes.
  struct stat again {};
  if (::fstatat(dir.get(), name.c_str(), &again, AT_SYMLINK_NOFOLLOW) != 0 ||
      again.st_dev != cs.st_dev || again.st_ino != cs.st_ino ||
      !sameBytes(copyFd.get(), cloneFd.get(), copy.size)) {
    return giveUp(changed());
  }

  // 3. The names exchanged: the copy's name holds the clone, the temporary one the old copy.
  if (::renameatx_np(dir.get(), temporary.c_str(), dir.get(), name.c_str(), RENAME_SWAP) != 0) {
    return giveUp(failed(errno));
  }
  struct stat old {};
  bool asListed = ::fstatat(dir.get(), temporary.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0 &&
                  old.st_dev == cs.st_dev && old.st_ino == cs.st_ino &&
                  sameBytes(copyFd.get(), cloneFd.get(), copy.size);
  if (!asListed) {
    // Written or replaced at the last moment: the names go back as they were.
    if (::renameatx_np(dir.get(), temporary.c_str(), dir.get(), name.c_str(), RENAME_SWAP) == 0) {
      return giveUp(changed());
    }
    // The exchange back failed: both files stay, the replaced one under the temporary name,
    // and the caller moves it to the Trash where it can be put back.
  }
  Result r;
  r.status = Result::Status::shared;
  r.replacedPath = paths::join(folder, temporary);
  return r;
}

}  // namespace dw::platform::share
