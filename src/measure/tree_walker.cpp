#include "measure/tree_walker.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstddef>
#include <cstring>
#include <deque>
#include <exception>
#include <functional>
#include <thread>

#include "base/core.h"
#include "platform/folder_reader.h"

namespace dw::TreeWalker {

std::string Item::path() const {
  return walk ? walk->pathOf(*this) : std::string(name);
}

bool LinkSet::first(dev_t dev, ino_t ino) {
  std::lock_guard lock(mutex_);
  return seen_.emplace(dev, ino).second;
}

namespace {

constexpr int kDirFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr std::uint32_t kWorthHandingOver = 8;

// A directory handed from one thread to another, already open.
struct Task {
  int fd = -1;
  std::string path;
  int level = 0;
  std::uint64_t tag = 0;
  dev_t dev = 0;
  ino_t ino = 0;
  std::string listing;  // read by the thread that found it
  bool listed = false;
};

// Thrown inside a thread whose partner failed, to unwind it quietly.
struct Abandoned {};

class Shared {
 public:
  Shared(const Options& given, std::stop_token token, dev_t device)
      : options(given), stop(std::move(token)), rootDevice(device) {}

  const Options options;
  const std::stop_token stop;
  const dev_t rootDevice;
  std::atomic<bool> failed{false};
  std::atomic<int> idle{0};
  std::atomic<int> queued{0};

  // Whether a thread waits for work and the queue is short: then a directory is handed over
  // instead of being walked by the thread that found it.
  bool hungry() const {
    return idle.load(std::memory_order_relaxed) > 0 && queued.load(std::memory_order_relaxed) < 2;
  }

  void give(Task task) {
    {
      std::lock_guard lock(mutex_);
      queue_.push_back(std::move(task));
      queued = static_cast<int>(queue_.size());
    }
    ready_.notify_one();
  }

  // Called by a thread that has finished its work: the next directory, or false when the whole
  // walk is done (or failed).
  bool take(Task& task) {
    std::unique_lock lock(mutex_);
    --active_;
    ++idle;
    ready_.wait(lock, [&] { return !queue_.empty() || active_ == 0 || failed; });
    --idle;
    if (failed || queue_.empty()) {
      ready_.notify_all();
      return false;
    }
    task = std::move(queue_.front());
    queue_.pop_front();
    queued = static_cast<int>(queue_.size());
    ++active_;
    return true;
  }

  // A thread that joins counts as busy until its first take().
  void joining() {
    std::lock_guard lock(mutex_);
    ++active_;
  }

  void fail(std::exception_ptr error) {
    {
      std::lock_guard lock(mutex_);
      if (!failure_) failure_ = std::move(error);
      failed = true;
    }
    ready_.notify_all();
  }

  std::exception_ptr failure() {
    std::lock_guard lock(mutex_);
    return failure_;
  }

  ~Shared() {
    for (Task& t : queue_)
      if (t.fd >= 0) ::close(t.fd);
  }

 private:
  std::mutex mutex_;
  std::condition_variable ready_;
  std::deque<Task> queue_;
  int active_ = 1;  // the first thread, busy from the start
  std::exception_ptr failure_;
};

// One directory on a thread's way down: its listing, read whole when it was opened, and its
// descriptor, which a deep walk may release and reopen later.
struct Frame {
  int fd = -1;
  std::string name;  // in the parent; the full path for the first frame of a task
  dev_t dev = 0;
  ino_t ino = 0;
  int level = 0;
  std::uint64_t tag = 0;
  std::string listing;  // entries packed as: d_type byte, name, '\0'
  std::uint32_t entries = 0;
  size_t next = 0;
  std::uint32_t index = 0;
};

class Worker final : public Walk {
 public:
  Worker(Shared& shared, Visitor& visitor) : shared_(shared), visitor_(visitor) {}
  ~Worker() override {
    for (Frame& f : frames_)
      closeFrame(f);
  }

  std::string pathOf(const Item& item) const override {
    if (item.level == 0 || frames_.empty()) return std::string(item.name);
    std::string path;
    for (const Frame& f : frames_) {
      if (!path.empty() && path.back() != '/') path += '/';
      path += f.name;
    }
    if (path.back() != '/') path += '/';
    path.append(item.name);
    return path;
  }

  // Counts the root, which the caller has already stat'ed.
  void countRoot() { tick(); }

