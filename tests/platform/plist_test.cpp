#include "platform/plist.h"

#include <gtest/gtest.h>

#include "support/home_builder.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using platform::readPropertyList;
using test::PlistFormat;
using test::TempDir;
using test::writeFile;
using test::writePlist;

TEST(PropertyList, ReadsXmlAndBinaryAlike) {
  TempDir dir;
  for (PlistFormat format : {PlistFormat::xml, PlistFormat::binary}) {
    std::string path = dir / (format == PlistFormat::xml ? "xml.plist" : "binary.plist");
    writePlist(path,
               {{"CFBundleIdentifier", "com.example.app"},
                {"CFBundleName", "Example"},
                {"ProgramArguments", std::vector<std::string>{"/usr/bin/true", "--quiet"}}},
               format);
    auto list = readPropertyList(path);
    ASSERT_TRUE(list) << path;
    EXPECT_EQ(list->string("CFBundleIdentifier"), "com.example.app");
    EXPECT_EQ(list->string("CFBundleName"), "Example");
    EXPECT_EQ(list->string("Missing"), std::nullopt);
    EXPECT_EQ(list->strings("ProgramArguments"),
              (std::vector<std::string>{"/usr/bin/true", "--quiet"}));
    EXPECT_TRUE(list->strings("CFBundleName").empty()) << "a string is not an array";
  }
}

TEST(PropertyList, KeepsOnlyStringsOfTheTopLevel) {
  TempDir dir;
  writeFile(dir / "mixed.plist", R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
  <key>Label</key><string>com.example.agent</string>
  <key>RunAtLoad</key><true/>
  <key>Interval</key><integer>60</integer>
  <key>Args</key><array><string>a</string><integer>1</integer><string>b</string></array>
  <key>Nested</key><dict><key>Label</key><string>inner</string></dict>
</dict>
</plist>
)");
  auto list = readPropertyList(dir / "mixed.plist");
  ASSERT_TRUE(list);
  EXPECT_EQ(list->string("Label"), "com.example.agent");
  EXPECT_EQ(list->string("RunAtLoad"), std::nullopt);
  EXPECT_EQ(list->string("Interval"), std::nullopt);
  EXPECT_EQ(list->strings("Args"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(list->stringValues.size(), 1u) << "nested dictionaries are not flattened";
}

TEST(PropertyList, BadInputReadsAsNothing) {
  TempDir dir;
  writeFile(dir / "garbage.plist", "this is not a property list {]");
  writeFile(dir / "empty.plist", "");
  writeFile(dir / "truncated.plist", std::string("bplist00\xd1\x01\x02", 11));
  writeFile(dir / "unclosed.plist", "<?xml version=\"1.0\"?><plist><dict><key>A</key>");
  writeFile(dir / "array.plist",
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><string>x</string></array>"
            "</plist>");
  for (const char* name :
       {"garbage.plist", "empty.plist", "truncated.plist", "unclosed.plist", "array.plist"}) {
    EXPECT_EQ(readPropertyList(dir / name), std::nullopt) << name;
  }
  EXPECT_EQ(readPropertyList(dir / "missing.plist"), std::nullopt);
  EXPECT_EQ(readPropertyList(dir.path()), std::nullopt) << "a folder is not a file";

  // A well-formed list past the size cap is not read; the same list small is.
  std::string head =
      "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>Label</key><string>big"
      "</string></dict></plist>\n<!-- ";
  writeFile(dir / "small.plist", head + "-->");
  ASSERT_TRUE(readPropertyList(dir / "small.plist"));
  writeFile(dir / "huge.plist", head + std::string(9 * 1024 * 1024, 'x') + " -->");
  EXPECT_EQ(readPropertyList(dir / "huge.plist"), std::nullopt);
}

}  // namespace
}  // namespace dw
