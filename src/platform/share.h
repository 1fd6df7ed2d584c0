#pragma once
// Sharing the blocks of identical files: the seam to the file system's own sharing of data
// between files. Linux asks the kernel's verified dedupe request (FIDEDUPERANGE: the kernel
// compares the two ranges under its own lock and shares only what is identical), on Btrfs, XFS
// with reflink and any other file system that answers it. A Mac makes the copy a clone of the
// kept file (APFS) and exchanges the two names, so the replaced file can go to the Trash.
//
// Nothing here changes a file's bytes, and on Linux nothing is renamed, moved, truncated or
// rewritten: a file keeps its inode, its times and its permissions.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace dw::platform::share {

// A Mac shares by cloning: the file a clone replaces goes to the Trash, and its space comes back
// when the Trash is emptied. Elsewhere the space comes back at once.
#ifdef __APPLE__
inline constexpr bool kSharesByCloning = true;
#else
inline constexpr bool kSharesByCloning = false;
#endif

// One run of a file's bytes on disk (an extent): where it starts in the file and on the device,
// how long it is, and whether another file (or another place of this one) refers to it too.
struct Extent {
  std::uint64_t logical = 0;
  std::uint64_t physical = 0;
  std::uint64_t length = 0;
  bool shared = false;
  bool placed = true;  // false for bytes not yet written out: they have no place on disk yet
  bool operator==(const Extent&) const = default;
};

// A regular file as sharing sees it.
struct FileFacts {
  // Equal for two files of one file system (on Btrfs, subvolumes included): only those can share.
  std::string fileSystem;
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  // Bytes of its blocks that nothing else refers to: what sharing them can give back. Where the
  // file system tells no extents (a Mac), its allocated size.
  std::int64_t unshared = 0;
  std::vector<Extent> extents;  // in file order; empty where the file system tells none
  bool operator==(const FileFacts&) const = default;
};

// The facts of a regular file, never through a symbolic link at the last component. nullopt
// (and the system's text in *error) when it cannot be read or is not a regular file.
std::optional<FileFacts> inspect(const std::string& path, std::string* error = nullptr);

// Whether the file system holding this file shares blocks between files. It is asked for real
// with a request that changes nothing (two different blocks of the file, which it compares and
// refuses to share). unknown: this file could not tell (not ours to change, or every block
// alike); another file of the same file system may.
enum class Probe { yes, no, unknown };
Probe probe(const std::string& path);

// The free bytes of the file system holding path, once the frees it has pending are committed
// (Btrfs returns shared blocks to the free space at its next commit).
std::optional<std::int64_t> freeSpace(const std::string& path);

// Makes the copy share the kept file's blocks. kept and copy are the facts inspect gave just
// before: a path that names another file now, or a file of another size, counts as changed.
struct Result {
  enum class Status { shared, changed, failed };
  Status status = Status::failed;
  int error = 0;                    // errno, when failed
  std::string errorText;            // the system's text, when failed
  std::string replacedPath;         // a Mac: where the replaced file now is, beside the copy
  static Result failed(int error);  // with the system's text for it
  static Result changed();
};
// Whether an opened file (its device, inode and size) is still the one these facts describe.
bool isFile(const FileFacts& facts, std::uint64_t device, std::uint64_t inode, std::int64_t size);

Result shareBlocks(const std::string& keptPath, const FileFacts& kept, const std::string& copyPath,
                   const FileFacts& copy);

// Whether the copy already uses exactly the kept file's blocks for every byte (extent maps).
bool sameBlocks(const FileFacts& kept, const FileFacts& copy);

}  // namespace dw::platform::share
