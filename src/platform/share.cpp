#include "platform/share.h"

#include <algorithm>
#include <cstring>

namespace dw::platform::share {

Result Result::failed(int error) {
  Result r;
  r.status = Status::failed;
  r.error = error;
  r.errorText = std::strerror(error);
  return r;
}

Result Result::changed() {
  Result r;
  r.status = Status::changed;
  return r;
}

bool isFile(const FileFacts& facts, std::uint64_t device, std::uint64_t inode, std::int64_t size) {
  return device == facts.device && inode == facts.inode && size == facts.size;
}

bool sameBlocks(const FileFacts& kept, const FileFacts& copy) {
  if (kept.fileSystem != copy.fileSystem || copy.extents.empty()) return false;
  // Every byte of the copy's map must lie where the same byte of the kept file's map lies.
  std::uint64_t covered = 0;
  size_t k = 0;
  for (const Extent& c : copy.extents) {
    if (!c.placed || c.logical != covered) return false;
    std::uint64_t at = c.logical;
    const std::uint64_t end = c.logical + c.length;
    while (at < end) {
      while (k < kept.extents.size() && kept.extents[k].logical + kept.extents[k].length <= at)
        ++k;
      if (k == kept.extents.size()) return false;
      const Extent& x = kept.extents[k];
      if (!x.placed || x.logical > at) return false;
      if (x.physical + (at - x.logical) != c.physical + (at - c.logical)) return false;
      at = std::min(end, x.logical + x.length);
    }
    covered = end;
  }
  return covered > 0 && static_cast<std::int64_t>(covered) >= copy.size;
}

}  // namespace dw::platform::share
