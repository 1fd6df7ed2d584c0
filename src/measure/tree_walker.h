#pragma once
// The one physical walk of a folder tree that every measurement shares. It asks the kernel
// relative to open directories (openat, fstatat, getdents64) instead of handing it full paths,
// stays on the starting volume, visits each directory before its entries, and can share one tree
// between two threads through a small queue of directories. What is counted is up to the
// visitor; each thread has a visitor of its own, and the caller merges them at the end.

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace dw::TreeWalker {

enum class Kind { directory, symlink, file, other };

inline Kind kindOf(mode_t mode) {
  if (S_ISDIR(mode)) return Kind::directory;
  if (S_ISLNK(mode)) return Kind::symlink;
  if (S_ISREG(mode)) return Kind::file;
  return Kind::other;  // devices, sockets, pipes
}

inline std::int64_t allocated(const struct stat& s) {
  return static_cast<std::int64_t>(s.st_blocks) * 512;
}

class Walk;

// One entry the walk reached, with its stat. Valid only during the call it is passed to.
struct Item {
  std::string_view name;    // the root's is its path as given
  const struct stat* stat;  // lstat of the entry (never followed)
  Kind kind;
  int level;                 // 0 for the root
  std::uint32_t index;       // position in the parent's listing, in reading order
  std::uint64_t parentTag;   // what the visitor said about the parent folder
  bool otherVolume = false;  // a directory where another volume is mounted: never listed
  const Walk* walk = nullptr;
  // The entry's full path (the root's path + "/" + the names down to it). Costs a string.
  std::string path() const;
};

class Visitor {
 public:
  virtual ~Visitor() = default;
  // A directory, before anything inside it. Returns whether to list it; tag is handed to its
  // entries as their parentTag. A directory on another volume, or one that cannot be listed,
  // is reported all the same (and then not listed, whatever the answer).
  virtual bool directory(const Item& item, std::uint64_t& tag) = 0;
  // Anything else: symbolic links (dangling ones too), regular files, devices, sockets, pipes.
  virtual void entry(const Item& item) = 0;
};

// Identities of files with two or more links, shared by the threads of one walk, so that each
// such file counts once however many of its names the walk meets.
class LinkSet {
 public:
  // True the first time this (device, inode) is offered.
  bool first(dev_t dev, ino_t ino);

 private:
  struct KeyHash {
    size_t operator()(const std::pair<dev_t, ino_t>& k) const noexcept {
      return std::hash<std::uint64_t>{}(static_cast<std::uint64_t>(k.second) *
                                            0x9e3779b97f4a7c15ULL ^
                                        static_cast<std::uint64_t>(k.first));
    }
  };
  std::mutex mutex_;
  std::unordered_set<std::pair<dev_t, ino_t>, KeyHash> seen_;
};

struct Options {
  // At most this many threads walk the tree; a second one starts only once the walk has shown
  // itself big enough to gain from it.
  unsigned threads = 2;
  // Directories at this level or deeper are reported but never listed (nothing below them is
  // looked at); the root is level 0.
  int listBelowLevel = 1 << 30;
  // Open directories each thread may hold; deeper trees release and later reopen the shallower
  // ones.
  unsigned heldDirectories = 64;
  // Entries walked before a second thread joins.
  std::uint64_t secondThreadAfter = 4000;
};

// Walks the tree at root. visitors[i] serves thread i; there must be at least one, and no more
// threads than visitors are used. Checks stop every 1000 entries of each thread and throws
// Cancelled. Returns false, having visited nothing, when the root cannot be reached at all.
bool walk(const std::string& root, const std::vector<Visitor*>& visitors, const Options& options,
          std::stop_token stop = {});

// Internal, exposed for Item::path.
class Walk {
 public:
  virtual ~Walk() = default;
  virtual std::string pathOf(const Item& item) const = 0;
};

}  // namespace dw::TreeWalker
