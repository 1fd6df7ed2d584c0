#include "platform/defaults.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/temp_dir.h"

namespace dw {
namespace {

using platform::UserDefaults;
using test::readFile;
using test::TempDir;
using test::writeFile;

std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& e : std::filesystem::directory_iterator(folder)) {
    names.push_back(e.path().filename().string());
  }
  return names;
}

TEST(UserDefaults, FlagsRoundTripThroughTheirOwnFile) {
  TempDir dir;
  std::string file = dir / "config/nested/com.dustwhale.Dustwhale.json";
  UserDefaults defaults(file);
  EXPECT_FALSE(defaults.boolValue(platform::kOnboardingShownKey)) << "absent";

  ASSERT_TRUE(defaults.setBool(platform::kOnboardingShownKey, true)) << "parent folders made";
  EXPECT_TRUE(defaults.boolValue(platform::kOnboardingShownKey));
  EXPECT_FALSE(defaults.boolValue(platform::kFullDiskAccessPromptShownKey));

  ASSERT_TRUE(defaults.setBool(platform::kFullDiskAccessPromptShownKey, true));
  ASSERT_TRUE(defaults.setBool(platform::kOnboardingShownKey, false));
  UserDefaults again(file);
  EXPECT_FALSE(again.boolValue(platform::kOnboardingShownKey));
  EXPECT_TRUE(again.boolValue(platform::kFullDiskAccessPromptShownKey)) << "other keys kept";

  EXPECT_EQ(namesIn(dir / "config/nested"),
            std::vector<std::string>{"com.dustwhale.Dustwhale.json"})
      << "no temporary file left behind";
  struct stat s {};
  ASSERT_EQ(::stat(file.c_str(), &s), 0);
  EXPECT_EQ(s.st_mode & 0777, 0600u);
}

TEST(UserDefaults, UnreadableFileIsFalseAndLeftAsItIs) {
  TempDir dir;
  std::string file = dir / "prefs.json";
  for (std::string contents : {"{not json", "[true]", "{\"brimvale.onboardingShown\": \"yes\"}"}) {
    writeFile(file, contents);
    UserDefaults defaults(file);
    EXPECT_FALSE(defaults.boolValue(platform::kOnboardingShownKey)) << contents;
    if (contents.front() == '{' && contents.back() == '}') {
      // Valid JSON with a wrong type: the flag is false, and setting it replaces the value.
      EXPECT_TRUE(defaults.setBool(platform::kOnboardingShownKey, true));
      EXPECT_TRUE(defaults.boolValue(platform::kOnboardingShownKey));
    } else {
      EXPECT_FALSE(defaults.setBool(platform::kOnboardingShownKey, true)) << contents;
      EXPECT_EQ(readFile(file), contents) << "a file that cannot be parsed is not replaced";
    }
  }
  UserDefaults nowhere("");
  EXPECT_FALSE(nowhere.boolValue(platform::kOnboardingShownKey));
  EXPECT_FALSE(nowhere.setBool(platform::kOnboardingShownKey, true));
}

}  // namespace
}  // namespace dw
