// dustwhale apps and uninstall on a Linux-shaped root and home: the AppImage with its launcher,
// the software manager's apps refused by name before anything is listed to move.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/json.h"
#include "support/command.h"
#include "support/home_builder.h"
#include "support/linux_apps.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using ::testing::HasSubstr;

class LinuxAppsCli : public ::testing::Test {
 protected:
  test::CommandResult run(std::vector<std::string> args) {
    std::string command = args.front();
    args.erase(args.begin());
    return test::dustwhaleOn(b, command, args);
  }
  test::TempHome trashHome;
  test::HomeBuilder b{Locations::Layout::linux};
};

TEST_F(LinuxAppsCli, ListsEveryKindAndRefusesTheSoftwareManagersApps) {
  std::string image = test::appImage(b.inHome(".local/bin/Shot.AppImage"));
  std::string launcher = test::launcher(b.inHome(".local/share/applications/shot.desktop"),
                                        "Screenshot Tool", "Shot.AppImage");
  test::flatpakInstall(b, b.inRoot("var/lib/flatpak"), "org.example.Notes", "Notes");

  auto json = run({"apps", "--json"});
  ASSERT_EQ(json.status, 0) << json.err;
  auto doc = json::parse(json.out);
  ASSERT_TRUE(doc && doc->isArray() && doc->array().size() == 2) << json.out;
  std::map<std::string, const json::Value*> byName;
  for (const json::Value& v : doc->array())
    byName[v.find("name")->string()] = &v;
  ASSERT_TRUE(byName.count("Screenshot Tool") && byName.count("Notes")) << json.out;
  const json::Value& shot = *byName["Screenshot Tool"];
  EXPECT_EQ(shot.find("kind")->string(), "appimage");
  EXPECT_EQ(shot.find("bundlePath")->string(), image);
  ASSERT_EQ(shot.find("related")->array().size(), 1u);
  EXPECT_EQ(shot.find("related")->array()[0].string(), launcher);
  EXPECT_FALSE(shot.find("softwareManager")->boolean());
  const json::Value& notes = *byName["Notes"];
  EXPECT_EQ(notes.find("kind")->string(), "flatpak");
  EXPECT_TRUE(notes.find("softwareManager")->boolean());
  EXPECT_EQ(notes.find("rowText")->string(), "Flatpak app. Remove it with the software manager.");

  auto refused = run({"uninstall", "Notes", "--yes"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(refused.err, "Remove Notes with the software manager.\n");

  auto dry = run({"uninstall", image, "--dry-run"});
  ASSERT_EQ(dry.status, 0) << dry.err;
  EXPECT_THAT(dry.out, HasSubstr(launcher));
  EXPECT_TRUE(test::exists(image));
}

TEST_F(LinuxAppsCli, AScriptOrAPlainProgramGivenByPathIsRefusedForWhatItIs) {
  std::string script = b.inHome(".local/bin/backup-photos");
  test::writeFile(script, "#!/bin/sh\nrsync -a ~/Pictures /media/backup\n");
  std::string program =
      test::appImage(b.inHome("Applications/tool.AppImage"), test::AppImageShape::unmarked);
  std::string folder = b.folder(b.inHome("Applications/MyProjects"));
  auto before = test::snapshot(b.root());
  for (auto [path, what] :
       {std::pair{script, "a script"}, std::pair{program, "a program without the AppImage mark"},
        std::pair{folder, "a folder"}}) {
    auto refused = run({"uninstall", path, "--yes"});
    EXPECT_EQ(refused.status, 1) << path;
    EXPECT_EQ(refused.err, "~" + path.substr(b.home().size()) + " is " + what + ", not an app.\n");
  }
  EXPECT_EQ(test::snapshot(b.root()), before);

  // A link is what it points to: a folder, or an AppImage taken as that AppImage.
  auto linked = run({"uninstall", b.symlink(folder, b.inHome(".local/bin/projects")), "--yes"});
  EXPECT_EQ(linked.err, "~/.local/bin/projects is a link to a folder, not an app.\n");
  std::string image = test::appImage(b.inHome("Applications/Viewer.AppImage"));
  auto viaLink = run({"uninstall", b.symlink(image, b.inHome(".local/bin/viewer")), "--dry-run"});
  EXPECT_EQ(viaLink.status, 0) << viaLink.err;
  EXPECT_THAT(viaLink.out, HasSubstr("To move to the Trash: Viewer · "));
  EXPECT_THAT(viaLink.out, HasSubstr("\n  " + image + " · "));
  EXPECT_THAT(viaLink.out, HasSubstr("\n  " + b.inHome(".local/bin/viewer") + " · "));
}

}  // namespace
}  // namespace dw
