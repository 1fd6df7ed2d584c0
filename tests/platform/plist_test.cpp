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

TEST(PropertyList, ReadsWhatTheFormatsAllowAndOnlyTheTopDictionary) {
  using platform::parsePropertyList;
  // Comments, a doctype, CDATA, entities and character references, a key given twice (its last
  // value counts), empty strings and arrays, and values nobody asks for.
  auto xml = parsePropertyList(
      "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"x.dtd\" [ <!ENTITY x \">\"> ]>\n"
      "<plist version='1.0'><!-- <dict> --><dict>\n"
      "  <key>Name</key><string>A &amp; B &lt;&#x263A;&#65;&gt; <![CDATA[<raw>]]></string>\n"
      "  <key>Empty</key><string/><key>None</key><array/>\n"
      "  <key>Id</key><string>first</string><key>Id</key><string>second</string>\n"
      "  <key>Gone</key><string>x</string><key>Gone</key><integer>3</integer>\n"
      "  <key>Args</key><array><string>a</string><dict><key>b</key><string>c</string></dict>"
      "<array><string>deep</string></array><string/></array>\n"
      "  <key>Date</key><date>2024-01-01T00:00:00Z</date><key>Yes</key><true/>\n"
      "</dict></plist>\n<!-- after -->");
  ASSERT_TRUE(xml);
  using Pairs = decltype(xml->stringValues);
  EXPECT_EQ(xml->stringValues, (Pairs{{"Name",
                                       "A & B <\u263A"
                                       "A> <raw>"},
                                      {"Empty", ""},
                                      {"Id", "second"}}));
  EXPECT_EQ(xml->strings("None"), Strings{});
  EXPECT_EQ(xml->strings("Args"), (Strings{"a", ""}));
  EXPECT_FALSE(xml->string("Gone"));
  EXPECT_EQ(parsePropertyList("<dict><key>Bare</key><string>yes</string></dict>")->string("Bare"),
            "yes");
  for (std::string_view bad :
       {"<plist><dict><key>A</key><string>x</dict></plist>",  // crossed tags
        "<plist><dict><key>A</key></dict></plist>",           // a key without its value
        "<plist><dict><string>x</string></dict></plist>",     // a value without its key
        "<plist><dict><key>A</key><string>&bogus;</string></dict></plist>",
        "<plist><dict><key>A</key><string>&#xD800;</string></dict></plist>",
        "<plist><dict><key>A</key><string><b/></string></dict></plist>",
        "<plist><dict>text</dict></plist>", "<plist><dict/><dict/></plist>",
        "<plist><dict></dict></plist><plist/>", "<plist><dict><!-- open </dict></plist>",
        "<plist version=\"1.0><dict/></plist>", "<plist><dict/></plist >x"})
    EXPECT_EQ(parsePropertyList(bad), std::nullopt) << bad;
  EXPECT_TRUE(parsePropertyList("<plist><dict/></plist >"));

  // Binary: strings in UTF-16 (a pair of surrogates, a lone one), counts past 15 written as an
  // integer after the marker, and a key given twice. Checked against what libplist writes too.
  TempDir dir;
  Strings many;
  for (int i = 0; i < 40; ++i)
    many.push_back("item " + std::to_string(i));
  writePlist(dir / "b.plist", {{"Emoji", "caf\u00e9 \U0001F600"}, {"Many", many}},
             PlistFormat::binary);
  auto written = readPropertyList(dir / "b.plist");
  ASSERT_TRUE(written);
  EXPECT_EQ(written->string("Emoji"), "caf\u00e9 \U0001F600");
  EXPECT_EQ(written->strings("Many"), many);
  // bplist00, objects: 0 dict {1: 2, 1: 3}, 1 "K", 2 "old", 3 UTF-16 "\uD83D\uDE00\uD800".
  std::string objects = std::string("\xD2\x01\x01\x02\x03", 5) + "\x51K" + "\x53old" +
                        std::string("\x63\xD8\x3D\xDE\x00\xD8\x00", 7);
  std::string list = "bplist00" + objects;
  std::string table = {8, 13, 15, 19};
  std::string trailer(6, '\0');
  trailer += std::string{1, 1} + std::string(7, '\0') + '\x04' + std::string(7, '\0') + '\0' +
             std::string(7, '\0') + static_cast<char>(list.size());
  auto binary = parsePropertyList(list + table + trailer);
  ASSERT_TRUE(binary);
  EXPECT_EQ(binary->stringValues, (Pairs{{"K", "\U0001F600\uFFFD"}}));
  for (size_t cut = 0; cut < list.size() + table.size() + trailer.size(); ++cut)
    EXPECT_EQ(parsePropertyList((list + table + trailer).substr(0, cut)), std::nullopt) << cut;
}

