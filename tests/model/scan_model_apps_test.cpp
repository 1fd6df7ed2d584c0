// The installed-apps list and the uninstall, with the manual dispatcher, against real bundles,
// a real Trash and the real log.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

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

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Phase = ScanModel::Phase;
using AppUninstaller::AppRecord;

class ScanModelApps : public test::ModelFixture {
 protected:
  void refresh() {
    model->refreshApps();
    dispatcher.runAll();
  }
  // Starts the uninstall of the listed app and reports whether it started moving.
  bool uninstall(std::string_view name) {
    const AppRecord* a = app(name);
    if (!a) return false;
    model->setUninstallTarget(*a);
    model->uninstall();
    bool started = model->isClearRunning();
    dispatcher.runAll();
    return started;
  }
};

TEST_F(ScanModelApps, UninstallMovesTheAppAndItsDataUnderOneSessionAndPutBackRestoresThem) {
  {
    test::ScopedEnv host("XCTestConfigurationFilePath", "/tmp/x.xctestconfiguration");
    model->refreshApps();
    EXPECT_EQ(dispatcher.pendingTasks(), 0u);
    EXPECT_FALSE(model->appsLoading());
  }
  const std::string id = "com.example.foo";
  std::string bundle = tree.app(tree.inHome("Applications/Foo.app"), id);
  tree.file(bundle + "/Contents/MacOS/foo", 3 * 1024 * 1024);
  std::string support =
      tree.folderOfSize(tree.inHome("Library/Application Support/" + id), 1 << 20);
  std::string prefs = tree.preference(id);
  std::string container = tree.folder(tree.inHome("Library/Containers/" + id));
  tree.app(tree.inRoot("Applications/Other.app"), "com.example.other");
  auto before = test::snapshot(tree.root());

  model->refreshApps();
  EXPECT_TRUE(model->appsLoading());
  dispatcher.runAll();
  EXPECT_FALSE(model->appsLoading());
  ASSERT_EQ(model->installedApps().size(), 2u);
  const AppRecord* foo = app("Foo");
  ASSERT_TRUE(foo);
  EXPECT_EQ(model->installedApps().front().name, "Foo");  // the larger
  EXPECT_EQ(foo->related, (std::vector<std::string>{support, prefs, container}));

  model->setUninstallTarget(*foo);
  model->uninstall();
  EXPECT_EQ(model->phase(), Phase::clearing());
  EXPECT_EQ(model->progress(), (ScanModel::Progress{0, 4, ""}));
  dispatcher.runAll();

  EXPECT_EQ(model->phase(), Phase::ready());
  EXPECT_FALSE(model->progress());
  EXPECT_FALSE(model->uninstallTarget());
  EXPECT_TRUE(model->offerRecentlyCleared());
  EXPECT_FALSE(app("Foo"));
  EXPECT_TRUE(app("Other"));
  EXPECT_THAT(model->appsNeedingAdmin(), IsEmpty());
  EXPECT_EQ(model->message(), "4 MB moved to the Trash. Empty the Trash to get the space back.");
  EXPECT_GE(model->trashedBytesThisSession(), 4 * 1024 * 1024);
  const auto entries = model->clearedEntries();  // newest first
  ASSERT_EQ(entries.size(), 4u);
  std::vector<std::string> moved;
  for (const auto& e : entries) {
    EXPECT_EQ(e.sessionID, entries.front().sessionID);
    EXPECT_EQ(e.kind, e.originalPath == bundle ? "app" : "app-data");
    EXPECT_EQ(e.trashPath.rfind(trashHome.trashFiles(), 0), 0u) << e.trashPath;
    EXPECT_FALSE(test::exists(e.originalPath));
    moved.push_back(e.originalPath);
  }
  EXPECT_THAT(moved, ElementsAre(container, prefs, support, bundle));
  EXPECT_EQ(entries.back().name, "Foo");

  for (const auto& e : entries)
    EXPECT_TRUE(model->putBack(e)) << model->message();
  EXPECT_EQ(test::snapshot(tree.root()), before);
}

