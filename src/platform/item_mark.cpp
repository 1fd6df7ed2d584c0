#include "platform/item_mark.h"

#include <fcntl.h>
#include <sys/stat.h>
#ifdef __linux__
#include <sys/sysmacros.h>
#endif

namespace dw::platform {

std::optional<ItemMark> itemMark(const std::string& path) {
#ifdef STATX_BTIME
  struct statx x {};
  if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_INO | STATX_BTIME, &x) != 0)
    return std::nullopt;
  ItemMark mark{{makedev(x.stx_dev_major, x.stx_dev_minor), x.stx_ino}, std::nullopt};
  if (x.stx_mask & STATX_BTIME)
    mark.bornNs =
        static_cast<std::int64_t>(x.stx_btime.tv_sec) * 1'000'000'000 + x.stx_btime.tv_nsec;
  return mark;
#else
  struct stat s {};
  if (::lstat(path.c_str(), &s) != 0) return std::nullopt;
  ItemMark mark{identityOf(s), std::nullopt};
#ifdef __APPLE__
  mark.bornNs = static_cast<std::int64_t>(s.st_birthtimespec.tv_sec) * 1'000'000'000 +
                s.st_birthtimespec.tv_nsec;
#endif
  return mark;
#endif
}

bool isSameItem(const std::string& path, const ItemMark& recorded) {
  if (!recorded.identity.known()) return false;
  std::optional<ItemMark> now = itemMark(path);
  if (!now || now->identity != recorded.identity) return false;
  return !recorded.bornNs || !now->bornNs || *recorded.bornNs == *now->bornNs;
}

}  // namespace dw::platform
