// The desktop app over a Linux home: a Flatpak app's folder left behind shows what it holds in
// its details, a distribution's app shows the folders it keeps in the home, which stay, and a
// clear names the file manager's Empty Trash and offers to show the Trash.

#include <gtest/gtest.h>

#include <QQuickItem>

#include "model/scan_model.h"
#include "platform/defaults.h"
#include "scanners/uninstaller/app_uninstaller.h"
#include "support/home_builder.h"
#include "support/linux_apps.h"
#include "support/temp_dir.h"
#include "texts/apps.h"
#include "ui_driver.h"

namespace dw {
namespace {

constexpr std::int64_t kMiB = 1024 * 1024;

QString field(QQuickItem* row, const char* name) {
  QQuickItem* item = test::UiDriver::within(row, name);
  return item && item->isVisible() ? item->property("text").toString() : QString();
}

TEST(LinuxHomeUiTest, AFlatpakLeftoverShowsItsLargestFilesAndAnAppItsFolders) {
  test::TempHome trashHome;
  test::HomeBuilder b{Locations::Layout::linux};
  Locations places = b.locations();
  platform::UserDefaults(places.defaultsFile).setBool(platform::kOnboardingShownKey, true);
  std::string spotify = test::flatpakData(b, "com.spotify.Client", 12 * kMiB);
  b.file(spotify + "/data/playlists/road trip.m3u", kMiB);
  test::launcher(b.inRoot("usr/share/applications/chromium.desktop"), "Chromium",
                 "/usr/bin/chromium %U", "chromium");
  b.cache("chromium", 12 * kMiB);
  test::UiDriver ui(places);

  ui.page("leftovers");
  ASSERT_EQ(ui.all("findingRow").size(), 1u);
  QQuickItem* row = ui.all("findingRow")[0];
  EXPECT_EQ(field(row, "row.name"), "Spotify");
  EXPECT_EQ(field(row, "row.largestFiles"), "") << "shown with the details";
  ui.click(test::UiDriver::within(row, "row.disclosure"));
  EXPECT_EQ(field(row, "row.largestFiles"), "state.bin (12 MB), road trip.m3u (1 MB)");
  EXPECT_TRUE(field(row, "row.whySafe").contains("data and settings"));

  ui.page("apps");
  ui.click("apps.refresh");
  ASSERT_TRUE(ui.waitFor([&] {
    return !ui.bridge().model().appsLoading() && !ui.bridge().model().installedApps().empty();
  }));
  ui.click(ui.one("apps.row"));
  EXPECT_EQ(ui.text("apps.currentName"), "Chromium · 12 MB");
  EXPECT_EQ(ui.text("apps.itemsGroupHeading"),
            QString::fromUtf8(texts::apps::kUserFoldersHeading.data()));
  QStringList places_;
  for (QQuickItem* item : ui.all("apps.itemPlace"))
    places_ << item->property("text").toString();
  EXPECT_EQ(places_.last(), "~/.cache · 12 MB");
}

TEST(LinuxHomeUiTest, AClearNamesTheFileManagersEmptyTrashAndOffersShowTrash) {
  test::TempHome trashHome;
  test::HomeBuilder b{Locations::Layout::linux};
  Locations places = b.locations();
  platform::UserDefaults(places.defaultsFile).setBool(platform::kOnboardingShownKey, true);
  std::string thumbnails = b.cache("thumbnails", 12 * kMiB);
  test::UiDriver ui(places);
  ui.page("review");
  ScanModel& model = ui.bridge().model();
  ASSERT_TRUE(ui.waitFor([&] { return !ui.bridge().scanning(); }));
  model.select({thumbnails});
  model.requestConfirm(ScanModel::ConfirmScope::caches);
  ui.bridge().moves()->move();
  ASSERT_TRUE(ui.waitFor([&] { return !ui.bridge().clearing(); }));
  EXPECT_TRUE(ui.bridge().message().contains(
      "moved to the Trash. Choose Empty Trash in the file manager to get the space back."))
      << ui.bridge().message().toStdString();
  ui.click("confirm.done");
  ui.page("recentlyCleared");
  EXPECT_EQ(ui.text("cleared.openTrash"), "Show Trash");
  EXPECT_EQ(ui.text("cleared.emptyLine"),
            "Choose Empty Trash in the file manager to get the space back. Changed your mind? Put "
            "anything back below.");
}

}  // namespace
}  // namespace dw
