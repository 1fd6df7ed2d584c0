// The volume holding a path, as the system describes it: its capacities, with the capacity
// available for important usage (free space plus what the system can purge by itself), and its
// name.

#import <Foundation/Foundation.h>

#include "platform/macos/cocoa_text.h"
#include "platform/volume.h"

namespace dw::platform {

namespace {

std::optional<std::int64_t> bytesOf(id value) {
  if (![value isKindOfClass:[NSNumber class]]) return std::nullopt;
  NSNumber* number = value;
  return static_cast<std::int64_t>(number.longLongValue);
}

}  // namespace

VolumeCapacities volumeCapacities(const std::string& path) {
  @autoreleasepool {
    NSURL* url = cocoa::fileURL(path);
    if (!url) return {};
    // One request for the three values; a value the system does not give stays absent.
    NSDictionary<NSURLResourceKey, id>* values = [url resourceValuesForKeys:@[
      NSURLVolumeTotalCapacityKey, NSURLVolumeAvailableCapacityKey,
      NSURLVolumeAvailableCapacityForImportantUsageKey
    ]
                                                                      error:nil];
    if (!values) return {};
    VolumeCapacities c;
    c.total = bytesOf(values[NSURLVolumeTotalCapacityKey]);
    c.available = bytesOf(values[NSURLVolumeAvailableCapacityKey]);
    c.important = bytesOf(values[NSURLVolumeAvailableCapacityForImportantUsageKey]);
    return c;
  }
}

std::optional<std::int64_t> fileSystemFreeSize(const std::string& path) {
  @autoreleasepool {
    NSString* text = cocoa::pathText(path);
    if (!text) return std::nullopt;
    NSDictionary<NSFileAttributeKey, id>* attributes =
        [[NSFileManager defaultManager] attributesOfFileSystemForPath:text error:nil];
    return bytesOf(attributes[NSFileSystemFreeSize]);
  }
}

std::optional<std::string> volumeName(const std::string& path) {
  @autoreleasepool {
    id name = nil;
    if (![cocoa::fileURL(path) getResourceValue:&name forKey:NSURLVolumeNameKey error:nil])
      return std::nullopt;
    return cocoa::textOf(name);
  }
}

}  // namespace dw::platform
