// How the app starts: its first scan runs before (and while) the window is built, and a page is
// made only when it is first shown, then kept.

#include <gtest/gtest.h>

#include <QQuickItem>

#include "platform/defaults.h"
#include "screenshot.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"
#include "ui_driver.h"

namespace dw {
namespace {

constexpr std::int64_t kMiB = 1024 * 1024;

TEST(StartupUi, TheFirstScanRunsWithoutTheWindow) {
  test::TempHome trashHome;
  test::HomeBuilder mac;
  mac.cache("com.example.big", 50 * kMiB);
  ui::AppBridge bridge(mac.locations(), false);
  EXPECT_FALSE(bridge.model().isScanRunning());
  bridge.start();
  EXPECT_TRUE(bridge.model().isScanRunning()) << "started by the bridge, before any QML loads";
  ASSERT_TRUE(ui::waitFor([&] { return !bridge.scanning(); }, 60'000));
  ASSERT_EQ(bridge.model().caches().size(), 1u);
  EXPECT_EQ(bridge.model().caches()[0].bytes, 50 * kMiB);
}

TEST(StartupUi, APageIsMadeWhenFirstShownAndKept) {
  test::TempHome trashHome;
  test::HomeBuilder mac;
  mac.cache("com.example.big", 50 * kMiB);
  platform::UserDefaults(mac.locations().defaultsFile).setBool(platform::kOnboardingShownKey, true);
  test::UiDriver ui(mac.locations());
  QQuickItem* content = ui.window()->contentItem();
  auto made = [&](const char* key) {
    return test::UiDriver::within(content, QString("page.") + key);
  };

  ASSERT_TRUE(made("dashboard"));
  EXPECT_TRUE(made("dashboard")->isVisible());
  for (const char* key :
       {"review", "leftovers", "duplicates", "largeFiles", "spaceMap", "apps", "recentlyCleared"})
    EXPECT_FALSE(made(key)) << key << " is made before it is shown";

  ui.page("review");
  QQuickItem* review = made("review");
  ASSERT_TRUE(review);
  EXPECT_TRUE(review->isVisible());
  EXPECT_FALSE(made("dashboard")->isVisible());
  EXPECT_TRUE(ui.shows("findingRow")) << "the scan's caches, listed on the page made late";
  EXPECT_FALSE(made("leftovers"));

  ui.page("dashboard");
  EXPECT_EQ(made("review"), review) << "kept, not made again";
  EXPECT_FALSE(review->isVisible());
  EXPECT_TRUE(made("dashboard")->isVisible());
  EXPECT_TRUE(ui.shows("ready.review"));
}

}  // namespace
}  // namespace dw
