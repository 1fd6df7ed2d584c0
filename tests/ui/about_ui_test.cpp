// The About window, opened from the menu as a person would: it names the version the build
// carries (the one the package and the man page carry) and the licence, and Done closes it.

#include <gtest/gtest.h>

#include <QRegularExpression>

#include "platform/defaults.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"
#include "ui_driver.h"

namespace dw {
namespace {

TEST(AboutUi, ShowsTheVersionAndTheLicence) {
  test::TempHome trashHome;
  test::HomeBuilder home(Locations::Layout::linux);
  Locations places = home.locations();
  platform::UserDefaults(places.defaultsFile).setBool(platform::kOnboardingShownKey, true);
  test::UiDriver ui(places);

  EXPECT_FALSE(ui.shows("about.version"));
  QObject* about = ui.root()->findChild<QObject*>("menu.about");
  ASSERT_TRUE(about);
  QMetaObject::invokeMethod(about, "triggered");
  ASSERT_TRUE(ui.waitFor([&] { return ui.shows("about.version"); }, 2000));
  // The version and the build number the build was given (a count of commits by default).
  EXPECT_TRUE(QRegularExpression(QStringLiteral("^Dustwhale " DUSTWHALE_VERSION " \\([0-9]+\\)$"))
                  .match(ui.text("about.version"))
                  .hasMatch())
      << ui.text("about.version").toStdString();
  EXPECT_EQ(ui.text("about.licence"), "Free software under the Apache License 2.0");
  ui.click("about.done");
  EXPECT_TRUE(ui.waitFor([&] { return !ui.shows("about.version"); }, 2000));
}

}  // namespace
}  // namespace dw
