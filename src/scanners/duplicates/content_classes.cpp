#include "scanners/duplicates/content_classes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <unordered_map>
#include <utility>

#include "base/core.h"
#include "base/fd.h"
#include "base/sha256.h"
#include "scanners/duplicates/duplicate_scanner.h"

namespace dw::DuplicateScanner::detail {

namespace {

// One open file of a class; closed when it drops out.
class OpenFile {
 public:
  OpenFile(size_t member, int fd) : member_(member), fd_(fd) {}
  size_t member() const { return member_; }
  int fd() const { return fd_.get(); }

 private:
  size_t member_;
  UniqueFd fd_;
};

int openForReading(const std::string& path) {
  // Never through a link: a copy replaced by a link since the listing is not read.
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (fd >= 0) ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
  return fd;
}

// Files that agree on everything read so far; hash covers that shared prefix.
struct Class {
  std::vector<OpenFile> files;
  Sha256 hash;
};

constexpr std::int64_t kChunk = kCompareChunkBytes;

// The rest of one file hashed from offset on, continuing the hash of what came before;
// nullopt when it cannot be read.
std::optional<std::string> hashRest(int fd, Sha256 hash, std::int64_t offset, unsigned char* buffer,
                                    std::stop_token stop) {
  for (std::int64_t at = offset;; at += kChunk) {
    throwIfCancelled(stop);
    std::int64_t n = readAt(fd, buffer, kChunk, at);
    if (n < 0) return std::nullopt;
    hash.update(buffer, static_cast<size_t>(n));
    if (n < kChunk) return Sha256::hex(hash.finish());
  }
}

// (digest, member) pairs in member order grouped by digest; the first member of each digest
// decides the group's place, and groups of one are dropped.
void groupByDigest(std::vector<std::pair<std::string, size_t>>& digests,
                   std::vector<Identical>& out) {
  std::vector<Identical> groups;
  std::unordered_map<std::string, size_t> groupOf;
  for (auto& [hex, member] : digests) {
    auto [it, fresh] = groupOf.try_emplace(hex, groups.size());
    if (fresh) groups.push_back({std::move(hex), {}});
    groups[it->second].members.push_back(member);
  }
  for (Identical& group : groups) {
    if (group.members.size() >= 2) out.push_back(std::move(group));
  }
}

// Each file hashed on its own from offset on, starting from the hash of the prefix they share.
// Used when contents diverge too many ways to compare them side by side.
void hashEach(std::vector<OpenFile>& files, const Sha256& prefix, std::int64_t offset,
              unsigned char* buffer, std::stop_token stop, std::vector<Identical>& out) {
  std::vector<std::pair<std::string, size_t>> digests;
  for (OpenFile& file : files) {
    if (auto hex = hashRest(file.fd(), prefix, offset, buffer, stop))
      digests.emplace_back(std::move(*hex), file.member());
  }
  files.clear();
  groupByDigest(digests, out);
}

struct Variant {
  size_t buffer;
  std::int64_t length;
  std::vector<OpenFile> files;
};

// Reads one chunk of every file of the class and splits it by what was read. Classes that go
// on land in next; finished ones in out.
void step(Class& c, std::int64_t offset, Buffers& buffers, std::stop_token stop,
          std::vector<Class>& next, std::vector<Identical>& out) {
  std::vector<Variant> variants;
  size_t freeBuffer = 0;  // buffers 0..kMaxVariants-1 hold variants, kMaxVariants is scratch
  for (size_t i = 0; i < c.files.size(); ++i) {
    OpenFile& file = c.files[i];
    unsigned char* into = buffers.get(freeBuffer);
    std::int64_t n = readAt(file.fd(), into, kChunk, offset);
    if (n < 0) continue;  // dropped: it cannot be read
    bool placed = false;
    for (Variant& v : variants) {
      if (v.length == n && std::memcmp(buffers.get(v.buffer), into, static_cast<size_t>(n)) == 0) {
        v.files.push_back(std::move(file));
        placed = true;
        break;
      }
    }
    if (placed) continue;
    if (variants.size() == kMaxVariants) {
      // Too many different contents at once: comparing would grow with their number.
      std::vector<OpenFile> all;
      for (Variant& v : variants)
        for (OpenFile& f : v.files)
          all.push_back(std::move(f));
      for (size_t j = i; j < c.files.size(); ++j)
        all.push_back(std::move(c.files[j]));
      std::sort(all.begin(), all.end(),
                [](const OpenFile& a, const OpenFile& b) { return a.member() < b.member(); });
      hashEach(all, c.hash, offset, buffers.get(kMaxVariants), stop, out);
      return;
    }
    variants.push_back({freeBuffer, n, {}});
    variants.back().files.push_back(std::move(file));
    freeBuffer = variants.size();
  }
  for (size_t k = 0; k < variants.size(); ++k) {
    Variant& v = variants[k];
    if (v.files.size() < 2) continue;  // a content of its own: no duplicate, read no further
    // The last surviving variant may take the prefix hash itself; the others copy it.
    bool last = true;
    for (size_t later = k + 1; later < variants.size(); ++later)
      last = last && variants[later].files.size() < 2;
    Sha256 hash = last ? std::move(c.hash) : c.hash;
    hash.update(buffers.get(v.buffer), static_cast<size_t>(v.length));
    if (v.length < kChunk) {
      Identical group{Sha256::hex(hash.finish()), {}};
      for (const OpenFile& f : v.files)
        group.members.push_back(f.member());
      out.push_back(std::move(group));
      continue;
    }
    next.push_back(Class{std::move(v.files), std::move(hash)});
  }
}

constexpr std::uint64_t kPrime1 = 0x9E3779B185EBCA87ULL;
constexpr std::uint64_t kPrime2 = 0xC2B2AE3D27D4EB4FULL;

std::uint64_t rotl(std::uint64_t x, int r) {
  return (x << r) | (x >> (64 - r));
}

// Four independent multiply-rotate lanes over 8-byte words, mixed at the end.
std::uint64_t foldBytes(const unsigned char* data, size_t size, std::uint64_t seed) {
  std::uint64_t lane[4] = {seed + kPrime1, seed ^ kPrime2, seed - kPrime1, ~seed};
  size_t i = 0;
  for (; i + 32 <= size; i += 32) {
    for (int k = 0; k < 4; ++k) {
      std::uint64_t word;
      std::memcpy(&word, data + i + 8 * k, 8);
      lane[k] = rotl(lane[k] + word * kPrime2, 31) * kPrime1;
    }
  }
  std::uint64_t h = rotl(lane[0], 1) + rotl(lane[1], 7) + rotl(lane[2], 12) + rotl(lane[3], 18);
  for (; i < size; ++i)
    h = rotl(h ^ (data[i] * kPrime1), 11) * kPrime2;
  h ^= size;
  h ^= h >> 33;
  h *= kPrime2;
  h ^= h >> 29;
  return h;
}

}  // namespace

std::optional<std::uint64_t> sampleKey(const std::string& path, unsigned char* buffer) {
  int fd = openForReading(path);
  if (fd < 0) return std::nullopt;
  OpenFile file(0, fd);
  struct stat s {};
  if (::fstat(fd, &s) != 0) return std::nullopt;
  std::int64_t size = s.st_size;
  std::int64_t head = readAt(fd, buffer, kSampleBytes, 0);
  if (head < 0) return std::nullopt;
  std::uint64_t key =
      foldBytes(buffer, static_cast<size_t>(head), static_cast<std::uint64_t>(size));
  if (size > kSampleBytes) {
    std::int64_t tail = readAt(fd, buffer, kSampleBytes, size - kSampleBytes);
    if (tail < 0) return std::nullopt;
    key = foldBytes(buffer, static_cast<size_t>(tail), key);
  }
  return key;
}

unsigned char* Buffers::get(size_t index) {
  while (chunks_.size() <= index)
    chunks_.push_back(std::make_unique_for_overwrite<unsigned char[]>(static_cast<size_t>(kChunk)));
  return chunks_[index].get();
}

std::int64_t readAt(int fd, unsigned char* buffer, std::int64_t size, std::int64_t offset) {
  std::int64_t done = 0;
  while (done < size) {
    ssize_t n = ::pread(fd, buffer + done, static_cast<size_t>(size - done), offset + done);
    if (n < 0) {
      if (errno == EINTR) continue;
      return -1;
    }
    if (n == 0) break;
    done += n;
  }
  return done;
}

std::vector<Identical> identicalClasses(const std::vector<std::string>& paths, Buffers& buffers,
                                        std::stop_token stop) {
  std::vector<Identical> out;
  Class first;
  if (paths.size() > kMaxSideBySide) {
    // Too many to hold open together: each is hashed on its own, one after another.
    std::vector<std::pair<std::string, size_t>> digests;
    for (size_t i = 0; i < paths.size(); ++i) {
      int fd = openForReading(paths[i]);
      if (fd < 0) continue;
      OpenFile file(i, fd);
      if (auto hex = hashRest(fd, Sha256(), 0, buffers.get(0), stop))
        digests.emplace_back(std::move(*hex), i);
    }
    groupByDigest(digests, out);
    return out;
  }
  for (size_t i = 0; i < paths.size(); ++i) {
    int fd = openForReading(paths[i]);
    if (fd >= 0) first.files.emplace_back(i, fd);
  }
  if (first.files.size() < 2) return out;
  std::vector<Class> active;
  active.push_back(std::move(first));
  for (std::int64_t offset = 0; !active.empty(); offset += kChunk) {
    throwIfCancelled(stop);
    std::vector<Class> next;
    for (Class& c : active)
      step(c, offset, buffers, stop, next, out);
    active = std::move(next);
  }
  return out;
}

}  // namespace dw::DuplicateScanner::detail
