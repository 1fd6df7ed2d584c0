// Sharing on Linux: the extent map (FIEMAP), a probe of the file system, and the kernel's
// verified dedupe request (FIDEDUPERANGE). The request compares the two ranges under the
// kernel's own lock and shares only when they are identical, so a copy written at the same
// moment keeps its new bytes; it never changes a file's size, times or permissions.

#include <fcntl.h>
#include <linux/btrfs.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "base/fd.h"
#include "platform/linux/syscalls.h"
#include "platform/ownership.h"
#include "platform/share.h"

namespace dw::platform::share {

namespace {

// Read-only, never through a link at the last component, never blocking on a FIFO: the
// dedupe request needs no write access when the file is ours, and reading changes nothing.
int openFile(const std::string& path) {
  return ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
}

std::int64_t blockSize(int fd) {
  struct statvfs v {};
  if (::fstatvfs(fd, &v) == 0 && v.f_bsize >= 512) return static_cast<std::int64_t>(v.f_bsize);
  return 4096;
}

std::string hex(const unsigned char* bytes, size_t n) {
  static const char digits[] = "0123456789abcdef";
  std::string out;
  for (size_t i = 0; i < n; ++i) {
    out += digits[bytes[i] >> 4];
    out += digits[bytes[i] & 15];
  }
  return out;
}

// One key per file system: a Btrfs volume's subvolumes have devices of their own but share
// blocks with each other, so Btrfs is known by its volume's id.
std::string fileSystemKey(int fd, const struct stat& s) {
  struct statfs f {};
  if (::fstatfs(fd, &f) == 0 && f.f_type == BTRFS_SUPER_MAGIC) {
    btrfs_ioctl_fs_info_args info{};
    if (::ioctl(fd, BTRFS_IOC_FS_INFO, &info) == 0)
      return "btrfs:" + hex(info.fsid, BTRFS_FSID_SIZE);
  }
  return "dev:" + std::to_string(major(s.st_dev)) + ":" + std::to_string(minor(s.st_dev));
}

// The file's extents up to its end (rounded up to a block). An empty map when the file system
// keeps none to tell (tmpfs answers "not supported").
std::vector<Extent> extentMap(int fd, std::int64_t size, std::int64_t block) {
  std::vector<Extent> extents;
  constexpr unsigned kBatch = 128;
  std::vector<unsigned char> buffer(sizeof(fiemap) + kBatch * sizeof(fiemap_extent));
  auto* map = reinterpret_cast<fiemap*>(buffer.data());
  const std::uint64_t end =
      static_cast<std::uint64_t>((size + block - 1) / block) * static_cast<std::uint64_t>(block);
  std::uint64_t start = 0;
  while (start < end) {
    std::fill(buffer.begin(), buffer.end(), 0);
    map->fm_start = start;
    map->fm_length = end - start;
    map->fm_extent_count = kBatch;
    if (::ioctl(fd, FS_IOC_FIEMAP, map) != 0 || map->fm_mapped_extents == 0) break;
    bool last = false;
    for (unsigned i = 0; i < map->fm_mapped_extents; ++i) {
      const fiemap_extent& e = map->fm_extents[i];
      last = last || (e.fe_flags & FIEMAP_EXTENT_LAST);
      std::uint64_t from = std::max<std::uint64_t>(e.fe_logical, start);
      std::uint64_t to = std::min<std::uint64_t>(e.fe_logical + e.fe_length, end);
      start = std::max<std::uint64_t>(start, e.fe_logical + e.fe_length);
      if (to <= from) continue;
      // Blocks not yet written out have no place on disk yet: nothing else can refer to them.
      bool placed = !(e.fe_flags & (FIEMAP_EXTENT_UNKNOWN | FIEMAP_EXTENT_DELALLOC));
      extents.push_back({from, placed ? e.fe_physical + (from - e.fe_logical) : 0, to - from,
                         placed && (e.fe_flags & FIEMAP_EXTENT_SHARED) != 0, placed});
    }
    if (last) break;
  }
  return extents;
}

bool sameFile(const struct stat& s, const FileFacts& facts) {
  return S_ISREG(s.st_mode) && isFile(facts, static_cast<std::uint64_t>(s.st_dev),
                                      static_cast<std::uint64_t>(s.st_ino), s.st_size);
}

Result failed(int error) {
  return Result::failed(error);
}
Result changed() {
  return Result::changed();
}

struct Request {
  std::unique_ptr<file_dedupe_range, void (*)(void*)> range{nullptr, ::free};
  Request(std::uint64_t offset, std::uint64_t length, int destination, std::uint64_t destOffset) {
    range.reset(static_cast<file_dedupe_range*>(
        ::calloc(1, sizeof(file_dedupe_range) + sizeof(file_dedupe_range_info))));
    range->src_offset = offset;
    range->src_length = length;
    range->dest_count = 1;
    range->info[0].dest_fd = destination;
    range->info[0].dest_offset = destOffset;
  }
  file_dedupe_range_info& info() { return range->info[0]; }
};

}  // namespace

std::optional<FileFacts> inspect(const std::string& path, std::string* error) {
  UniqueFd fd(openFile(path));
  struct stat s {};
  int e = 0;
  if (!fd.valid() || ::fstat(fd.get(), &s) != 0) {
    e = errno;
  } else if (!S_ISREG(s.st_mode)) {
    e = EINVAL;
  }
  if (e != 0) {
    if (error) *error = e == EINVAL ? "not a regular file" : std::strerror(e);
    return std::nullopt;
  }
  FileFacts facts;
  facts.fileSystem = fileSystemKey(fd.get(), s);
  facts.device = static_cast<std::uint64_t>(s.st_dev);
  facts.inode = static_cast<std::uint64_t>(s.st_ino);
  facts.size = s.st_size;
  facts.extents = extentMap(fd.get(), s.st_size, blockSize(fd.get()));
  for (const Extent& x : facts.extents) {
    if (!x.shared) facts.unshared += static_cast<std::int64_t>(x.length);
  }
  return facts;
}

Probe probe(const std::string& path) {
  UniqueFd fd(openFile(path));
  struct stat s {};
  if (!fd.valid() || ::fstat(fd.get(), &s) != 0 || !S_ISREG(s.st_mode)) return Probe::unknown;
  const std::int64_t block = blockSize(fd.get());
  const std::int64_t blocks = std::min<std::int64_t>(s.st_size / block, 64);
  std::vector<char> first(static_cast<size_t>(block)), other(static_cast<size_t>(block));
  if (blocks < 2 || ::pread(fd.get(), first.data(), first.size(), 0) != block)
    return Probe::unknown;
  for (std::int64_t k = 1; k < blocks; ++k) {
    if (::pread(fd.get(), other.data(), other.size(), k * block) != block) return Probe::unknown;
    if (first == other) continue;
    // Two blocks that differ: a file system that shares compares them and shares nothing.
    Request request(0, static_cast<std::uint64_t>(block), fd.get(),
                    static_cast<std::uint64_t>(k * block));
    if (::ioctl(fd.get(), FIDEDUPERANGE, request.range.get()) != 0) return Probe::no;
    std::int32_t status = request.info().status;
    if (status == FILE_DEDUPE_RANGE_DIFFERS || status == FILE_DEDUPE_RANGE_SAME) {
      return Probe::yes;
    }
    if (status == -EPERM || status == -EACCES || status == -ETXTBSY) return Probe::unknown;
    return Probe::no;
  }
  // Every block read is alike: asking would share them. Btrfs always can; others stay unknown.
  struct statfs f {};
  if (::fstatfs(fd.get(), &f) == 0 && f.f_type == BTRFS_SUPER_MAGIC) return Probe::yes;
  return Probe::unknown;
}

std::optional<std::int64_t> freeSpace(const std::string& path) {
  UniqueFd fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!fd.valid()) return std::nullopt;
  // A commit: Btrfs gives released blocks back to the free space only then.
  ::syncfs(fd.get());
  struct statvfs v {};
  if (::fstatvfs(fd.get(), &v) != 0) return std::nullopt;
  auto unit = static_cast<std::int64_t>(v.f_frsize ? v.f_frsize : v.f_bsize);
  return static_cast<std::int64_t>(v.f_bavail) * unit;
}

