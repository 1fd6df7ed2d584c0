#include "platform/bundle_info.h"

#include <string_view>

namespace dw::platform {

namespace {

bool blank(const std::optional<std::string>& value) {
  return !value || value->find_first_not_of(" \t\n\r\v\f") == std::string::npos;
}

}  // namespace

bool updateFeedConfigured(const BundleInfo& info) {
  return !blank(info.feedURL) && !blank(info.publicEDKey);
}

std::string versionLine(const BundleInfo& info) {
  return "Dustwhale " + info.shortVersion.value_or("—") + " (" + info.version.value_or("—") + ")";
}

}  // namespace dw::platform
