#pragma once
// The user's preference flags ("brimvale.onboardingShown", "brimvale.fullDiskAccessPromptShown").

#include <string>
#include <string_view>

namespace dw::platform {

class UserDefaults {
 public:
  // Linux: a small JSON file (Locations::defaultsFile); macOS: the system's defaults.
  explicit UserDefaults(std::string file);

  bool boolValue(std::string_view key) const;      // false when absent or unreadable
  bool setBool(std::string_view key, bool value);  // written atomically; false on failure

 private:
  std::string file_;
};

inline constexpr std::string_view kOnboardingShownKey = "brimvale.onboardingShown";
inline constexpr std::string_view kFullDiskAccessPromptShownKey =
    "brimvale.fullDiskAccessPromptShown";

}  // namespace dw::platform
