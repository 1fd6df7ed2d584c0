#include "platform/desktop.h"

namespace dw::platform {

void openFullDiskAccessSettings(const std::function<bool(const std::string&)>& open) {
  for (size_t i = 0; i < 2; ++i) {
    if (open(std::string(kFullDiskAccessUrls[i]))) return;
  }
  open(std::string(kFullDiskAccessUrls[2]));
}

}  // namespace dw::platform
