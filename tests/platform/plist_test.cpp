// The files settings live in: property lists (app bundles, launch agents) and the user's
// defaults.
#include "platform/plist.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/defaults.h"
#include "support/home_builder.h"

namespace dw {
namespace {

using namespace dw::test;
using platform::readPropertyList;
using platform::UserDefaults;
using Strings = std::vector<std::string>;
namespace fs = std::filesystem;
const std::string kHead = "<?xml version=\"1.0\"?><plist version=\"1.0\">";
constexpr std::string_view kShown = platform::kOnboardingShownKey;
constexpr std::string_view kPrompt = platform::kFullDiskAccessPromptShownKey;

TEST(PropertyList, ReadsTopLevelStringsFromXmlAndBinaryAlike) {
  TempDir dir;
  for (PlistFormat format : {PlistFormat::xml, PlistFormat::binary}) {
    std::string path = dir / (format == PlistFormat::xml ? "xml.plist" : "binary.plist");
    writePlist(path, {{"Label", "com.example.app"}, {"Args", Strings{"/usr/bin/true", "-q"}}},
               format);
    auto list = readPropertyList(path);
    ASSERT_TRUE(list) << path;
    EXPECT_EQ(list->string("Label"), "com.example.app");
    EXPECT_EQ(list->strings("Args"), (Strings{"/usr/bin/true", "-q"}));
    EXPECT_TRUE(!list->string("Missing") && list->strings("Label").empty());
  }
  // Other types are left out, and nested dictionaries are not flattened.
  writeFile(dir / "mixed.plist",
            kHead + "<dict><key>Label</key><string>com.example.agent</string>" +
                "<key>RunAtLoad</key><true/><key>Interval</key><integer>60</integer>" +
                "<key>Args</key><array><string>a</string><integer>1</integer><string>b</string>" +
                "</array><key>Nested</key><dict><key>Label</key><string>inner</string></dict>" +
                "</dict></plist>");
  auto list = readPropertyList(dir / "mixed.plist");
  ASSERT_TRUE(list);
  EXPECT_EQ(list->stringValues, (decltype(list->stringValues){{"Label", "com.example.agent"}}));
  EXPECT_EQ(list->strings("Args"), (Strings{"a", "b"}));
}

TEST(PropertyList, BadInputReadsAsNothing) {
  TempDir dir;
  for (const std::string& bad :
       Strings{"this is not a property list {]", "", std::string("bplist00\xd1\x01\x02", 11),
               kHead + "<dict><key>A</key>", kHead + "<array><string>x</string></array></plist>"}) {
    writeFile(dir / "bad.plist", bad);
    EXPECT_EQ(readPropertyList(dir / "bad.plist"), std::nullopt) << bad;
  }
  EXPECT_EQ(readPropertyList(dir / "missing.plist"), std::nullopt);
  EXPECT_EQ(readPropertyList(dir.path()), std::nullopt) << "a folder is not a file";
  // A well-formed list past the size cap is not read; the same list small is.
  std::string list = kHead + "<dict><key>Label</key><string>big</string></dict></plist>\n<!-- ";
  writeFile(dir / "small.plist", list + "-->");
  ASSERT_TRUE(readPropertyList(dir / "small.plist"));
  writeFile(dir / "huge.plist", list + std::string(9 * 1024 * 1024, 'x') + " -->");
  EXPECT_EQ(readPropertyList(dir / "huge.plist"), std::nullopt);
}

TEST(UserDefaults, FlagsRoundTripThroughTheirOwnFile) {
  TempDir dir;
  std::string file = dir / "config/nested/com.dustwhale.Dustwhale.json";
  UserDefaults defaults(file);
  EXPECT_FALSE(defaults.boolValue(kShown)) << "absent";
  ASSERT_TRUE(defaults.setBool(kShown, true)) << "parent folders made";
  EXPECT_TRUE(defaults.boolValue(kShown) && !defaults.boolValue(kPrompt));
  ASSERT_TRUE(defaults.setBool(kPrompt, true) && defaults.setBool(kShown, false));
  UserDefaults again(file);
  EXPECT_TRUE(!again.boolValue(kShown) && again.boolValue(kPrompt)) << "other keys kept";
  // Only the user reads it, and no temporary file is left beside it.
  EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(std::distance(fs::directory_iterator(dir / "config/nested"), {}), 1);
}

TEST(UserDefaults, UnreadableFileIsFalseAndLeftAsItIs) {
  TempDir dir;
  std::string file = dir / "prefs.json";
  for (std::string contents : {"{not json", "[true]"}) {
    writeFile(file, contents);
    UserDefaults defaults(file);
    EXPECT_FALSE(defaults.boolValue(kShown) || defaults.setBool(kShown, true)) << contents;
    EXPECT_EQ(readFile(file), contents) << "a file that cannot be parsed is not replaced";
  }
  // Valid JSON with a wrong type: the flag is false, and setting it replaces the value.
  writeFile(file, "{\"brimvale.onboardingShown\": \"yes\"}");
  UserDefaults wrong(file);
  EXPECT_TRUE(!wrong.boolValue(kShown) && wrong.setBool(kShown, true) && wrong.boolValue(kShown));
  UserDefaults nowhere("");
  EXPECT_FALSE(nowhere.boolValue(kShown) || nowhere.setBool(kShown, true));
}

}  // namespace
}  // namespace dw
