#pragma once

#include <cstdint>
#include <string>

namespace dw {

// The one reading of the disk that holds the home folder.
struct VolumePicture {
  std::int64_t total = 0;
  std::int64_t available = 0;
  std::int64_t important = 0;  // available plus what the system can purge by itself
  // The system reports such purgeable space at all (macOS); where it does not (Linux),
  // important is only available again, and nothing is "held".
  bool heldReported = false;

  // Never fails: a value the system does not give becomes 0 or falls back.
  static VolumePicture read(const std::string& home);

  bool operator==(const VolumePicture&) const = default;
};

}  // namespace dw
