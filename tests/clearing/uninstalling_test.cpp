// Stopping an uninstall: the item in hand finishes, the rest stays where it is, and the status
// line says so. Real bundles, a real Trash.

#include <gtest/gtest.h>

#include <stop_token>

#include "clearing/uninstalling.h"
#include "measure/shared_measurer.h"
#include "scanners/uninstaller/app_uninstaller.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

TEST(Uninstalling, AStopIsHonouredBeforeTheNextItem) {
  test::TempHome trashHome;
  test::HomeBuilder mac;
  Locations places = mac.locations();
  test::TestWorkspace workspace;
  const std::string id = "com.example.foo";
  std::string bundle = mac.app(mac.inHome("Applications/Foo.app"), id);
  mac.file(bundle + "/Contents/MacOS/foo", 1 << 20);
  std::string support = mac.folderOfSize(mac.inHome("Library/Application Support/" + id), 1 << 20);
  std::string prefs = mac.preference(id);
  SharedMeasurer measurer{std::stop_token{}};
  auto app = AppUninstaller::recordFor(bundle, places, workspace, measurer);
  ASSERT_TRUE(app);
  ASSERT_EQ(app->related.size(), 2u);

  {  // Stopped before it began: nothing moves.
    std::stop_source stop;
    stop.request_stop();
    auto outcome = Clearing::uninstallApp(*app, places, {}, stop.get_token());
    EXPECT_TRUE(outcome.stopped);
    EXPECT_FALSE(outcome.bundleMoved);
    EXPECT_TRUE(test::exists(bundle));
    EXPECT_TRUE(outcome.moves.entries.empty());
  }

  // Stopped while the bundle moves: the bundle finishes, its data stays in the Library.
  std::stop_source stop;
  std::vector<int> done;
  auto outcome = Clearing::uninstallApp(
      *app, places,
      [&](const Clearing::Progress& p) {
        done.push_back(p.done);
        EXPECT_EQ(p.total, 3);
        stop.request_stop();
      },
      stop.get_token());
  EXPECT_EQ(done, std::vector<int>{1});
  EXPECT_TRUE(outcome.stopped);
  EXPECT_TRUE(outcome.bundleMoved);
  EXPECT_FALSE(test::exists(bundle));
  EXPECT_TRUE(test::exists(trashHome.trashFiles() + "/Foo.app"));
  EXPECT_TRUE(test::exists(support));
  EXPECT_TRUE(test::exists(prefs));
  ASSERT_EQ(outcome.moves.entries.size(), 1u);
}

TEST(Uninstalling, DataOfAnIdentifierAnotherAppNowCarriesStays) {
  test::TempHome trashHome;
  test::HomeBuilder mac;
  Locations places = mac.locations();
  const std::string id = "com.example.notes";
  std::string old = mac.app(mac.inHome("Applications/Notes Old.app"), id);
  std::string support = mac.folderOfSize(mac.inHome("Library/Application Support/" + id), 1 << 20);
  SharedMeasurer measurer{std::stop_token{}};
  auto app = AppUninstaller::recordFor(old, places, test::TestWorkspace{}, measurer);
  ASSERT_TRUE(app);
  ASSERT_EQ(app->related, std::vector<std::string>{support});

  // A second copy installed after the listing: the old one goes, the data stays for the new.
  std::string current = mac.app(mac.inRoot("Applications/Notes.app"), id);
  auto outcome = Clearing::uninstallApp(*app, places);
  EXPECT_TRUE(outcome.bundleMoved);
  EXPECT_FALSE(test::exists(old));
  EXPECT_TRUE(test::exists(support));
  EXPECT_TRUE(test::exists(current));
  EXPECT_EQ(outcome.stayed, std::vector<std::string>{id + " (another installed app uses it)"});
}

}  // namespace
}  // namespace dw