  // Walks the directory of a task and everything below it that is handed to no one else.
  void run(Task task) {
    Frame base;
    base.fd = task.fd;
    base.name = std::move(task.path);
    base.dev = task.dev;
    base.ino = task.ino;
    base.level = task.level;
    base.tag = task.tag;
    base.listing = std::move(task.listing);
    frames_.clear();
    held_ = 1;
    if (!task.listed) readListing(base);
    frames_.push_back(std::move(base));

    while (!frames_.empty()) {
      size_t top = frames_.size() - 1;
      Frame& f = frames_[top];
      if (f.next >= f.listing.size()) {
        closeFrame(f);
        frames_.pop_back();
        continue;
      }
      unsigned char type = static_cast<unsigned char>(f.listing[f.next]);
      const char* name = f.listing.data() + f.next + 1;
      size_t length = std::strlen(name);
      f.next += length + 2;
      std::uint32_t index = f.index++;
      tick();
      int dfd = fdOf(top);
      if (dfd < 0) {
        // The folder went away or was replaced while it was walked: what is left of its
        // listing cannot be reached any more.
        frames_[top].next = frames_[top].listing.size();
        continue;
      }
      visitEntry(top, dfd, type, std::string_view(name, length), index);
    }
  }

 private:
  void tick() {
    if (shared_.failed.load(std::memory_order_relaxed)) throw Abandoned{};
    if (counter_ % 1000 == 0 && shared_.stop.stop_requested()) throw Cancelled{};
    ++counter_;
    if (onBigTree && counter_ > shared_.options.secondThreadAfter) {
      auto join = std::move(onBigTree);
      onBigTree = nullptr;
      join();
    }
  }

  void closeFrame(Frame& f) {
    if (f.fd >= 0) {
      ::close(f.fd);
      f.fd = -1;
      --held_;
    }
  }

  // Opens a directory entry, making room when the process runs out of descriptors.
  int openDir(int dfd, const char* name, size_t keep) {
    while (true) {
      int fd = ::openat(dfd, name, kDirFlags);
      if (fd >= 0 || (errno != EMFILE && errno != ENFILE)) return fd;
      if (!releaseOne(keep)) return -1;
    }
  }

  // Closes the descriptor of the shallowest frame that can give one up (never the task's first
  // frame, never frame keep or any above it).
  bool releaseOne(size_t keep) {
    for (size_t i = 1; i < frames_.size() && i < keep; ++i) {
      if (frames_[i].fd >= 0) {
        closeFrame(frames_[i]);
        return true;
      }
    }
    return false;
  }

  // The descriptor of frame i, reopened name by name from the nearest held ancestor if it was
  // released; -1 when that folder is no longer the one that was listed.
  int fdOf(size_t i) {
    if (frames_[i].fd >= 0) return frames_[i].fd;
    size_t j = i;
    while (frames_[j].fd < 0)
      --j;
    int fd = frames_[j].fd;
    for (size_t k = j + 1; k <= i; ++k) {
      int next = openDir(fd, frames_[k].name.c_str(), j);
      if (fd != frames_[j].fd) ::close(fd);
      if (next < 0) return -1;
      struct stat s;
      if (::fstat(next, &s) != 0 || s.st_dev != frames_[k].dev || s.st_ino != frames_[k].ino) {
        ::close(next);
        return -1;
      }
      fd = next;
    }
    frames_[i].fd = fd;
    ++held_;
    if (held_ > shared_.options.heldDirectories) releaseOne(i);
    return fd;
  }

