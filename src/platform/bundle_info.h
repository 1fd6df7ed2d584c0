#pragma once
// The application's own information: its identifier, its version and build, and the update feed
// it was built with. A Mac reads the main bundle's information dictionary (the app's
// Info.plist); a Linux build carries its identifier and version and has no feed.

#include <optional>
#include <string>

namespace dw::platform {

struct BundleInfo {
  std::optional<std::string> identifier;    // CFBundleIdentifier
  std::optional<std::string> shortVersion;  // CFBundleShortVersionString: "0.1.0"
  std::optional<std::string> version;       // CFBundleVersion: the build number
  std::optional<std::string> feedURL;       // SUFeedURL
  std::optional<std::string> publicEDKey;   // SUPublicEDKey
};

// Each value is present only where the dictionary holds it as text.
BundleInfo mainBundleInfo();

// Whether updates are configured: the feed and its key are both text that is not blank once
// spaces, tabs and line breaks are trimmed from both ends.
bool updateFeedConfigured(const BundleInfo& info);

// "Dustwhale 0.1.0 (42)": the short version and the build number, each "—" when missing.
std::string versionLine(const BundleInfo& info);

}  // namespace dw::platform