TEST(PropertyList, NeitherDepthNorSharedObjectsCanExhaustTheReader) {
  TempDir dir;
  // 200,000 nested arrays (3 MB) under a key: a parser that recurses runs out of stack here.
  std::string deep = kHead +
                     "<dict><key>CFBundleIdentifier</key><string>com.example.deep</string>" +
                     "<key>Deep</key>";
  for (int i = 0; i < 200000; ++i)
    deep += "<array>";
  writeFile(dir / "deep.plist", deep);
  EXPECT_EQ(readPropertyList(dir / "deep.plist"), std::nullopt);
  // Deep but closed: refused past the depth any real property list has (<plist>, <dict> and
  // the arrays count), read up to it.
  auto nested = [&](size_t arrays) {
    std::string text = kHead + "<dict><key>Id</key><string>x</string><key>D</key>";
    for (size_t i = 0; i < arrays; ++i)
      text += "<array>";
    for (size_t i = 0; i < arrays; ++i)
      text += "</array>";
    return text + "</dict></plist>";
  };
  EXPECT_EQ(platform::parsePropertyList(nested(platform::kMaxPropertyListDepth - 1)), std::nullopt);
  auto deepest = platform::parsePropertyList(nested(platform::kMaxPropertyListDepth - 2));
  ASSERT_TRUE(deepest);
  EXPECT_EQ(deepest->string("Id"), "x");

  // Binary: every one of 30,000 keys names the same array of 30,000 strings, and the array
  // holds itself. Read naively that is 900 million copies; the reader gives up instead.
  const int n = 30000;
  std::string list = "bplist00";
  std::vector<std::uint64_t> offsets;
  auto be = [](std::uint64_t v, int width) {
    std::string out;
    for (int i = width - 1; i >= 0; --i)
      out += static_cast<char>((v >> (8 * i)) & 0xFF);
    return out;
  };
  auto counted = [&](unsigned char type, std::uint64_t count) {
    return std::string(1, static_cast<char>(type | 0x0F)) + "\x13" + be(count, 8);
  };
  // 0: the dictionary, 1: the array, 2: "k", 3: "s"
  offsets.push_back(list.size());
  list += counted(0xD0, n);
  for (int i = 0; i < n; ++i)
    list += be(2, 2);
  for (int i = 0; i < n; ++i)
    list += be(1, 2);
  offsets.push_back(list.size());
  list += counted(0xA0, n);
  list += be(1, 2);
  for (int i = 1; i < n; ++i)
    list += be(3, 2);
  offsets.push_back(list.size());
  list += "\x51k";
  offsets.push_back(list.size());
  list += "\x51s";
  std::uint64_t tableAt = list.size();
  for (std::uint64_t o : offsets)
    list += be(o, 4);
  list +=
      std::string(6, '\0') + '\x04' + '\x02' + be(offsets.size(), 8) + be(0, 8) + be(tableAt, 8);
  EXPECT_EQ(platform::parsePropertyList(list), std::nullopt);
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
