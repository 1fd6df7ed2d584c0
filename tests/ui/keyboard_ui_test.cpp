// The app worked by the keyboard alone, as a person who uses no mouse would: the sidebar with
// the arrows, Tab to the list, the arrows and Space to choose, Tab and Space to ask and to
// confirm (Return cancels), Recently Cleared and Put Back; every stop shows its focus ring. And
// the Space Map, which takes the arrows as soon as it is shown.

#include <gtest/gtest.h>

#include <QQuickItem>
#include <QTest>

#include "platform/defaults.h"
#include "screenshot.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"
#include "ui_driver.h"

namespace dw {
namespace {

constexpr std::int64_t kMiB = 1024 * 1024;

class KeyboardUiTest : public ::testing::Test {
 protected:
  void SetUp() override {
    platform::UserDefaults(places.defaultsFile).setBool(platform::kOnboardingShownKey, true);
  }
  static QQuickItem* focused(test::UiDriver& ui) { return ui.window()->activeFocusItem(); }
  static QString focusedName(test::UiDriver& ui) {
    QQuickItem* item = focused(ui);
    return item ? item->objectName() : QString();
  }
  // Tab until the item named (or, for a list, its current row) has the keyboard; false when a
  // round of the chain never reaches it.
  static bool tabTo(test::UiDriver& ui, const QString& name) {
    auto reached = [&] {
      for (QQuickItem* item : ui.all(name))
        if (item->hasActiveFocus()) return true;
      return false;
    };
    for (int i = 0; i < 60 && !reached(); ++i)
      ui.key(Qt::Key_Tab);
    return reached();
  }
  // The focused control draws its ring.
  static bool ringShown(QQuickItem* item) {
    if (!item) return false;
    for (QQuickItem* child : item->childItems())
      if (child->objectName() == "focusRing" && child->isVisible()) return true;
    return false;
  }
  QString page(test::UiDriver& ui) { return ui.root()->property("page").toString(); }

