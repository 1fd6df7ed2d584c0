#include "measure/disk_sizer.h"

#include <fts.h>
#include <sys/stat.h>

#include <algorithm>
#include <unordered_set>

#include "base/paths.h"
#include "measure/project_folders.h"
#include "platform/package.h"

namespace dw::DiskSizer {

size_t InodeKeyHash::operator()(const InodeKey& key) const noexcept {
  size_t h = std::hash<std::int32_t>{}(key.dev);
  return h ^ (std::hash<std::uint64_t>{}(key.ino) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2));
}

namespace {

// Closes the walk on every way out, cancellation included.
struct FtsCloser {
  FTS* fts;
  ~FtsCloser() {
    if (fts) fts_close(fts);
  }
};

constexpr std::int64_t allocated(const struct stat* s) {
  return static_cast<std::int64_t>(s->st_blocks) * 512;
}

// Keeps the largest regular files a walk passes, by the rules of listLargeFiles(root, 1, depth).
class LargestKeeper {
 public:
  LargestKeeper(size_t count, int maxDepth) : count_(count), maxDepth_(maxDepth) {}

  // Called for every pre-order folder visit; fts_number marks a folder listLargeFiles would not
  // enter, and everything below it.
  void folder(FTSENT* e, dev_t rootDevice) {
    if (e->fts_level == FTS_ROOTLEVEL) {
      e->fts_number = 0;
      return;
    }
    std::string_view name(e->fts_name, e->fts_namelen);
    e->fts_number = e->fts_parent->fts_number || e->fts_level > maxDepth_ ||
                    isProjectFolderName(name) || platform::isPackage(e->fts_path);
    // The measuring walk stays on its volume; the listing does not, so another volume mounted
    // here is listed on its own.
    if (!e->fts_number && e->fts_statp->st_dev != rootDevice) {
      mounts_.emplace_back(e->fts_path, e->fts_pathlen);
      mountLevels_.push_back(e->fts_level);
    }
  }

  void file(const FTSENT* e) {
    const struct stat* s = e->fts_statp;
    // The listing never reports its starting point itself, only what is below it.
    if (e->fts_level == FTS_ROOTLEVEL || s->st_size < 1 || e->fts_parent->fts_number) return;
    offer({std::string(e->fts_path, e->fts_pathlen), static_cast<std::int64_t>(s->st_size),
           TimePoint(std::chrono::seconds(s->st_mtim.tv_sec))});
  }

  std::vector<LargeFile> finish(const std::stop_token& stop) {
    for (size_t i = 0; i < mounts_.size(); ++i) {
      for (LargeFile& f : listLargeFiles(mounts_[i], 1, maxDepth_ - mountLevels_[i], stop))
        offer(std::move(f));
    }
    return std::move(largest_);
  }

 private:
  void offer(LargeFile f) {
    if (count_ == 0) return;
    if (largest_.size() == count_ && largest_.back().bytes >= f.bytes) return;
    // After every equal one, so that ties keep the walk order.
    auto at =
        std::upper_bound(largest_.begin(), largest_.end(), f.bytes,
                         [](std::int64_t bytes, const LargeFile& x) { return bytes > x.bytes; });
    largest_.insert(at, std::move(f));
    if (largest_.size() > count_) largest_.pop_back();
  }

  size_t count_;
  int maxDepth_;
  std::vector<LargeFile> largest_;
  std::vector<std::string> mounts_;
  std::vector<int> mountLevels_;
};

Walk walk(const std::string& path, const std::stop_token& stop, LargestKeeper* keeper) {
  char* roots[] = {const_cast<char*>(path.c_str()), nullptr};
  // Physical (links not followed), no chdir, and never onto another mounted volume.
  FTS* fts = fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR | FTS_XDEV, nullptr);
  if (!fts) return {};
  FtsCloser closer{fts};

  std::int64_t total = 0;
  std::unordered_set<InodeKey, InodeKeyHash> seen;
  std::int64_t newest = 0;
  bool anyFile = false;
  std::uint64_t counter = 1;
  dev_t rootDevice = 0;

  while (FTSENT* e = fts_read(fts)) {
    if (counter % 1000 == 0 && stop.stop_requested()) throw Cancelled{};
    ++counter;
    switch (e->fts_info) {
      case FTS_D:  // pre-order only; the post-order FTS_DP visit adds nothing
        if (e->fts_level == FTS_ROOTLEVEL) rootDevice = e->fts_statp->st_dev;
        if (keeper) keeper->folder(e, rootDevice);
        total += allocated(e->fts_statp);
        break;
      case FTS_SL:
      case FTS_SLNONE:
        total += allocated(e->fts_statp);
        break;
      case FTS_F:
      case FTS_DEFAULT: {
        const struct stat* s = e->fts_statp;
        // Every link of a file is listed, as listLargeFiles lists them; only regular files.
        if (keeper && e->fts_info == FTS_F) keeper->file(e);
        if (s->st_nlink >= 2) {
          // Counted once: every link is the same blocks.
          InodeKey key{static_cast<std::int32_t>(s->st_dev), static_cast<std::uint64_t>(s->st_ino)};
          if (!seen.insert(key).second) break;
        }
        // Devices, sockets and pipes count as files do: their blocks and their dates.
        total += allocated(s);
        anyFile = true;
        newest = std::max<std::int64_t>(newest, s->st_mtim.tv_sec);
        break;
      }
      default:  // unreadable folders, errors, cycles, entries without stat: nothing
        break;
    }
  }
  Walk result{{total, std::nullopt}, {}};
  if (anyFile) result.reading.newest = TimePoint(std::chrono::seconds(newest));
  if (keeper) result.largest = keeper->finish(stop);
  return result;
}

}  // namespace

SizeReading measure(const std::string& path, std::stop_token stop) {
  return walk(path, stop, nullptr).reading;
}

Walk measureWithLargest(const std::string& path, size_t count, int maxDepth, std::stop_token stop) {
  LargestKeeper keeper(count, maxDepth);
  return walk(path, stop, &keeper);
}

std::vector<LargeFile> listLargeFiles(const std::string& folder, std::int64_t minimumBytes,
                                      int maxDepth, std::stop_token stop) {
  std::vector<LargeFile> found;
  char* roots[] = {const_cast<char*>(folder.c_str()), nullptr};
  // The folder itself may be reached through a link (a Downloads folder moved elsewhere);
  // nothing below it is followed.
  FTS* fts = fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR | FTS_COMFOLLOW, nullptr);
  if (!fts) return found;
  FtsCloser closer{fts};

  while (FTSENT* e = fts_read(fts)) {
    throwIfCancelled(stop);
    if (e->fts_level == FTS_ROOTLEVEL) continue;
    switch (e->fts_info) {
      case FTS_D: {
        // Levels count from 1 for the folder's own entries; a folder deeper than the limit is
        // listed but not entered.
        std::string_view name(e->fts_name, e->fts_namelen);
        if (e->fts_level > maxDepth || isProjectFolderName(name) ||
            platform::isPackage(e->fts_path)) {
          fts_set(fts, e, FTS_SKIP);
        }
        break;
      }
      case FTS_F: {
        const struct stat* s = e->fts_statp;
        if (s->st_size >= minimumBytes) {
          found.push_back({std::string(e->fts_path, e->fts_pathlen),
                           static_cast<std::int64_t>(s->st_size),
                           TimePoint(std::chrono::seconds(s->st_mtim.tv_sec))});
        }
        break;
      }
      default:  // links are never followed; unreadable entries are passed over
        break;
    }
  }
  return found;
}

}  // namespace dw::DiskSizer
