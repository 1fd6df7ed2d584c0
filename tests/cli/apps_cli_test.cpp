// dustwhale apps and dustwhale uninstall on a Mac-shaped root: the list with its sizes and
// rows, the refusals, an ambiguous name, and an uninstall logged item by item.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "base/json.h"
#include "measure/disk_sizer.h"
#include "support/command.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using ::testing::HasSubstr;

class AppsCli : public ::testing::Test {
 protected:
  test::CommandResult run(const std::string& command, std::vector<std::string> extra = {}) {
    return test::dustwhaleOn(mac, command, std::move(extra));
  }

  test::TempHome trashHome;
  test::HomeBuilder mac;
};

TEST_F(AppsCli, ListsEveryFieldAndTheRowTexts) {
  std::string big = mac.app(mac.inRoot("Applications/Big.app"), "com.example.big");
  mac.file(big + "/Contents/MacOS/big", 2 * 1024 * 1024);
  std::string prefs = mac.preference("com.example.big");
  mac.app(mac.inRoot("Applications/Utilities/Safari.app"), "com.apple.Safari");

  auto json = run("apps", {"--json"});
  ASSERT_EQ(json.status, 0) << json.err;
  auto doc = json::parse(json.out);
  ASSERT_TRUE(doc && doc->isArray() && doc->array().size() == 2) << json.out;
  const json::Value& first = doc->array()[0];
  EXPECT_EQ(first.find("name")->string(), "Big");
  EXPECT_EQ(first.find("bundleID")->string(), "com.example.big");
  EXPECT_EQ(first.find("bundlePath")->string(), big);
  EXPECT_EQ(first.find("bundleBytes")->integer(), DiskSizer::measure(big).bytes);
  ASSERT_EQ(first.find("related")->array().size(), 1u);
  EXPECT_EQ(first.find("related")->array()[0].string(), prefs);
  EXPECT_EQ(first.find("relatedBytes")->integer(), DiskSizer::measure(prefs).bytes);
  EXPECT_TRUE(first.find("lastUsed")->isNull());
  for (const char* flag : {"running", "apple", "own"})
    EXPECT_FALSE(first.find(flag)->boolean()) << flag;
  struct stat s {};
  ASSERT_EQ(::lstat(big.c_str(), &s), 0);
  EXPECT_EQ(first.find("ino")->integer(), static_cast<std::int64_t>(s.st_ino));
  EXPECT_TRUE(doc->array()[1].find("apple")->boolean());

  auto text = run("apps");
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_EQ(text.out,
            "Big · 2 MB app · 0 MB data · 2 MB in all · last used unknown\n"
            "Safari · 0 MB app · 0 MB data · 0 MB in all · last used unknown · Apple app. Stays "
            "installed.\n");
}

TEST_F(AppsCli, UninstallRefusesAsksAndLogsEveryItem) {
  std::string foo = mac.app(mac.inHome("Applications/Foo.app"), "com.example.foo");
  std::string support =
      mac.folderOfSize(mac.inHome("Library/Application Support/com.example.foo"), 1 << 20);
  std::string state =
      mac.folder(mac.inHome("Library/Saved Application State/com.example.foo.savedState"));
  mac.app(mac.inRoot("Applications/Twin.app"), "com.example.twin1");
  mac.app(mac.inRoot("Applications/Vendor/Twin.app"), "com.example.twin2");
  std::string tool = mac.app(mac.inHome("Downloads/Tool.app"), "com.example.tool");
  mac.app(mac.inRoot("Applications/Safari.app"), "com.apple.Safari");
  auto before = test::snapshot(mac.root());

  auto ambiguous = run("uninstall", {"Twin", "--yes"});
  EXPECT_EQ(ambiguous.status, 2);
  EXPECT_THAT(ambiguous.err, HasSubstr("2 apps are named Twin; give the path of one:\n  " +
                                       mac.inRoot("Applications/Twin.app") + "\n  " +
                                       mac.inRoot("Applications/Vendor/Twin.app") + "\n"));
  auto outside = run("uninstall", {tool, "--yes"});
  EXPECT_EQ(outside.status, 1);
  EXPECT_EQ(outside.err, "Tool is not in Applications.\n");
  auto apple = run("uninstall", {"Safari", "--yes"});
  EXPECT_EQ(apple.status, 1);
  EXPECT_EQ(apple.err, "Safari cannot be uninstalled.\n");
  EXPECT_NE(run("uninstall", {"Nothing"}).status, 0);
  auto unasked = run("uninstall", {"Foo"});  // no terminal and no --yes
  EXPECT_EQ(unasked.status, 1);
  auto dry = run("uninstall", {foo, "--dry-run"});
  EXPECT_EQ(dry.status, 0);
  EXPECT_EQ(dry.out, "To move to the Trash: Foo · 1 MB\n  " + foo + " · 0 MB\n  " + support +
                         " · 1 MB\n  " + state + " · 0 MB\nDry run: nothing was moved.\n");
  EXPECT_EQ(test::snapshot(mac.root()), before);

  auto gone = run("uninstall", {"Foo", "--yes"});
  ASSERT_EQ(gone.status, 0) << gone.out << gone.err;
  EXPECT_THAT(gone.out,
              HasSubstr("\n1 MB moved to the Trash. Empty the Trash to get the space back.\n"));
  EXPECT_FALSE(test::exists(foo));
  auto entries = json::parse(test::dustwhale({"history", "--json"}).out);
  ASSERT_TRUE(entries && entries->isArray());
  ASSERT_EQ(entries->array().size(), 3u);
  for (const auto& e : entries->array()) {
    EXPECT_EQ(e.find("sessionID")->string(), entries->array()[0].find("sessionID")->string());
    EXPECT_EQ(e.find("kind")->string(),
              e.find("originalPath")->string() == foo ? "app" : "app-data");
  }
}

