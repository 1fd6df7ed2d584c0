#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace dw::platform {

// What the system tells of the volume holding a path; a value the system does not give is
// absent. important is present only where the system has purgeable space to add.
struct VolumeCapacities {
  std::optional<std::int64_t> total;
  std::optional<std::int64_t> available;
  std::optional<std::int64_t> important;
};

VolumeCapacities volumeCapacities(const std::string& path);

// The file system's free size, the fallback when the capacities could not be read.
std::optional<std::int64_t> fileSystemFreeSize(const std::string& path);

// The name of the volume holding the path, when the system names it.
std::optional<std::string> volumeName(const std::string& path);

}  // namespace dw::platform