TEST_F(ScanModelApps, RefusalsComeFirstAndWhatChangedSinceTheListingStays) {
  std::string foo = tree.app(tree.inRoot("Applications/Vendor/Foo.app"), "com.example.foo");
  tree.app(tree.inRoot("Applications/Safari.app"), "com.apple.Safari");
  tree.app(tree.inHome("Downloads/Tool.app"), "com.example.tool");
  std::string bar = tree.app(tree.inHome("Applications/Bar.app"), "com.example.bar");
  std::string barData = tree.folder(tree.inHome("Library/Caches/com.example.bar"));
  std::string barState =
      tree.folder(tree.inHome("Library/Saved Application State/com.example.bar.savedState"));
  std::string baz = tree.app(tree.inHome("Applications/Baz.app"), "com.example.baz");
  refresh();

  workspace.setRunning("com.example.foo", true);  // opened after the listing
  EXPECT_FALSE(uninstall("Foo"));
  EXPECT_EQ(model->message(), "Quit Foo first, then uninstall it.");
  EXPECT_EQ(model->phase(), Phase::scanning());  // untouched: nothing started
  EXPECT_FALSE(uninstall("Safari"));
  EXPECT_EQ(model->message(), "Safari cannot be uninstalled.");
  SharedMeasurer measurer({});
  auto tool =
      AppUninstaller::recordFor(tree.inHome("Downloads/Tool.app"), places, workspace, measurer);
  ASSERT_TRUE(tool);
  model->setUninstallTarget(*tool);
  model->uninstall();
  EXPECT_FALSE(model->isClearRunning());
  EXPECT_EQ(model->message(), "Tool is not in Applications.");
  EXPECT_TRUE(test::exists(foo));
  EXPECT_THAT(model->clearedEntries(), IsEmpty());

  // A related item that is something else by now stays; the rest goes.
  std::filesystem::remove(barState);
  tree.symlink(tree.inHome("Documents"), barState);
  EXPECT_TRUE(uninstall("Bar"));
  EXPECT_EQ(model->message(),
            "Some items stayed in place: com.example.bar.savedState (no longer allowed). 0 MB "
            "moved to the Trash. Empty the Trash to get the space back.");
  EXPECT_FALSE(test::exists(bar));
  EXPECT_FALSE(test::exists(barData));
  EXPECT_EQ(model->clearedEntries().size(), 2u);

  // A bundle replaced since the listing is not the app the user chose: nothing of it moves.
  const AppRecord listed = *app("Baz");
  std::filesystem::rename(baz, tree.inRoot("old-baz"));
  tree.app(baz, "com.example.baz");
  model->setUninstallTarget(listed);
  model->uninstall();
  dispatcher.runAll();
  EXPECT_EQ(model->message(),
            "Some items stayed in place: Baz (no longer allowed). 0 MB moved to "
            "the Trash. Empty the Trash to get the space back.");
  EXPECT_FALSE(model->offerRecentlyCleared());
  EXPECT_TRUE(app("Baz")) << "still installed, still listed";
  EXPECT_TRUE(test::exists(baz));
}

TEST_F(ScanModelApps, AnAppFromTheApplicationsFoldersComesBackWithPutBack) {
  std::string foo = tree.app(tree.inRoot("Applications/Foo.app"), "com.example.foo");
  tree.file(foo + "/Contents/MacOS/foo", 1 << 20);
  std::string bar = tree.app(tree.inRoot("Applications/Vendor/Bar.app"), "com.example.bar");
  std::string baz = tree.app(tree.inRoot("Applications/Baz.app"), "com.example.baz");
  const std::string fooBytes = test::readFile(foo + "/Contents/MacOS/foo");
  refresh();
  ASSERT_TRUE(uninstall("Foo"));
  ASSERT_TRUE(uninstall("Bar"));
  ASSERT_TRUE(uninstall("Baz"));
  ASSERT_EQ(model->clearedEntries().size(), 3u);
  for (const auto& e : model->clearedEntries())
    EXPECT_EQ(ClearedLog::status(e, places), ClearedLog::Status::inTrash) << e.name;
  auto entryOf = [&](const std::string& path) {
    for (const auto& e : model->clearedEntries())
      if (e.originalPath == path) return e;
    return ClearedLog::Entry{};
  };

  // Straight into the Applications folder, and into its vendor folder.
  EXPECT_TRUE(model->putBack(entryOf(foo)));
  EXPECT_EQ(test::readFile(foo + "/Contents/MacOS/foo"), fooBytes);
  EXPECT_TRUE(model->putBack(entryOf(bar)));
  EXPECT_TRUE(test::exists(bar + "/Contents/Info.plist"));

  // Never over what stands there now, and never through a link put in its way; each refusal
  // names the app.
  test::makeDirs(baz);
  EXPECT_FALSE(model->putBack(entryOf(baz)));
  EXPECT_EQ(model->message(),
            "Baz was not put back: something already exists at its original location.");
  std::filesystem::remove(baz);  // the test's own empty folder
  std::filesystem::rename(tree.inRoot("Applications"), tree.inRoot("Apps"));
  tree.folder(tree.inRoot("Applications"));
  tree.symlink(tree.inRoot("Apps/Vendor"), tree.inRoot("Applications/Vendor"));
  ClearedLog::Entry throughLink = entryOf(baz);
  throughLink.originalPath = tree.inRoot("Applications/Vendor/Baz.app");
  EXPECT_FALSE(model->putBack(throughLink));
  EXPECT_EQ(model->message(),
            "Baz cannot be put back: the recorded Trash path or original location is not "
            "allowed.");
  EXPECT_FALSE(test::exists(tree.inRoot("Apps/Vendor/Baz.app")));
  // An app's place is an Applications folder: anything else outside the home stays refused.
  ClearedLog::Entry elsewhere = entryOf(baz);
  elsewhere.originalPath = tree.inRoot("opt/Baz.app");
  EXPECT_FALSE(ClearedLog::isAllowed(elsewhere, places));
  EXPECT_TRUE(model->putBack(entryOf(baz)));
  EXPECT_TRUE(test::exists(baz + "/Contents/Info.plist"));
}

