#include "measure/volume_picture.h"

#include "platform/volume.h"

namespace dw {

VolumePicture VolumePicture::read(const std::string& home) {
  platform::VolumeCapacities c = platform::volumeCapacities(home);
  VolumePicture picture;
  picture.total = c.total.value_or(0);
  picture.available = c.available ? *c.available : platform::fileSystemFreeSize(home).value_or(0);
  picture.important = c.important.value_or(picture.available);
  picture.heldReported = c.important.has_value();
  return picture;
}

}  // namespace dw
