// The model on a Linux-shaped home: an AppImage uninstalled into the real freedesktop Trash with
// its launcher and icons and put back item by item; Flatpak and package apps refused; an
// unreadable ~/.var/app named with the permissions text and no Full Disk Access prompt.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "base/paths.h"
#include "model/scan_model.h"
#include "platform/desktop.h"
#include "scanners/uninstaller/app_uninstaller.h"
#include "support/home_builder.h"
#include "support/linux_apps.h"
#include "support/model_fixture.h"
#include "support/temp_dir.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

using AppUninstaller::AppRecord;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Phase = ScanModel::Phase;

class ScanModelLinuxApps : public test::ModelFixture {
 protected:
  ScanModelLinuxApps() : ModelFixture(Locations::Layout::linux) {}
};

TEST_F(ScanModelLinuxApps, AnAppImageGoesToTheTrashWithItsLauncherAndIconsAndEachComesBack) {
  std::string image = test::appImage(tree.inHome("Applications/Viewer.AppImage"));
  std::string launcher = test::launcher(tree.inHome(".local/share/applications/viewer.desktop"),
                                        "Photo Viewer", "\"" + image + "\" %F", "viewer");
  std::string png =
      tree.file(tree.inHome(".local/share/icons/hicolor/64x64/apps/viewer.png"), 8192);
  std::string svg =
      tree.file(tree.inHome(".local/share/icons/hicolor/scalable/apps/viewer.svg"), 4096);
  std::string link =
      tree.symlink("../../Applications/Viewer.AppImage", tree.inHome(".local/bin/viewer"));
  test::flatpakInstall(tree, tree.inHome(".local/share/flatpak"), "org.example.Notes", "Notes");
  test::launcher(tree.inRoot("usr/share/applications/term.desktop"), "Terminal", "term");
  auto before = test::snapshot(tree.root());

  model->refreshApps();
  dispatcher.runAll();
  ASSERT_EQ(model->installedApps().size(), 3u);
  const AppRecord* viewer = app("Photo Viewer");
  ASSERT_TRUE(viewer);
  EXPECT_EQ(viewer->related, (std::vector<std::string>{link, launcher, png, svg}));

  // The software manager's apps are refused before anything starts.
  for (const char* name : {"Notes", "Terminal"}) {
    model->setUninstallTarget(*app(name));
    model->uninstall();
    EXPECT_FALSE(model->isClearRunning());
    EXPECT_EQ(model->message(), "Remove " + std::string(name) + " with the software manager.");
  }

  model->setUninstallTarget(*viewer);
  model->uninstall();
  EXPECT_EQ(model->phase(), Phase::clearing());
  dispatcher.runAll();
  EXPECT_EQ(model->phase(), Phase::ready());
  EXPECT_FALSE(app("Photo Viewer"));
  EXPECT_TRUE(app("Notes"));
  EXPECT_THAT(model->message(),
              ::testing::EndsWith("moved to the Trash. Choose Empty Trash in the file manager to "
                                  "get the space back."));
  EXPECT_EQ(model->message().rfind("Some items", 0), std::string::npos);

  const auto entries = model->clearedEntries();
  ASSERT_EQ(entries.size(), 5u);
  std::vector<std::string> moved;
  for (const auto& e : entries) {
    EXPECT_EQ(e.sessionID, entries.front().sessionID);
    EXPECT_EQ(e.kind, e.originalPath == image ? "app" : "app-data");
    EXPECT_EQ(e.trashPath.rfind(trashHome.trashFiles(), 0), 0u) << e.trashPath;
    EXPECT_TRUE(test::exists(e.trashPath));
    EXPECT_TRUE(test::exists(trashHome.trashInfo() + "/" +
                             std::string(paths::lastComponent(e.trashPath)) + ".trashinfo"));
    EXPECT_FALSE(test::exists(e.originalPath));
    moved.push_back(e.originalPath);
  }
  EXPECT_THAT(moved, UnorderedElementsAre(image, link, launcher, png, svg));

  // Put Back of each, one at a time; the tree is then byte for byte what it was.
  for (const auto& e : entries)
    EXPECT_TRUE(model->putBack(e)) << model->message();
  EXPECT_EQ(test::snapshot(tree.root()), before);
  EXPECT_THAT(test::snapshot(trashHome.trashInfo()), IsEmpty());
}

TEST_F(ScanModelLinuxApps, AnUnreadableVarAppNamesThePermissionsAndNeverRaisesThePrompt) {
  test::flatpakData(tree, "org.example.Gone");
  ASSERT_EQ(::chmod(tree.inHome(".var/app").c_str(), 0), 0);
  auto out = tree.runUnprivileged([this] {
    test::TempHome own;
    Locations childPlaces = tree.locations();
    platform::UserDefaults childDefaults(childPlaces.defaultsFile);
    ManualDispatcher d;
    ScanModel m(d, childPlaces, workspace, childDefaults);
    m.scan();
    d.runAll();
    std::string unread;
    for (const auto& u : m.unreadLeftoverLocations())
      unread += u;
    return m.message() + "|" + unread + "|" + (m.showFullDiskAccessPrompt() ? "prompt" : "-");
  });
  ::chmod(tree.inHome(".var/app").c_str(), 0755);
  if (!out) GTEST_SKIP() << "no unprivileged user to run as";
  ASSERT_FALSE(platform::hasFullDiskAccessSetting());
  EXPECT_EQ(*out,
            "No large unused caches. Documents and builds were not scanned for deletion. Could "
            "not read ~/.var/app. Check their permissions for a complete leftovers scan."
            "|~/.var/app|-");

  // Readable again: the leftover is found, named after its id's last element.
  model->scan();
  dispatcher.runAll();
  ASSERT_EQ(model->caches().size(), 1u);
  EXPECT_EQ(model->caches().front().kind, Finding::Kind::leftover);
  EXPECT_EQ(model->caches().front().leftoverEvidence, std::vector<std::string>{"~/.var/app"});
}

}  // namespace
}  // namespace dw