Result shareBlocks(const std::string& keptPath, const FileFacts& kept, const std::string& copyPath,
                   const FileFacts& copy) {
  UniqueFd keptFd(openFile(keptPath));
  if (!keptFd.valid()) return errno == ENOENT || errno == ELOOP ? changed() : failed(errno);
  UniqueFd copyFd(openFile(copyPath));
  if (!copyFd.valid()) return errno == ENOENT || errno == ELOOP ? changed() : failed(errno);
  struct stat ks {
  }, cs{};
  if (::fstat(keptFd.get(), &ks) != 0) return failed(errno);
  if (::fstat(copyFd.get(), &cs) != 0) return failed(errno);
  // The files inspected, still of the one size: anything else is not the copy that was listed.
  if (!sameFile(ks, kept) || !sameFile(cs, copy) || kept.size != copy.size) return changed();
  // Only the user's own files: the request would change another user's file's blocks.
  if (!Ownership::owns(ks) || !Ownership::owns(cs)) return failed(EPERM);

  const auto size = static_cast<std::uint64_t>(copy.size);
  std::uint64_t offset = 0;
  while (offset < size) {
    if (int e = sys::checkpoint(sys::Step::share, copyPath)) return failed(e);
    // The kernel takes at most 1 GiB a request and says how much it shared.
    Request request(offset, size - offset, copyFd.get(), offset);
    if (::ioctl(keptFd.get(), FIDEDUPERANGE, request.range.get()) != 0) return failed(errno);
    std::int32_t status = request.info().status;
    if (status == FILE_DEDUPE_RANGE_DIFFERS) return changed();
    if (status < 0) {
      // A size changed meanwhile makes the range invalid: the copy changed.
      struct stat now {};
      if (::fstat(copyFd.get(), &now) == 0 && now.st_size != copy.size) return changed();
      if (::fstat(keptFd.get(), &now) == 0 && now.st_size != kept.size) return changed();
      return failed(-status);
    }
    if (request.info().bytes_deduped == 0) return failed(EIO);
    offset += request.info().bytes_deduped;
  }
  Result r;
  r.status = Result::Status::shared;
  return r;
}

}  // namespace dw::platform::share
