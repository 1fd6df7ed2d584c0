// A Linux build has no bundle: it carries its identifier and the project's version, and no
// build number or update feed.

#include "platform/bundle_info.h"
#include "platform/locations.h"

namespace dw::platform {

BundleInfo mainBundleInfo() {
  return BundleInfo{.identifier = std::string(kBundleID), .shortVersion = DUSTWHALE_VERSION};
}

}  // namespace dw::platform
