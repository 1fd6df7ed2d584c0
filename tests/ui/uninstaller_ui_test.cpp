// The Uninstaller over real bundles: each app's own icon where it can be read (a generic one
// otherwise), the rows of apps that stay installed, and an app whose move the system refuses.

#include <gtest/gtest.h>

#include <QImage>
#include <QQuickItem>
#include <cerrno>

#include "bridge/app_icon.h"
#include "bridge/app_list_model.h"
#include "platform/linux/syscalls.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"
#include "ui_driver.h"

namespace dw {
namespace {

// An Info.plist naming the bundle and, when given, its icon file.
void writeInfo(const std::string& bundle, const std::string& id, const std::string& icon) {
  std::string plist =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
      "<key>CFBundleIdentifier</key><string>" +
      id + "</string>" +
      (icon.empty() ? "" : "<key>CFBundleIconFile</key><string>" + icon + "</string>") +
      "</dict></plist>\n";
  test::writeFile(bundle + "/Contents/Info.plist", plist);
}

QString rowText(QQuickItem* row, const char* name) {
  QQuickItem* item = test::UiDriver::within(row, name);
  return item ? item->property("text").toString() : QString();
}

TEST(UninstallerUi, IconsRefusalRowsAndAnAppTheSystemWillNotMove) {
  test::TempHome trashHome;
  test::HomeBuilder mac;
  Locations places = mac.locations();
  platform::UserDefaults(places.defaultsFile).setBool(platform::kOnboardingShownKey, true);

  // Tidy carries an .icns named without its extension; Plain has none; Broken names one that
  // is not an image.
  std::string tidy = mac.app(mac.inRoot("Applications/Tidy.app"), "com.example.tidy");
  writeInfo(tidy, "com.example.tidy", "Tidy");
  QImage red(64, 64, QImage::Format_ARGB32);
  red.fill(QColor(220, 30, 30));
  test::makeDirs(tidy + "/Contents/Resources");
  ASSERT_TRUE(red.save(QString::fromStdString(tidy + "/Contents/Resources/Tidy.icns"), "icns"));
  std::string plain = mac.app(mac.inRoot("Applications/Plain.app"), "com.example.plain");
  std::string broken = mac.app(mac.inRoot("Applications/Broken.app"), "com.example.broken");
  writeInfo(broken, "com.example.broken", "Broken.icns");
  test::writeFile(broken + "/Contents/Resources/Broken.icns", "not an image");
  mac.app(mac.inRoot("Applications/Safari.app"), "com.apple.Safari");
  mac.app(mac.inRoot("Applications/Dustwhale.app"), std::string(kBundleID));

  test::UiDriver ui(places);
  ui.page("apps");
  ui.click("apps.refresh");
  ASSERT_TRUE(ui.waitFor([&] {
    return !ui.bridge().model().appsLoading() && ui.bridge().model().installedApps().size() == 5;
  }));
  EXPECT_EQ(ui.text("apps.title"), "5 apps");

  std::map<QString, QQuickItem*> rows;
  for (QQuickItem* row : ui.all("apps.row"))
    rows[rowText(row, "apps.name")] = row;
  ASSERT_EQ(rows.size(), 5u);
  // The system keeps no last-used date for an app here.
  EXPECT_TRUE(
      rowText(rows["Plain"], "apps.detail").replace(QChar(0xa0), ' ').endsWith(" · Last used —"))
      << rowText(rows["Plain"], "apps.detail").toStdString();
  EXPECT_EQ(rowText(rows["Safari"], "apps.rowText"), "Apple app. Stays installed.");
  EXPECT_EQ(rowText(rows["Dustwhale"], "apps.rowText"), "This app. Stays installed.");
  EXPECT_FALSE(test::UiDriver::within(rows["Tidy"], "apps.rowText")->isVisible());
  for (const char* staying : {"Safari", "Dustwhale"}) {
    ui.click(rows[staying]);
    EXPECT_FALSE(ui.one("apps.uninstall")->isEnabled()) << staying;
  }

  // The icons: Tidy's own, none readable for the others, which get ours.
  for (const auto& app : ui.bridge().model().installedApps()) {
    QImage own = ui::bundleIcon(app, QSize(32, 32));
    QImage shown = ui::appIcon(app, QSize(32, 32));
    ASSERT_FALSE(shown.isNull()) << app.name;
    if (app.name == "Tidy") {
      ASSERT_FALSE(own.isNull());
      EXPECT_EQ(own.size(), QSize(32, 32));
      EXPECT_EQ(own.pixelColor(16, 16).red(), 220);
      EXPECT_EQ(shown, own);
    } else {
      EXPECT_TRUE(own.isNull()) << app.name;
      EXPECT_NE(shown.pixelColor(16, 16).red(), 220) << app.name;
    }
  }
  QQuickItem* icon = test::UiDriver::within(rows["Tidy"], "apps.icon");
  ASSERT_TRUE(icon);
  EXPECT_TRUE(icon->property("source").toString().startsWith("image://appicon/"));
  EXPECT_EQ(icon->property("status").toInt(), 1);  // Image.Ready

  // The system refuses to move Tidy for lack of rights: it stays listed, with the
  // administrator's row and the way to show it.
  platform::sys::setFaultHook([&](platform::sys::Step step, const std::string& path) {
    return step == platform::sys::Step::rename && path.ends_with("Tidy.app") ? EACCES : 0;
  });
  ui.click(rows["Tidy"]);
  ui.click("apps.uninstall");
  ui.click("confirm.move");
  bool ended = ui.waitFor([&] { return !ui.bridge().clearing(); });
  platform::sys::setFaultHook({});
  ASSERT_TRUE(ended);
  EXPECT_TRUE(test::exists(tidy));
  ui.click("confirm.done");
  QQuickItem* tidyRow = nullptr;
  for (QQuickItem* row : ui.all("apps.row"))
    if (rowText(row, "apps.name") == "Tidy") tidyRow = row;
  ASSERT_TRUE(tidyRow);
  EXPECT_EQ(rowText(tidyRow, "apps.rowText"),
            "Stayed in place. The system refused because this app needs an administrator. "
            "Show in Folder.");
  QQuickItem* reveal = test::UiDriver::within(tidyRow, "apps.reveal");
  ASSERT_TRUE(reveal && reveal->isVisible());
  EXPECT_EQ(reveal->property("text").toString(), "Show in Folder");
  EXPECT_TRUE(ui.text("statusLine").contains("Tidy needs an administrator."));
}

}  // namespace
}  // namespace dw
