// When an application was last opened: the Spotlight metadata attribute the system keeps for
// it (kMDItemLastUsedDate).

#include <CoreServices/CoreServices.h>

#include <chrono>
#include <cmath>

#include "platform/workspace.h"

namespace dw::platform {

std::optional<TimePoint> appLastUsed(const std::string& bundlePath) {
  CFURLRef url = ::CFURLCreateFromFileSystemRepresentation(
      kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bundlePath.data()),
      static_cast<CFIndex>(bundlePath.size()), true);
  if (!url) return std::nullopt;
  MDItemRef item = ::MDItemCreateWithURL(kCFAllocatorDefault, url);
  ::CFRelease(url);
  if (!item) return std::nullopt;  // not indexed, or no such item
  CFTypeRef value = ::MDItemCopyAttribute(item, kMDItemLastUsedDate);
  ::CFRelease(item);
  std::optional<TimePoint> used;
  if (value && ::CFGetTypeID(value) == ::CFDateGetTypeID()) {
    double seconds =
        ::CFDateGetAbsoluteTime(static_cast<CFDateRef>(value)) + kCFAbsoluteTimeIntervalSince1970;
    if (std::isfinite(seconds)) {
      used = TimePoint(
          std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds)));
    }
  }
  if (value) ::CFRelease(value);
  return used;
}

}  // namespace dw::platform
