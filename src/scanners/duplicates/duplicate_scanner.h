#pragma once
// Byte-identical files of 1 MiB or more in the four media folders of a home. Stateless and
// read-only: it returns groups of identical files, the group that wastes most first and the
// newest copy first in each, beside the folders it was refused.

#include <array>
#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/core.h"
#include "measure/protected_libraries.h"
#include "platform/locations.h"
#include "platform/own_ground.h"
#include "scanners/duplicates/duplicate_types.h"

namespace dw::DuplicateScanner {

inline constexpr std::int64_t kMinimumBytes = 1'048'576;
inline constexpr std::int64_t kSampleBytes = 65'536;
inline constexpr std::int64_t kChunkBytes = 1'048'576;

// The stage texts, in the order a search reports them.
inline constexpr std::string_view kListingFiles = "Listing files";
inline constexpr std::string_view kListingPrefix = "Listing ";
inline constexpr std::string_view kSamplingFiles = "Sampling files";
inline constexpr std::string_view kHashingDuplicates = "Hashing duplicates";
inline constexpr std::string_view kDone = "Done";

struct Candidates {
  std::vector<FileRef> files;  // in listing order
  std::vector<std::string> skipped;
};

using Digest = std::array<unsigned char, 32>;
using ProgressFn = std::function<void(const std::string&)>;

// The whole search. Throws Cancelled and nothing else; a cancelled search returns no groups.
// Every file is a candidate once, by its identity: reached twice (a hard link, overlapping
// folders) it is listed where it was first seen, so it is never a copy of itself.
// The result is exactly that of hashing every candidate of a shared sample in full, one after
// another: groups come by size (smallest first) and then by their first copy in listing order
// before the two stable sorts. progress is called on the calling thread.
Result scan(const Locations& places, Scope scope, std::stop_token stop = {},
            const ProgressFn& progress = {});

// The places' downloads, movies, music and pictures folders (on Linux the XDG user folders) for
// the members of scope, in that order, keeping only those that are folders (links to folders
// count) and places the user may search (Ownership::isUsablePlace), each folder once by its
// identity (a link to another of them, a bind mount of one, one named twice).
std::vector<std::string> searchRoots(const Locations& places, Scope scope);

// The files of one root that may be duplicates: the user's own, regular, at least 1 MiB, not
// hidden, not behind a link, not in a package, a protected library, a project folder or the
// program's own ground. A folder whose identity is among otherRoots (another searched folder
// inside this one) is not entered: it is searched as itself. Folders the system refuses to list
// come back as skipped. Throws Cancelled (checked every 500 entries).
Candidates collectCandidates(const std::string& root, const Locations& places,
                             std::stop_token stop = {},
                             const std::vector<FileIdentity>& otherRoots = {});

// SHA-256 of the first and last 64 KiB and the size as 8 big-endian bytes. Throws
// std::system_error when the file cannot be opened, measured or read.
Digest partialDigest(const std::string& path);

// SHA-256 of the whole content in lower-case hex, read in 1 MiB chunks. Throws
// std::system_error when the file cannot be read, and Cancelled.
std::string fullDigest(const std::string& path, std::stop_token stop = {});
// The same of a file already open (read from its start, whatever its position): the content of
// the very file a check holds.
std::string fullDigest(int fd, std::stop_token stop = {});

// The two stable sorts: each group's files newest first (undated last), then the groups by
// waste, bytes × (copies − 1), largest first. An overflowing waste ends the program.
void orderGroups(std::vector<Group>& groups);
std::int64_t wastedBytes(const Group& group);

// The re-check before a copy moves: still the user's own regular file (not a link) of the group's
// size, inside one of the scope's folders, and one the search would list (not hidden, not in a
// package, a protected library, a project folder or the program's own ground).
bool isListableCopy(const std::string& path, std::int64_t bytes, const Locations& places,
                    Scope scope);

// The same re-check for the many copies of one clear or share: the scope's folders, the
// protected libraries and our own ground are resolved once, and a folder's answer is kept for as
// long as its path still leads to the same folder (device and inode), so a folder swapped for a
// link during the batch is judged again. Each file itself is looked at every time. Lives for one
// batch, on one thread.
class CopyCheck {
 public:
  CopyCheck(const Locations& places, Scope scope);
  bool listable(const std::string& path, std::int64_t bytes);

 private:
  struct Root {
    std::string written;   // standardised
    std::string resolved;  // its links resolved
  };
  struct Folder {
    FileIdentity identity;  // the folder the path led to when judged
    bool allowed = false;
    std::string resolved;  // the folder's path with its links resolved
  };
  // Judges a folder the file lies in, from scratch.
  Folder judge(const std::string& folder) const;

  std::vector<Root> roots_;
  ProtectedLibraries libraries_;
  OwnGround::Ground ground_;
  std::unordered_map<std::string, Folder> folders_;
};

}  // namespace dw::DuplicateScanner
