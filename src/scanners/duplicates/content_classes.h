#pragma once
// Splitting files of one size into classes of identical content by reading them side by side,
// chunk by chunk, and hashing only one file of each class. Internal to the duplicate scanner.

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace dw::DuplicateScanner::detail {

struct Identical {
  std::string hashHex;          // SHA-256 of the whole content every member has
  std::vector<size_t> members;  // indexes into the paths given, ascending; two or more
};

// The scratch chunks of one worker, allocated when first needed and reused.
class Buffers {
 public:
  unsigned char* get(size_t index);

 private:
  std::vector<std::unique_ptr<unsigned char[]>> chunks_;
};

// Files are compared in chunks this big: small enough that two of them stay in the core's
// cache while one is compared with the other and hashed.
inline constexpr std::int64_t kCompareChunkBytes = 262'144;

// The sample of a file (its first and last 64 KiB) and its size folded into 64 bits, for
// splitting a size bucket before any file is read in full. Unlike the sample's SHA-256 it is not
// collision-free, and need not be: files that share a key are compared byte for byte. nullopt
// when the file cannot be opened or read.
std::optional<std::uint64_t> sampleKey(const std::string& path, unsigned char* buffer);

// How many ways one class may split in one chunk before it is hashed file by file instead, and
// how many files are read side by side at most (each holds a descriptor).
inline constexpr size_t kMaxVariants = 4;
inline constexpr size_t kMaxSideBySide = 64;

// The classes of two or more files whose contents are equal, each with the SHA-256 of that
// content: exactly what hashing each file in full and grouping by digest gives. Files that
// cannot be opened or read drop out silently. Throws Cancelled (checked between chunks).
std::vector<Identical> identicalClasses(const std::vector<std::string>& paths, Buffers& buffers,
                                        std::stop_token stop);

// Reads up to size bytes at offset, retrying short reads; fewer only at the end of the file.
// -1 on an error.
std::int64_t readAt(int fd, unsigned char* buffer, std::int64_t size, std::int64_t offset);

}  // namespace dw::DuplicateScanner::detail