  test::TempHome trashHome;
  test::HomeBuilder mac;
  Locations places = mac.locations();
};

TEST_F(KeyboardUiTest, AWholeClearAndPutBackByKeysAlone) {
  std::string big = mac.cache("com.example.big", 60 * kMiB);  // suggested: starts selected
  std::string small = mac.cache("com.example.small", 12 * kMiB);
  test::UiDriver ui(places);

  // The sidebar has the keyboard first; Down goes to Caches, End and Home to the ends.
  ASSERT_EQ(focusedName(ui), "sidebar");
  EXPECT_TRUE(ringShown(ui.one("sidebar.dashboard")));
  ui.key(Qt::Key_End);
  EXPECT_EQ(page(ui), "recentlyCleared");
  ui.key(Qt::Key_Home);
  EXPECT_EQ(page(ui), "dashboard");
  ui.key(Qt::Key_Up);  // already at the top
  EXPECT_EQ(page(ui), "dashboard");
  ui.key(Qt::Key_Down);
  EXPECT_EQ(page(ui), "review");
  EXPECT_TRUE(ringShown(ui.one("sidebar.review")));
  EXPECT_FALSE(ringShown(ui.one("sidebar.dashboard")));

  // Tab into the list; the current row shows the ring. The big cache is selected already: Down
  // to the small one and Space selects it too; Space again takes it back, and again adds it.
  ASSERT_TRUE(tabTo(ui, "page.list"));
  QQuickItem* list = ui.one("page.list");
  auto currentRow = [&] { return list->property("currentItem").value<QQuickItem*>(); };
  ASSERT_TRUE(currentRow());
  EXPECT_TRUE(ringShown(currentRow()));
  EXPECT_EQ(ui.text("footer.summary"), "60 MB selected · 1 cache");
  ui.key(Qt::Key_Down);
  EXPECT_EQ(currentRow()->property("name").toString(), "small");
  ui.key(Qt::Key_Space);
  EXPECT_EQ(ui.text("footer.summary"), "72 MB selected · 2 caches");
  ui.key(Qt::Key_Space);
  EXPECT_EQ(ui.text("footer.summary"), "60 MB selected · 1 cache");
  ui.key(Qt::Key_Space);
  // Return opens the row's details and closes them.
  ui.key(Qt::Key_Return);
  EXPECT_TRUE(currentRow()->property("expanded").toBool());
  ui.key(Qt::Key_Return);
  EXPECT_FALSE(currentRow()->property("expanded").toBool());

  // Tab to "Move to Trash…", Space asks. Return cancels, as Esc does.
  ASSERT_TRUE(tabTo(ui, "footer.move"));
  EXPECT_TRUE(ringShown(focused(ui)));
  ui.key(Qt::Key_Space);
  ASSERT_TRUE(ui.shows("confirm.title"));
  EXPECT_EQ(ui.text("confirm.title"), "Move 2 items to the Trash?");
  ui.key(Qt::Key_Return);
  EXPECT_FALSE(ui.bridge().moves()->up());
  EXPECT_TRUE(test::exists(big) && test::exists(small));

  // Asked again; Tab to the sheet's "Move to Trash" (Return there still cancels), then Space.
  ASSERT_TRUE(tabTo(ui, "footer.move"));
  ui.key(Qt::Key_Space);
  ASSERT_TRUE(ui.shows("confirm.title"));
  ASSERT_TRUE(tabTo(ui, "confirm.move"));
  EXPECT_TRUE(ringShown(focused(ui)));
  ui.key(Qt::Key_Return);
  EXPECT_FALSE(ui.bridge().moves()->up());
  EXPECT_TRUE(test::exists(big) && test::exists(small));
  ASSERT_TRUE(tabTo(ui, "footer.move"));
  ui.key(Qt::Key_Space);
  ASSERT_TRUE(tabTo(ui, "confirm.move"));
  ui.key(Qt::Key_Space);
  ASSERT_TRUE(ui.waitFor([&] { return ui.shows("confirm.outcome"); }));
  EXPECT_FALSE(test::exists(big));
  EXPECT_FALSE(test::exists(small));

  // Done: on to Recently Cleared by its button, and Put Back the first row (the largest).
  ASSERT_TRUE(tabTo(ui, "confirm.recentlyCleared"));
  ui.key(Qt::Key_Space);
  EXPECT_FALSE(ui.bridge().moves()->up());
  EXPECT_EQ(page(ui), "recentlyCleared");
  ASSERT_TRUE(ui.waitFor([&] { return ui.all("cleared.putBack").size() == 2; }, 5000));
  EXPECT_EQ(ui.all("cleared.row").front()->property("name").toString(), "big");
  ASSERT_TRUE(tabTo(ui, "cleared.putBack"));
  EXPECT_TRUE(ringShown(focused(ui)));
  ui.key(Qt::Key_Space);
  ASSERT_TRUE(ui.waitFor([&] { return test::exists(big); }, 5000));
  EXPECT_FALSE(test::exists(small));
  EXPECT_EQ(ui.all("cleared.putBack").size(), 1u);
}

TEST_F(KeyboardUiTest, SpaceMapTakesTheArrowsAsSoonAsItIsShown) {
  mac.sparseFile(mac.inHome("Movies/film.mov"), 3 * kMiB);
  test::writeSized(mac.inHome("Documents/big/a.bin"), 2 * kMiB);
  test::writeSized(mac.inHome("Documents/small.bin"), 1 * kMiB);
  test::writeSized(mac.inHome("Downloads/x.bin"), 1 * kMiB);
  test::UiDriver ui(places);
  ui.bridge().model().buildSpaceMap();
  ASSERT_TRUE(ui.waitFor([&] { return !ui.bridge().model().spaceScanning(); }));

  // Chosen with the mouse: the map has the keys at once, no click on a cell first.
  ui.page("spaceMap");
  ASSERT_EQ(focusedName(ui), "page.spaceMap");
  dw::ui::SpaceMapModel* map = ui.bridge().spaceMap();
  ui.key(Qt::Key_Right);
  ASSERT_TRUE(map->hasSelection());
  const QString first = map->selectedName();
  ui.key(Qt::Key_Right);
  EXPECT_NE(map->selectedName(), first);
  ui.key(Qt::Key_Left);
  EXPECT_EQ(map->selectedName(), first);
  EXPECT_TRUE(ui.shows("spaceMap.focusRing"));

  // Return steps into the selected folder; Backspace steps out.
  const int depth = static_cast<int>(map->crumbs().size());
  ui.key(Qt::Key_Return);
  EXPECT_EQ(static_cast<int>(map->crumbs().size()), depth + 1);
  ui.key(Qt::Key_Backspace);
  EXPECT_EQ(static_cast<int>(map->crumbs().size()), depth);

  // One double-click on a cell steps in: the first click's selection keeps the cell alive.
  QQuickItem* cell = nullptr;
  for (QQuickItem* c : ui.all("spaceMap.cell"))
    if (c->property("name").toString() == "Documents") cell = c;
  ASSERT_TRUE(cell);
  QPoint centre = cell->mapToScene({cell->width() / 2, cell->height() / 2}).toPoint();
  QTest::mouseDClick(ui.window(), Qt::LeftButton, {}, centre);
  dw::ui::settle(100);
  EXPECT_TRUE(map->currentTitle().startsWith("Documents")) << map->currentTitle().toStdString();
}

}  // namespace
}  // namespace dw