  static void keep(Frame& f, const char* name, unsigned char type) {
    if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0))) return;
    f.listing += static_cast<char>(type);
    f.listing.append(name);
    f.listing += '\0';
    ++f.entries;
  }

  void readListing(Frame& f) {
    reader_.read(f.fd, [&f](const char* name, unsigned char type) { keep(f, name, type); });
  }

  void visitEntry(size_t top, int dfd, unsigned char type, std::string_view name,
                  std::uint32_t index) {
    const int level = frames_[top].level + 1;
    const bool listable = level < shared_.options.listBelowLevel;
    struct stat s;
    int fd = -1;
    bool tried = false;
    // A folder is opened first and its stat read from the descriptor: one lookup of the name
    // instead of two.
    if (type == DT_DIR && listable) {
      tried = true;
      fd = openDir(dfd, name.data(), top);
      if (fd >= 0 && ::fstat(fd, &s) != 0) {
        ::close(fd);
        fd = -1;
      }
      if (fd < 0 && errno == ENOENT) return;  // gone since it was listed
    }
    if (fd < 0 && ::fstatat(dfd, name.data(), &s, AT_SYMLINK_NOFOLLOW) != 0) return;

    Item item{name, &s, kindOf(s.st_mode), level, index, frames_[top].tag, false, this};
    if (item.kind != Kind::directory) {
      if (fd >= 0) ::close(fd);
      visitor_.entry(item);
      return;
    }
    item.otherVolume = s.st_dev != shared_.rootDevice;
    if (fd < 0 && !tried && listable && !item.otherVolume) {
      fd = openDir(dfd, name.data(), top);
      struct stat opened;
      if (fd >= 0 &&
          (::fstat(fd, &opened) != 0 || opened.st_ino != s.st_ino || opened.st_dev != s.st_dev)) {
        ::close(fd);
        fd = -1;
      }
    }
    std::uint64_t tag = 0;
    bool list = visitor_.directory(item, tag);
    if (!list || fd < 0 || item.otherVolume || !listable) {
      if (fd >= 0) ::close(fd);
      return;
    }
    Frame child;
    child.fd = fd;
    child.name = std::string(name);
    child.dev = s.st_dev;
    child.ino = s.st_ino;
    child.level = level;
    child.tag = tag;
    readListing(child);
    // A waiting thread gets folders with enough in them to be worth the hand-over.
    if (child.entries >= kWorthHandingOver && shared_.hungry()) {
      shared_.give(
          Task{fd, pathOf(item), level, tag, s.st_dev, s.st_ino, std::move(child.listing), true});
      return;
    }
    ++held_;
    frames_.push_back(std::move(child));
    if (held_ > shared_.options.heldDirectories) releaseOne(frames_.size() - 1);
  }

  Shared& shared_;
  Visitor& visitor_;
  std::vector<Frame> frames_;
  unsigned held_ = 0;
  std::uint64_t counter_ = 1;
  platform::FolderReader reader_;

 public:
  std::function<void()> onBigTree;
};

}  // namespace

bool walk(const std::string& root, const std::vector<Visitor*>& visitors, const Options& options,
          std::stop_token stop) {
  struct stat s;
  int fd = ::open(root.c_str(), kDirFlags);
  if (fd >= 0 && ::fstat(fd, &s) != 0) {
    ::close(fd);
    fd = -1;
  }
  if (fd < 0 && ::lstat(root.c_str(), &s) != 0) return false;

  Shared shared(options, stop, s.st_dev);
  Worker first(shared, *visitors.at(0));
  first.countRoot();
  Item item{root, &s, kindOf(s.st_mode), 0, 0, 0, false, &first};
  if (item.kind != Kind::directory) {
    if (fd >= 0) ::close(fd);
    visitors[0]->entry(item);
    return true;
  }
  std::uint64_t tag = 0;
  if (!visitors[0]->directory(item, tag) || fd < 0 || options.listBelowLevel <= 0) {
    if (fd >= 0) ::close(fd);
    return true;
  }

  // Threads beyond the first join once the walk proves big; each takes directories that the
  // others hand over while it waits.
  std::vector<std::jthread> helpers;
  unsigned wanted = std::min<unsigned>(options.threads, static_cast<unsigned>(visitors.size()));
  auto helperLoop = [&shared](Visitor* visitor) {
    try {
      Worker worker(shared, *visitor);
      Task task;
      while (shared.take(task))
        worker.run(std::move(task));
    } catch (const Abandoned&) {
      // The thread that failed has said why.
    } catch (...) {
      shared.fail(std::current_exception());
    }
  };
  first.onBigTree = [&] {
    for (unsigned i = 1; i < wanted; ++i) {
      shared.joining();
      helpers.emplace_back(helperLoop, visitors[i]);
    }
  };

  try {
    first.run(Task{fd, root, 0, tag, s.st_dev, s.st_ino});
    Task task;
    while (shared.take(task))
      first.run(std::move(task));
  } catch (const Abandoned&) {
  } catch (...) {
    shared.fail(std::current_exception());
  }
  helpers.clear();  // joins
  if (auto failure = shared.failure()) std::rethrow_exception(failure);
  return true;
}

}  // namespace dw::TreeWalker
