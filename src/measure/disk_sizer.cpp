#include "measure/disk_sizer.h"

#include <fts.h>
#include <sys/stat.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "base/paths.h"
#include "base/time.h"
#include "measure/project_folders.h"
#include "measure/tree_walker.h"
#include "platform/package.h"

namespace dw::DiskSizer {

size_t InodeKeyHash::operator()(const InodeKey& key) const noexcept {
  size_t h = std::hash<std::int32_t>{}(key.dev);
  return h ^ (std::hash<std::uint64_t>{}(key.ino) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2));
}

namespace {

// Closes the listing walk on every way out, cancellation included.
struct FtsCloser {
  FTS* fts;
  ~FtsCloser() {
    if (fts) fts_close(fts);
  }
};

// The totals of one thread of a measuring walk.
class SizeVisitor : public TreeWalker::Visitor {
 public:
  explicit SizeVisitor(TreeWalker::LinkSet& links) : links_(links) {}

  bool directory(const TreeWalker::Item& item, std::uint64_t&) override {
    // Each folder once, on its way in; one where another volume is mounted counts its own
    // entry and nothing inside it.
    total += TreeWalker::allocated(*item.stat);
    return true;
  }

  void entry(const TreeWalker::Item& item) override {
    const struct stat& s = *item.stat;
    if (item.kind == TreeWalker::Kind::symlink) {
      total += TreeWalker::allocated(s);  // the link itself; its target is never measured
      return;
    }
    // Counted once: every link of a file is the same blocks. A file with one link never
    // touches the shared set.
    if (s.st_nlink >= 2 && !links_.first(s.st_dev, s.st_ino)) return;
    // Devices, sockets and pipes count as files do: their blocks and their dates.
    total += TreeWalker::allocated(s);
    anyFile = true;
    newest = std::max<std::int64_t>(newest, s.st_mtim.tv_sec);
  }

  void add(const SizeVisitor& other) {
    total += other.total;
    anyFile = anyFile || other.anyFile;
    newest = std::max(newest, other.newest);
  }

  SizeReading reading() const {
    SizeReading r{total, std::nullopt};
    if (anyFile) r.newest = timefmt::fromUnixSeconds(newest);
    return r;
  }

  std::int64_t total = 0;
  std::int64_t newest = 0;
  bool anyFile = false;

 private:
  TreeWalker::LinkSet& links_;
};

// A measuring walk that also keeps the largest regular files listLargeFiles(root, 1, depth)
// would list. It runs on one thread, so that ties keep the walk order.
class LargestVisitor final : public SizeVisitor {
 public:
  LargestVisitor(TreeWalker::LinkSet& links, size_t count, int maxDepth)
      : SizeVisitor(links), count_(count), maxDepth_(maxDepth) {}

  // The tag marks a folder listLargeFiles would not enter, and everything below it.
  bool directory(const TreeWalker::Item& item, std::uint64_t& tag) override {
    if (item.level > 0) {
      tag = item.parentTag || item.level > maxDepth_ || isProjectFolderName(item.name) ||
            platform::isPackage(item.path());
      // The measuring walk stays on its volume; the listing does not, so another volume
      // mounted here is listed on its own.
      if (!tag && item.otherVolume) mounts_.emplace_back(item.path(), item.level);
    }
    return SizeVisitor::directory(item, tag);
  }

  void entry(const TreeWalker::Item& item) override {
    const struct stat& s = *item.stat;
    // Every link of a file is listed, as listLargeFiles lists them; only regular files, and
    // never the starting point itself.
    if (item.kind == TreeWalker::Kind::file && item.level > 0 && s.st_size >= 1 &&
        !item.parentTag && wouldKeep(s.st_size)) {
      offer({item.path(), static_cast<std::int64_t>(s.st_size),
             timefmt::fromUnixSeconds(s.st_mtim.tv_sec)});
    }
    SizeVisitor::entry(item);
  }

  std::vector<LargeFile> finish(const std::stop_token& stop) {
    for (const auto& [path, level] : mounts_) {
      for (LargeFile& f : listLargeFiles(path, 1, maxDepth_ - level, stop))
        offer(std::move(f));
    }
    return std::move(largest_);
  }

 private:
  bool wouldKeep(std::int64_t bytes) const {
    return count_ > 0 && (largest_.size() < count_ || largest_.back().bytes < bytes);
  }

  void offer(LargeFile f) {
    if (!wouldKeep(f.bytes)) return;
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
  std::vector<std::pair<std::string, int>> mounts_;
};

// The blocks that leave the volume's use only once the tree goes: a file with links outside the
// tree (a package store whose files projects link to) keeps its blocks after the tree is moved.
class UnsharedVisitor final : public TreeWalker::Visitor {
 public:
  bool directory(const TreeWalker::Item& item, std::uint64_t&) override {
    total_ += TreeWalker::allocated(*item.stat);
    return true;
  }

  void entry(const TreeWalker::Item& item) override {
    const struct stat& s = *item.stat;
    if (item.kind != TreeWalker::Kind::symlink && s.st_nlink >= 2) {
      // Counted once every one of its links has been met inside the tree.
      Linked& linked = linked_[{static_cast<std::int32_t>(s.st_dev), s.st_ino}];
      if (++linked.seen == s.st_nlink) total_ += TreeWalker::allocated(s);
    } else {
      total_ += TreeWalker::allocated(s);
    }
    if (item.kind != TreeWalker::Kind::symlink) {
      anyFile_ = true;
      newest_ = std::max<std::int64_t>(newest_, s.st_mtim.tv_sec);
    }
  }

  SizeReading reading() const {
    SizeReading r{total_, std::nullopt};
    if (anyFile_) r.newest = TimePoint(std::chrono::seconds(newest_));
    return r;
  }

 private:
  struct Linked {
    nlink_t seen = 0;
  };
  std::unordered_map<InodeKey, Linked, InodeKeyHash> linked_;
  std::int64_t total_ = 0;
  std::int64_t newest_ = 0;
  bool anyFile_ = false;
};

}  // namespace

SizeReading measureUnshared(const std::string& path, std::stop_token stop) {
  UnsharedVisitor visitor;
  TreeWalker::Options options;
  options.threads = 1;  // one table of links
  TreeWalker::walk(path, {&visitor}, options, stop);
  return visitor.reading();
}

SizeReading measure(const std::string& path, std::stop_token stop) {
  TreeWalker::LinkSet links;
  SizeVisitor first(links), second(links);
  TreeWalker::walk(path, {&first, &second}, TreeWalker::Options{}, stop);
  first.add(second);
  return first.reading();
}

Walk measureWithLargest(const std::string& path, size_t count, int maxDepth, std::stop_token stop) {
  TreeWalker::LinkSet links;
  LargestVisitor visitor(links, count, maxDepth);
  TreeWalker::Options options;
  options.threads = 1;
  TreeWalker::walk(path, {&visitor}, options, stop);
  Walk result{visitor.reading(), {}};
  result.largest = visitor.finish(stop);
  return result;
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
                           timefmt::fromUnixSeconds(s->st_mtim.tv_sec),
                           static_cast<std::int64_t>(s->st_blocks) * 512});
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
