#include <sys/stat.h>
#include <sys/statvfs.h>

#include <fstream>

#include "platform/volume.h"

namespace dw::platform {

VolumeCapacities volumeCapacities(const std::string& path) {
  struct statvfs s {};
  if (::statvfs(path.c_str(), &s) != 0) return {};
  VolumeCapacities c;
  auto unit = static_cast<std::int64_t>(s.f_frsize ? s.f_frsize : s.f_bsize);
  c.total = static_cast<std::int64_t>(s.f_blocks) * unit;
  c.available = static_cast<std::int64_t>(s.f_bavail) * unit;
  // Linux has no purgeable space the system frees by itself: important is left out and the
  // reader takes it equal to available.
  return c;
}

std::optional<std::int64_t> fileSystemFreeSize(const std::string& path) {
  struct statvfs s {};
  if (::statvfs(path.c_str(), &s) != 0) return std::nullopt;
  auto unit = static_cast<std::int64_t>(s.f_frsize ? s.f_frsize : s.f_bsize);
  return static_cast<std::int64_t>(s.f_bavail) * unit;
}

std::optional<std::string> volumeName(const std::string& path) {
  // The mount point's last component names the volume ("/" has none).
  struct stat target {};
  if (::stat(path.c_str(), &target) != 0) return std::nullopt;
  std::ifstream mounts("/proc/self/mounts");
  std::string device, mountPoint, rest;
  std::string best;
  while (mounts >> device >> mountPoint && std::getline(mounts, rest)) {
    struct stat s {};
    if (::stat(mountPoint.c_str(), &s) == 0 && s.st_dev == target.st_dev &&
        mountPoint.size() > best.size()) {
      best = mountPoint;
    }
  }
  if (best.empty() || best == "/") return std::nullopt;
  auto slash = best.rfind('/');
  return best.substr(slash + 1);
}

}  // namespace dw::platform