TEST_F(ScanModelApps, ABundleTheUserMayNotMoveNeedsAnAdministrator) {
  std::string foo = tree.app(tree.inRoot("Applications/Foo.app"), "com.example.foo");
  std::string data = tree.folder(tree.inHome("Library/Application Support/com.example.foo"));
  ASSERT_EQ(::chmod(tree.inRoot("Applications").c_str(), 0555), 0);
  auto out = tree.runUnprivileged([&] {
    test::TempHome own;  // a Trash and a log the unprivileged user may write
    Locations childPlaces = tree.locations();
    platform::UserDefaults childDefaults(childPlaces.defaultsFile);
    test::TestWorkspace childWorkspace;
    ManualDispatcher d;
    ScanModel m(d, childPlaces, childWorkspace, childDefaults);
    m.refreshApps();
    d.runAll();
    if (m.installedApps().size() != 1) return std::string("not listed");
    m.setUninstallTarget(m.installedApps().front());
    m.uninstall();
    d.runAll();
    std::string admin;
    for (const auto& path : m.appsNeedingAdmin())
      admin += path;
    return m.message() + "|" + admin + "|" + std::to_string(m.installedApps().size()) + "|" +
           std::to_string(m.clearedEntries().size());
  });
  ASSERT_TRUE(out);
  EXPECT_EQ(*out, "Some items stayed in place: Foo needs an administrator. " +
                      std::string(platform::revealActionTitle()) +
                      ". 0 MB moved to the Trash. Empty the Trash to get the space back.|" + foo +
                      "|1|0");
  EXPECT_TRUE(test::exists(foo));
  EXPECT_TRUE(test::exists(data)) << "an app that stays keeps its data";
}

TEST_F(ScanModelApps, ABundleWhoseOwnExecutableRunsIsNotUninstalled) {
  // Nothing reports the app by its identifier; its own executable runs all the same.
  std::string bundle = tree.app(tree.inRoot("Applications/Sleeper.app"), "com.example.sleeper");
  std::string support = tree.folder(tree.inHome("Library/Application Support/com.example.sleeper"));
  std::string executable = bundle + "/Contents/MacOS/Sleeper";
  std::filesystem::copy_file("/bin/sleep", executable);
  ::chmod(executable.c_str(), 0755);
  {
    test::RunningFile running(executable);
    refresh();
    ASSERT_TRUE(app("Sleeper"));
    EXPECT_TRUE(app("Sleeper")->running);
    EXPECT_EQ(AppUninstaller::rowText(*app("Sleeper")), AppUninstaller::kRunningRow);
    EXPECT_EQ(app("Sleeper")->related, std::vector<std::string>{support}) << "its own data";
    AppRecord later = *app("Sleeper");
    later.running = false;  // listed before it started
    model->setUninstallTarget(later);
    model->uninstall();
    EXPECT_FALSE(model->isClearRunning());
    EXPECT_EQ(model->message(), "Quit Sleeper first, then uninstall it.");
    EXPECT_TRUE(test::exists(bundle));
  }
  refresh();
  EXPECT_FALSE(app("Sleeper")->running);
  EXPECT_TRUE(uninstall("Sleeper"));
  EXPECT_FALSE(test::exists(bundle));
}

}  // namespace
}  // namespace dw