TEST_F(AppsCli, OnlyAnAppIsUninstalledAndOnlyItsOwnData) {
  // A folder of someone's work, and a folder named like an app with nothing of one inside.
  std::string projects = mac.folder(mac.inHome("Applications/MyProjects"));
  test::writeFile(projects + "/thesis.tex", "\\chapter{One}");
  std::string hollow = mac.folder(mac.inHome("Applications/Hollow.app"));
  std::string script = mac.inHome("Applications/backup.sh");
  test::writeFile(script, "#!/bin/sh\nrsync -a ~ /backup\n");
  // Two copies of one app, and a link to one of them.
  std::string notes = mac.app(mac.inRoot("Applications/Notes Pro.app"), "com.example.notes");
  std::string old = mac.app(mac.inHome("Applications/Notes Pro Old.app"), "com.example.notes");
  std::string data = mac.folder(mac.inHome("Library/Application Support/com.example.notes"));
  std::string link = mac.symlink(notes, mac.inHome("Applications/Notes Link.app"));
  auto before = test::snapshot(mac.root());

  for (auto [path, what] : {std::pair{projects, "a folder"},
                            std::pair{hollow,
                                      "a folder named like an app but without the Contents "
                                      "folder every app has"},
                            std::pair{script, "a script"}}) {
    auto refused = run("uninstall", {path, "--yes"});
    EXPECT_EQ(refused.status, 1) << path;
    EXPECT_EQ(refused.err,
              "~" + path.substr(mac.home().size()) + " is " + what + ", not an app.\n");
  }
  EXPECT_EQ(test::snapshot(mac.root()), before);

  // The link is the bundle it points to, with what the listing found for that bundle: the data
  // another copy shares is nobody's to move.
  auto viaLink = run("uninstall", {link, "--dry-run"});
  EXPECT_EQ(viaLink.status, 0) << viaLink.err;
  EXPECT_EQ(viaLink.out, "To move to the Trash: Notes Pro · 0 MB\n  " + notes +
                             " · 0 MB\nDry run: nothing was moved.\n");
  auto gone = run("uninstall", {old, "--yes"});
  ASSERT_EQ(gone.status, 0) << gone.err;
  EXPECT_FALSE(test::exists(old));
  EXPECT_TRUE(test::exists(data));
  EXPECT_TRUE(test::exists(notes));
}

TEST_F(AppsCli, AnInfoPlistBuiltToCrashAParserCrashesNothing) {
  // 200,000 nested arrays, in an app's Info.plist and in a launch agent.
  std::string deep =
      "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>"
      "<string>com.example.deep</string><key>X</key>";
  for (int i = 0; i < 200000; ++i)
    deep += "<array>";
  test::writeFile(mac.inRoot("Applications/Deep.app/Contents/Info.plist"), deep);
  test::writeFile(mac.inHome("Library/LaunchAgents/com.example.deep.plist"), deep);
  mac.folder(mac.inHome("Library/Application Support/com.example.deep"));

  for (const char* command : {"scan", "apps"}) {
    auto listed = run(command, {"--json"});
    EXPECT_EQ(listed.status, 0) << command << listed.err;
    EXPECT_TRUE(json::parse(listed.out)) << command;
  }
  auto apps = run("apps");
  EXPECT_THAT(apps.out, HasSubstr("Deep · "));  // named after its file, with nothing related
  auto dry = run("uninstall", {"Deep", "--dry-run"});
  EXPECT_EQ(dry.status, 0) << dry.err;
  EXPECT_THAT(dry.out, HasSubstr("To move to the Trash: Deep · "));
  EXPECT_THAT(dry.out, HasSubstr("\n  " + mac.inRoot("Applications/Deep.app") + " · "));
  EXPECT_THAT(dry.out, HasSubstr(" MB\nDry run: nothing was moved.\n")) << "nothing related";
}

}  // namespace
}  // namespace dw
