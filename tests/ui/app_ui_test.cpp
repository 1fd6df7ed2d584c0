// The desktop app's real QML over a model filled by a real scan of a Mac-shaped home, driven
// offscreen: what the pages say, what selecting does, and a clear through the sheet into a
// real Trash.

#include <gtest/gtest.h>

#include <QTest>

#include <QAbstractItemModel>
#include <QDateTime>
#include <QDir>
#include <QLocale>
#include <QQuickItem>
#include <algorithm>
#include <filesystem>
#include <set>

#include "base/uuid.h"
#include "bridge/date_text.h"
#include "clearing/cleared_log.h"
#include "findings/size_text.h"
#include "platform/defaults.h"
#include "platform/desktop.h"
#include "support/home_builder.h"
#include "support/mounts.h"
#include "support/temp_dir.h"
#include "texts/overview.h"
#include "ui_driver.h"

namespace dw {
namespace {

using test::field;
using test::showing;

constexpr std::int64_t kMiB = 1024 * 1024;

class AppUiTest : public ::testing::Test {
 protected:
  void skipOnboarding() {
    platform::UserDefaults(places.defaultsFile).setBool(platform::kOnboardingShownKey, true);
  }
  static QQuickItem* rowNamed(test::UiDriver& ui, const QString& name) {
    for (QQuickItem* row : ui.all("findingRow"))
      if (field(row, "row.name") == name) return row;
    ADD_FAILURE() << "no row " << name.toStdString();
    return nullptr;
  }

  test::TempHome trashHome;  // the real Trash, the log and the preference flags live here
  test::HomeBuilder mac;
  Locations places = mac.locations();
};

TEST_F(AppUiTest, ListPagesShowTheCoreTextsBadgesAndLocks) {
  skipOnboarding();
  mac.cache("com.example.big", 50 * kMiB);  // suggested: starts selected
  mac.cache("com.example.small", 12 * kMiB);
  mac.cache("Google", 20 * kMiB);  // Chrome's cache, while Chrome runs
  mac.sparseFile(mac.inHome("Desktop/film.mov"), 300 * kMiB);
  mac.sparseFile(mac.inHome("Downloads/disk.iso"), 250 * kMiB);
  test::RunningProgram chrome("chrome");
  test::UiDriver ui(places);

  ui.page("review");
  EXPECT_EQ(ui.text("header.title"), "Caches");
  EXPECT_EQ(ui.text("page.summaryTitle"), "82 MB in 3 caches");
  EXPECT_EQ(ui.text("footer.summary"), "50 MB selected · 1 cache");
  ASSERT_EQ(ui.all("findingRow").size(), 3u);

  QQuickItem* big = rowNamed(ui, "big");
  QQuickItem* google = ui.all("findingRow")[1];
  if (big) {
    EXPECT_EQ(field(big, "row.badge"), "Safe to clear");
    EXPECT_TRUE(showing(big, "row.check"));
  }
  // Waiting for Chrome to quit: the badge says so, and there is neither control nor lock.
  EXPECT_TRUE(field(google, "row.badge").startsWith("Quit "))
      << field(google, "row.badge").toStdString();
  EXPECT_TRUE(field(google, "row.badge").endsWith(" first"));
  EXPECT_FALSE(showing(google, "row.check"));
  EXPECT_FALSE(showing(google, "row.lock"));

  // Choosing the small cache adds it to the footer.
  ui.click(test::UiDriver::within(ui.all("findingRow")[2], "row.check"));
  EXPECT_EQ(ui.text("footer.summary"), "62 MB selected · 2 caches");

  // Details: the why-safe text and the proof action.
  ui.click(test::UiDriver::within(ui.all("findingRow")[0], "row.disclosure"));
  EXPECT_EQ(field(ui.all("findingRow")[0], "row.disclosure"), "Hide details");
  EXPECT_TRUE(showing(ui.all("findingRow")[0], "row.whySafe"));
  EXPECT_EQ(field(ui.all("findingRow")[0], "row.proof"),
            QString::fromUtf8(platform::revealActionTitle().data()));

  // Large files: a Desktop file stays, with the lock; a Downloads file is the user's call.
  ui.page("largeFiles");
  // Both are sparse: listed by their length, counted by what they take on disk.
  EXPECT_EQ(ui.text("page.summaryTitle"), "0 MB in 2 files");
  QQuickItem* film = rowNamed(ui, "film.mov");
  QQuickItem* disk = rowNamed(ui, "disk.iso");
  ASSERT_TRUE(film && disk);
  EXPECT_EQ(field(film, "row.size"), "300 MB, 0 MB on disk");
  EXPECT_EQ(field(film, "row.badge"), "Kept");
  EXPECT_TRUE(showing(film, "row.lock"));
  EXPECT_FALSE(showing(film, "row.check"));
  EXPECT_EQ(field(disk, "row.badge"), "Your call");
  EXPECT_EQ(ui.text("footer.summary"), "0 MB selected · 0 files");
  EXPECT_FALSE(ui.one("footer.move")->property("enabled").toBool());

  // Nothing was left behind: the empty state, not a list.
  ui.page("leftovers");
  EXPECT_EQ(ui.text("emptyState.title"), "Nothing to clear here — your Mac is in good shape");
}

TEST_F(AppUiTest, SearchFiltersByNameAndEndsWithThePage) {
  skipOnboarding();
  mac.cache("com.example.alpha", 12 * kMiB);
  mac.cache("com.example.beta", 11 * kMiB);
  test::UiDriver ui(places);

  // Only Overview scans from the header; Overview, Space Map and Recently Cleared have no search.
  ui.page("dashboard");
  EXPECT_TRUE(ui.shows("header.scan"));
  EXPECT_FALSE(ui.shows("searchField"));
  ui.page("recentlyCleared");
  EXPECT_FALSE(ui.shows("searchField"));
  EXPECT_FALSE(ui.shows("header.scan"));

  ui.page("review");
  EXPECT_FALSE(ui.shows("header.scan"));
  ASSERT_EQ(ui.all("findingRow").size(), 2u);
  ui.click("searchField");
  ui.type("ALP");
  ASSERT_EQ(ui.all("findingRow").size(), 1u);
  EXPECT_EQ(field(ui.all("findingRow")[0], "row.name"), "alpha");

  // A search that matches nothing shows an empty list, not "nothing found".
  ui.type("zzz");
  EXPECT_TRUE(ui.all("findingRow").empty());
  EXPECT_TRUE(ui.shows("page.list"));
  EXPECT_FALSE(ui.shows("page.empty"));

  // Another page starts unfiltered with an empty field, and so does coming back.
  ui.page("leftovers");
  EXPECT_EQ(ui.text("searchField"), "");
  ui.page("review");
  EXPECT_EQ(ui.text("searchField"), "");
  EXPECT_EQ(ui.all("findingRow").size(), 2u);

  // The window keeps its default and minimum size.
  EXPECT_EQ(ui.window()->size(), QSize(1080, 720));
  EXPECT_EQ(ui.window()->minimumSize(), QSize(880, 560));
}

TEST_F(AppUiTest, SelectAllThenTheSheetMovesExactlyThePageToTheTrash) {
  skipOnboarding();
  std::vector<std::string> caches;
  for (int i = 0; i < 8; ++i)
    caches.push_back(mac.cache("com.example.c" + std::to_string(i), 10 * kMiB + i * 4096 * 4));
  std::string iso = mac.sparseFile(mac.inHome("Downloads/disk.iso"), 250 * kMiB);
  std::string pref = mac.preference("com.gone.App");
  test::UiDriver ui(places);

  ui.page("review");
  ui.click("sectionHeader.selectAll");
  EXPECT_EQ(ui.text("footer.summary"), "80 MB selected · 8 caches");
  // Large files keep their own (empty) selection.
  EXPECT_EQ(ui.bridge().model().itemsToClear(ScanModel::ConfirmScope::files).size(), 0u);

  // Return and Esc both cancel; nothing moves from the keyboard.
  for (Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
    ui.click("footer.move");
    ASSERT_TRUE(ui.shows("confirm.title"));
    EXPECT_EQ(ui.text("confirm.title"), "Move 8 items to the Trash?");
    EXPECT_EQ(ui.text("confirm.size"), "80 MB");
    EXPECT_EQ(ui.text("confirm.more"), "2 more");
    EXPECT_EQ(ui.text("confirm.showAll"), "Show all 8 items");
    ui.key(key);
    EXPECT_FALSE(ui.bridge().model().confirm());
    EXPECT_FALSE(ui.shows("confirm.title"));
  }
  for (const auto& c : caches)
    EXPECT_TRUE(test::exists(c)) << c;

  ui.click("footer.move");
  ui.click("confirm.move");
  ASSERT_TRUE(ui.waitFor([&] { return ui.shows("confirm.checkmark"); }));
  EXPECT_TRUE(ui.shows("confirm.recentlyCleared"));
  for (const auto& c : caches) {
    EXPECT_FALSE(test::exists(c)) << c;
    EXPECT_TRUE(test::exists(trashHome.trashFiles() + "/" + c.substr(c.rfind('/') + 1))) << c;
  }
  EXPECT_TRUE(test::exists(iso));
  EXPECT_TRUE(test::exists(pref));
  EXPECT_EQ(ui.text("confirm.outcome"), ui.text("statusLine"));

  ui.click("confirm.done");
  EXPECT_FALSE(ui.shows("confirm.checkmark"));
  EXPECT_EQ(ui.text("emptyState.title"), "Nothing to clear here — your Mac is in good shape");
}

TEST_F(AppUiTest, OnboardingRemembersItsEndAndWelcomeReopensIt) {
  platform::UserDefaults defaults(places.defaultsFile);
  test::UiDriver ui(places);
  ASSERT_TRUE(ui.shows("onboarding.title"));
  EXPECT_EQ(ui.text("onboarding.title"), "Big space back. Nothing lost.");
  EXPECT_TRUE(ui.shows("onboarding.label"));

  ui.key(Qt::Key_Escape);  // not dismissable
  EXPECT_TRUE(ui.shows("onboarding.title"));
  ui.click("onboarding.continue");
  EXPECT_EQ(ui.text("onboarding.title"), "What it never does");
  ui.click("onboarding.continue");
  EXPECT_FALSE(defaults.boolValue(platform::kOnboardingShownKey));
  if (platform::hasFullDiskAccessSetting()) {
    EXPECT_EQ(ui.text("onboarding.title"), "Full Disk Access");
    ui.click("onboarding.skip");
  } else {
    // Linux: what it needs instead, and Continue in place of the settings button.
    EXPECT_EQ(ui.text("onboarding.title"), "Read access");
    EXPECT_FALSE(ui.shows("onboarding.settings"));
    ui.click("onboarding.continue");
  }
  EXPECT_TRUE(defaults.boolValue(platform::kOnboardingShownKey));
  EXPECT_FALSE(ui.shows("onboarding.title"));

  // The menu: updates are not configured; "Welcome to Dustwhale" starts again at step 0.
  // Its reason shows on hover, and a click does nothing.
  QObject* appMenu = ui.root()->findChild<QObject*>("menu.app");
  ASSERT_TRUE(appMenu);
  QMetaObject::invokeMethod(appMenu, "open");
  ASSERT_TRUE(ui.waitFor([&] { return ui.shows("menu.updates"); }, 2000));
  QQuickItem* updates = ui.one("menu.updates");
  EXPECT_FALSE(updates->property("available").toBool());
  QObject* tip = ui.root()->findChild<QObject*>("menu.updatesTip");
  ASSERT_TRUE(tip);
  EXPECT_FALSE(tip->property("visible").toBool());
  QTest::mouseMove(ui.window(), updates->mapToScene({20, updates->height() / 2}).toPoint());
  EXPECT_TRUE(ui.waitFor([&] { return tip->property("visible").toBool(); }, 3000));
  EXPECT_EQ(tip->property("text").toString(), "Updates not configured yet");
  ui.click(updates);
  EXPECT_TRUE(ui.shows("menu.updates"));
  QMetaObject::invokeMethod(appMenu, "close");
  ui.waitFor([&] { return !ui.shows("menu.updates"); }, 2000);
  QObject* welcome = ui.root()->findChild<QObject*>("menu.welcome");
  ASSERT_TRUE(welcome);
  QMetaObject::invokeMethod(welcome, "triggered");
  ui.waitFor([&] { return ui.shows("onboarding.title"); }, 2000);
  EXPECT_EQ(ui.text("onboarding.title"), "Big space back. Nothing lost.");
  EXPECT_TRUE(defaults.boolValue(platform::kOnboardingShownKey));
}

TEST_F(AppUiTest, OverviewCardsAndRecentlyClearedWithPutBack) {
  skipOnboarding();
  std::string a = mac.cache("com.example.a", 12 * kMiB);
  std::string b = mac.cache("com.example.b", 11 * kMiB);
  std::string c = mac.cache("com.example.c", 10 * kMiB);
  mac.folderOfSize(mac.inHome("Library/Application Support/com.gone.App"), 4 * kMiB);
  mac.preference("com.gone.App");
  test::UiDriver ui(places);

  ui.page("dashboard");
  // The four cards stand in one row at the default width: left to right.
  auto cards = ui.all("card.detail");
  std::sort(cards.begin(), cards.end(), [](QQuickItem* x, QQuickItem* y) {
    return x->mapToScene({0, 0}).x() < y->mapToScene({0, 0}).x();
  });
  std::vector<QString> details;
  for (QQuickItem* item : cards)
    details.push_back(item->property("text").toString());
  ASSERT_EQ(details.size(), 4u);
  EXPECT_EQ(details[0], "3 folders apps rebuild on their own");
  EXPECT_EQ(details[1], "From 1 app no longer installed");
  EXPECT_EQ(details[2], "Find extra copies in Downloads and media folders.");
  EXPECT_EQ(details[3], "0 files over 200 MB, never pre-selected");
  // The storage bar as the core words it. This system reports no space it holds back, so the
  // bar, its legend and its summary leave held space out.
  const auto amounts =
      texts::overview::storageAmounts(ui.bridge().model().volume(), ui.bridge().model().caches());
  EXPECT_EQ(ui.text("storage.summary").toStdString(),
            sizeText(amounts.used) + " used, " + sizeText(amounts.ready) + " ready to clear, " +
                sizeText(amounts.free) + " free");
  EXPECT_GE(amounts.ready, 33 * kMiB);
  std::vector<QString> legend;
  for (QQuickItem* item : ui.all("storage.legend"))
    legend.push_back(item->property("label").toString());
  EXPECT_EQ(legend, (std::vector<QString>{"Your files and apps", "Ready to clear", "Free"}));
  EXPECT_FALSE(ui.shows("storage.explanation"));
  double filled = 0;
  for (QQuickItem* segment : ui.all("storage.segment")) {
    EXPECT_NE(segment->property("part").toString(), "held");
    filled += segment->width();
  }
  EXPECT_NEAR(filled, ui.one("storage.bar")->width(), 3.0);
  EXPECT_EQ(ui.text("ready.heading").left(15), "Ready to clear ");

  // Nothing cleared yet.
  ui.page("recentlyCleared");
  EXPECT_EQ(ui.text("emptyState.title"), "Nothing cleared yet");
  EXPECT_FALSE(ui.shows("cleared.openTrash"));

  // Two clears: two cards, newest first, counted.
  ScanModel& model = ui.bridge().model();
  auto clear = [&](std::set<std::string> ids) {
    model.select(std::move(ids));
    model.requestConfirm(ScanModel::ConfirmScope::caches);
    ui.bridge().moves()->move();
    ASSERT_TRUE(ui.waitFor([&] { return !ui.bridge().clearing(); }));
    ui.click("confirm.done");
  };
  clear({a});
  clear({b, c});
  ui.page("review");
  ui.page("recentlyCleared");
  auto headers = ui.all("cleared.groupHeader");
  ASSERT_EQ(headers.size(), 2u);
  EXPECT_TRUE(headers[0]->property("text").toString().startsWith("Today, "));
  EXPECT_TRUE(headers[0]->property("text").toString().endsWith(" · 2 items · 21 MB"));
  EXPECT_TRUE(headers[1]->property("text").toString().endsWith(" · 1 item · 12 MB"));
  EXPECT_EQ(ui.text("cleared.title"), "33 MB moved to the Trash");
  EXPECT_EQ(ui.text("cleared.openTrash"), "Open Trash");
  EXPECT_EQ(ui.text("cleared.emptyLine"),
            "Empty the Trash to get the space back. Changed your mind? Put anything back below.");
  ASSERT_EQ(ui.all("cleared.putBack").size(), 3u);

  // Put Back of the first row: it is home again, and its row says so with no button.
  auto rows = ui.all("cleared.row");
  ASSERT_EQ(rows.size(), 3u);
  QString firstName = field(rows[0], "cleared.name");
  ui.click(ui.all("cleared.putBack")[0]);
  EXPECT_EQ(ui.text("statusLine"), firstName + " was put back.");
  rows = ui.all("cleared.row");
  EXPECT_TRUE(field(rows[0], "cleared.status").startsWith("Put back "));
  EXPECT_EQ(ui.all("cleared.putBack").size(), 2u);

  // A Trash copy that is gone: "Trash emptied", no button. (The test empties its own Trash.)
  std::filesystem::remove_all(trashHome.trashFiles() + "/com.example.a");
  ui.bridge().reloadCleared();
  ui.waitFor([&] { return ui.all("cleared.putBack").size() == 1; }, 2000);
  rows = ui.all("cleared.row");
  EXPECT_EQ(field(rows[2], "cleared.status"), "Trash emptied");
  EXPECT_EQ(ui.all("cleared.putBack").size(), 1u);

  // Put Back All on the card with an item still in the Trash: it goes back, the card offers
  // nothing more, and the one whose Trash copy is gone had no button to begin with.
  auto all = ui.all("cleared.putBackAll");
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0]->property("text").toString(), "Put Back All");
  QString secondName = field(ui.all("cleared.row")[1], "cleared.name");
  ui.click(all[0]);
  EXPECT_EQ(ui.text("statusLine"), secondName + " was put back.");
  ui.waitFor([&] { return ui.all("cleared.putBackAll").empty(); }, 2000);
  EXPECT_TRUE(ui.all("cleared.putBackAll").empty());
  EXPECT_TRUE(ui.all("cleared.putBack").empty());
  EXPECT_TRUE(test::exists(b));
  EXPECT_TRUE(test::exists(c));
}

TEST_F(AppUiTest, RecentlyClearedTellsEachClearByItsDate) {
  skipOnboarding();
  test::UiDriver ui(places);
  // A fixed clock: noon, June 15th 2026, local time. Three clears, logged as the pipeline logs
  // them: today, earlier this year, two years before; their Trash has been emptied since.
  auto at = [](const QDateTime& t) {
    return TimePoint(std::chrono::milliseconds(t.toMSecsSinceEpoch()));
  };
  ui.bridge().setClock([&] { return at(QDateTime(QDate(2026, 6, 15), QTime(12, 0))); });
  std::vector<ClearedLog::Entry> entries;
  const std::string s1 = newUuid(), s2 = newUuid(), s3 = newUuid();
  auto logged = [&](const std::string& session, const std::string& name, QDateTime when,
                    std::int64_t bytes) {
    ClearedLog::Entry e;
    e.id = newUuid();
    e.sessionID = session;
    e.originalPath = mac.inHome("Library/Caches/" + name);
    e.trashPath = trashHome.trashFiles() + "/" + name;
    e.bytes = bytes;
    e.kind = "cache";
    e.name = name;
    e.date = at(when);
    entries.push_back(e);
  };
  logged(s1, "old", QDateTime(QDate(2024, 3, 4), QTime(9, 0)), 5 * kMiB);
  logged(s2, "spring", QDateTime(QDate(2026, 3, 4), QTime(9, 0)), 7 * kMiB);
  logged(s3, "morning", QDateTime(QDate(2026, 6, 15), QTime(9, 30)), 2 * kMiB);
  logged(s3, "morning2", QDateTime(QDate(2026, 6, 15), QTime(9, 31)), 1 * kMiB);
  ClearedLog::append(entries, places);
  ui.bridge().reloadCleared();
  ui.page("recentlyCleared");
  ASSERT_TRUE(ui.waitFor([&] { return ui.all("cleared.groupHeader").size() == 3; }, 5000));

  std::vector<QString> headers;
  for (QQuickItem* h : ui.all("cleared.groupHeader"))
    headers.push_back(h->property("text").toString());
  ASSERT_EQ(headers.size(), 3u);
  EXPECT_TRUE(headers[0].startsWith("Today, 09")) << headers[0].toStdString();
  EXPECT_TRUE(headers[0].endsWith(" · 2 items · 3 MB")) << headers[0].toStdString();
  EXPECT_EQ(headers[1], QLocale().toString(QDate(2026, 3, 4), "MMM d") + " · 1 item · 7 MB");
  EXPECT_EQ(headers[2], QLocale().toString(QDate(2024, 3, 4), "MMM d, yyyy") + " · 1 item · 5 MB");
  // None of them is in the Trash any more: nothing to put back.
  for (QQuickItem* row : ui.all("cleared.row"))
    EXPECT_EQ(field(row, "cleared.status"), "Trash emptied");
  EXPECT_FALSE(ui.shows("cleared.putBack"));
  EXPECT_EQ(ui.text("cleared.title"), "0 MB moved to the Trash");
}

TEST(ClearedDates, TodayThisYearAndEarlier) {
  // A fixed clock: noon, June 15th 2026, local time.
  QDateTime noon(QDate(2026, 6, 15), QTime(12, 0));
  auto at = [](const QDateTime& t) {
    return TimePoint(std::chrono::milliseconds(t.toMSecsSinceEpoch()));
  };
  TimePoint now = at(noon);
  EXPECT_TRUE(ui::localDateText(at(noon.addSecs(-3600)), now).startsWith("Today, 11"));
  EXPECT_EQ(ui::localDateText(at(QDateTime(QDate(2026, 3, 4), QTime(9, 0))), now),
            QLocale().toString(QDate(2026, 3, 4), "MMM d"));
  EXPECT_EQ(ui::localDateText(at(QDateTime(QDate(2024, 3, 4), QTime(9, 0))), now),
            QLocale().toString(QDate(2024, 3, 4), "MMM d, yyyy"));
}

}  // namespace
}  // namespace dw

namespace dw {
namespace {

TEST_F(AppUiTest, DuplicatesFindKeepAnotherAndMoveTheExtraCopies) {
  skipOnboarding();
  // Two groups of identical content: three copies of 2 MiB, two of 3 MiB; a twin in Music
  // stays out of the search once Music is switched off.
  std::vector<std::string> small = {mac.sparseFile(mac.inHome("Downloads/a.bin"), 2 * kMiB),
                                    mac.sparseFile(mac.inHome("Pictures/b.bin"), 2 * kMiB),
                                    mac.sparseFile(mac.inHome("Downloads/c.bin"), 2 * kMiB)};
  std::vector<std::string> large = {mac.sparseFile(mac.inHome("Downloads/big.mov"), 3 * kMiB),
                                    mac.sparseFile(mac.inHome("Pictures/big copy.mov"), 3 * kMiB)};
  std::string music = mac.sparseFile(mac.inHome("Music/song.bin"), 5 * kMiB);
  mac.sparseFile(mac.inHome("Downloads/song.bin"), 5 * kMiB);
  test::UiDriver ui(places);

  ui.page("duplicates");
  EXPECT_EQ(ui.text("emptyState.title"), "No duplicates yet");
  EXPECT_EQ(ui.one("duplicates.find")->property("text").toString(), "Find duplicates");
  EXPECT_FALSE(ui.shows("duplicates.skipped"));
  ui.click("duplicates.folder.Music");
  EXPECT_FALSE(ui.bridge().model().duplicateScope().contains(DuplicateScanner::Scope::music));

  ui.click("duplicates.find");
  ASSERT_TRUE(ui.waitFor([&] {
    return !ui.bridge().model().duplicatesScanning() &&
           !ui.bridge().model().duplicateGroups().empty();
  }));
  EXPECT_EQ(ui.text("duplicates.summaryTitle"), "Up to 7 MB in 2 duplicate groups");
  EXPECT_EQ(ui.text("footer.summary"), "Up to 0 MB selected · 0 copies");
  // Five copies listed; the ListView makes only the rows in view.
  EXPECT_EQ(qobject_cast<QAbstractItemModel*>(ui.bridge().duplicates())->rowCount(), 5);
  std::vector<QQuickItem*> rows = ui.all("duplicateRow");
  ASSERT_GE(rows.size(), 3u);
  int kept = 0;
  for (QQuickItem* row : rows) {
    if (!showing(row, "row.lock")) {
      EXPECT_TRUE(showing(row, "row.check"));
      continue;
    }
    ++kept;
    EXPECT_FALSE(showing(row, "row.check"));
  }
  EXPECT_GE(kept, 1);

  // The search shows a group's title over the first of its copies it leaves.
  ui.click("searchField");
  ui.type("copy");
  ASSERT_EQ(ui.all("duplicateRow").size(), 1u);
  EXPECT_EQ(field(ui.all("duplicateRow")[0], "row.name"), "big copy.mov");
  EXPECT_EQ(ui.all("duplicates.groupTitle").size(), 1u);
  EXPECT_EQ(ui.text("duplicates.groupTitle"), "2 identical copies · 3 MB each");
  ui.page("review");
  ui.page("duplicates");
  ASSERT_GE(ui.all("duplicateRow").size(), 3u);

  // Keeping another copy of the first group: it takes the lock and the picked note.
  const std::string firstHash = ui.bridge().model().duplicateGroups().front().hashHex;
  std::string before = ui.bridge().model().duplicateKeepPath().at(firstHash);
  ui.click("duplicates.keep");
  std::string after = ui.bridge().model().duplicateKeepPath().at(firstHash);
  EXPECT_NE(after, before);
  bool sawPicked = false;
  for (QQuickItem* row : ui.all("duplicateRow")) {
    if (field(row, "row.name").toStdString() == after.substr(after.rfind('/') + 1)) {
      EXPECT_TRUE(showing(row, "row.lock"));
      sawPicked = true;
    }
  }
  EXPECT_TRUE(sawPicked);

  ui.click("sectionHeader.selectAll");
  EXPECT_EQ(ui.text("footer.summary"), "Up to 7 MB selected · 3 copies");
  ui.click("footer.move");
  ASSERT_TRUE(ui.shows("confirm.title"));
  EXPECT_EQ(ui.text("confirm.title"), "Move 3 items to the Trash?");
  std::set<std::string> keptPaths;
  for (const auto& [hash, path] : ui.bridge().model().duplicateKeepPath())
    keptPaths.insert(path);
  ui.click("confirm.move");
  ASSERT_TRUE(ui.waitFor([&] { return ui.shows("confirm.checkmark"); }));

  EXPECT_TRUE(keptPaths.count(after));
  int moved = 0;
  for (const auto& group : {small, large}) {
    for (const auto& path : group) {
      if (keptPaths.count(path)) {
        EXPECT_TRUE(test::exists(path)) << path;
      } else {
        EXPECT_FALSE(test::exists(path)) << path;
        ++moved;
      }
    }
  }
  EXPECT_EQ(moved, 3);
  EXPECT_TRUE(test::exists(music));
}

}  // namespace
}  // namespace dw

namespace dw {
namespace {

TEST_F(AppUiTest, ShareCopiesOnlyWhereTheFileSystemCanThroughTheSameSheet) {
  skipOnboarding();
  // On the test's ext4 home nothing can share: the button is not there.
  mac.file(mac.inHome("Movies/x.mov"), 2 * kMiB);
  test::writeFile(mac.inHome("Movies/y.mov"), test::readFile(mac.inHome("Movies/x.mov")));
  test::makeDirs(mac.inHome("Downloads"));
  test::ScopedLoopMount btrfs(test::ScopedLoopMount::Kind::btrfs, mac.inHome("Downloads"));
  {
    test::UiDriver ui(places);
    ui.page("duplicates");
    ui.click("duplicates.find");
    ASSERT_TRUE(ui.waitFor([&] { return !ui.bridge().model().duplicatesScanning(); }));
    ui.click("sectionHeader.selectAll");
    EXPECT_FALSE(ui.shows("footer.other"));
  }
  if (!btrfs.mounted()) GTEST_SKIP() << btrfs.error();

  // Downloads on Btrfs: "Share copies" beside "Move to Trash…", through the same sheet.
  const std::string kept = mac.inHome("Downloads/film.mov");
  mac.file(kept, 3 * kMiB);
  const std::string bytes = test::readFile(kept);
  const std::string copy = mac.inHome("Downloads/old/film.mov");
  test::writeFile(copy, bytes);
  test::UiDriver ui(places);
  ui.page("duplicates");
  ui.click("duplicates.find");
  ASSERT_TRUE(ui.waitFor([&] {
    return !ui.bridge().model().duplicatesScanning() &&
           ui.bridge().model().duplicateGroups().size() == 2;
  }));
  EXPECT_TRUE(ui.shows("footer.other"));
  EXPECT_EQ(ui.one("footer.other")->property("text").toString(), "Share copies");
  EXPECT_FALSE(ui.one("footer.other")->property("enabled").toBool());
  ui.click("sectionHeader.selectAll");
  EXPECT_TRUE(ui.one("footer.other")->property("enabled").toBool());
  ui.click("footer.other");
  ASSERT_TRUE(ui.shows("confirm.title"));
  EXPECT_EQ(ui.text("confirm.title"), "Share 1 copy with its kept copy?");
  EXPECT_EQ(ui.text("confirm.size"), "About 3 MB back");
  EXPECT_EQ(ui.one("confirm.move")->property("text").toString(), "Share copies");
  ui.click("confirm.move");
  ASSERT_TRUE(ui.waitFor([&] { return ui.shows("confirm.checkmark"); }));
  const std::string outcome = ui.text("confirm.outcome").toStdString();
  EXPECT_EQ(outcome.rfind("Sharing freed 3 MB: 1 copy now uses the blocks of an identical file, "
                          "and every file stays where it was. Some copies stayed as they were: ",
                          0),
            0u)
      << outcome;
  EXPECT_NE(outcome.find(".mov (its file system cannot share blocks)."), std::string::npos);
  EXPECT_EQ(test::readFile(copy), bytes);
  EXPECT_EQ(test::readFile(kept), bytes);

  // Recently Cleared lists the share with nothing to put back, and says so.
  ui.click("confirm.recentlyCleared");
  EXPECT_TRUE(ui.shows("cleared.shareNote"));
  EXPECT_EQ(ui.text("cleared.shareNote"),
            "Shared copies stay where they are: there is nothing to put back.");
  std::vector<QQuickItem*> rows = ui.all("cleared.row");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(field(rows[0], "cleared.status"), "Shared in place");
  EXPECT_FALSE(showing(rows[0], "cleared.putBack"));
  EXPECT_TRUE(ui.text("cleared.groupHeader").endsWith("1 shared copy · 3 MB freed"));
}

TEST_F(AppUiTest, SpaceMapStripSelectsStepsInAndBackByKeyboard) {
  skipOnboarding();
  mac.file(mac.inHome("Movies/Trip/day1.mov"), 6 * kMiB);
  mac.file(mac.inHome("Movies/Trip/day2.mov"), 3 * kMiB);
  mac.file(mac.inHome("Downloads/setup.dmg"), 2 * kMiB);
  test::UiDriver ui(places);

  ui.page("spaceMap");
  EXPECT_EQ(ui.one("spaceMap.build")->property("text").toString(), "Build map");
  ui.click("spaceMap.build");
  ASSERT_TRUE(ui.waitFor([&] {
    return !ui.bridge().model().spaceScanning() && ui.bridge().model().spaceRoot().has_value();
  }));
  EXPECT_EQ(ui.one("spaceMap.build")->property("text").toString(), "Rebuild");
  std::vector<QQuickItem*> cells = ui.all("spaceMap.cell");
  ASSERT_GE(cells.size(), 2u);
  // Largest first, each as wide as the core's row layout makes it.
  EXPECT_EQ(cells[0]->property("name").toString(), "Movies");
  auto* map = qobject_cast<ui::SpaceMapModel*>(ui.bridge().spaceMap());
  QQuickItem* strip = ui.one("spaceMap.strip");
  QVariantList laid = map->cells(strip->width());
  ASSERT_EQ(laid.size(), static_cast<qsizetype>(cells.size()));
  for (size_t i = 0; i < cells.size(); ++i) {
    EXPECT_DOUBLE_EQ(cells[i]->width(),
                     laid[static_cast<qsizetype>(i)].toMap()["width"].toDouble());
  }

  const QString second = cells[1]->property("name").toString();
  ui.click(cells[1]);  // the strip is drawn anew: cells are stale from here
  EXPECT_EQ(ui.text("spaceMap.selectedName"), second);
  ui.key(Qt::Key_Left);
  EXPECT_EQ(ui.text("spaceMap.selectedName"), "Movies");
  ui.key(Qt::Key_Return);
  ASSERT_EQ(ui.bridge().model().spacePath().size(), 1u);
  EXPECT_EQ(ui.all("spaceMap.crumb").size(), 2u);
  EXPECT_EQ(ui.all("spaceMap.cell")[0]->property("name").toString(), "Trip");
  ui.key(Qt::Key_Escape);
  EXPECT_TRUE(ui.bridge().model().spacePath().empty());
  EXPECT_EQ(ui.all("spaceMap.crumb").size(), 1u);
}

}  // namespace
}  // namespace dw

namespace dw {
namespace {

TEST_F(AppUiTest, UninstallerListsAppsKeysCancelAndMovesTheAppToTheTrash) {
  skipOnboarding();
  std::string app = mac.app(mac.inRoot("Applications/Tidy.app"), "com.example.tidy");
  mac.file(app + "/Contents/MacOS/Tidy", 2 * kMiB);
  std::string support =
      mac.file(mac.inHome("Library/Application Support/com.example.tidy/db"), kMiB);
  test::UiDriver ui(places);

  ui.page("apps");
  ui.click("apps.refresh");
  ASSERT_TRUE(ui.waitFor([&] {
    return !ui.bridge().model().appsLoading() && !ui.bridge().model().installedApps().empty();
  }));
  QQuickItem* row = nullptr;
  for (QQuickItem* r : ui.all("apps.row"))
    if (field(r, "apps.name") == "Tidy") row = r;
  ASSERT_NE(row, nullptr);
  ui.click(row);
  EXPECT_EQ(ui.text("apps.currentName"), "Tidy · 3 MB");
  // Each item with its own size, on the page and in the question.
  auto texts = [&](const char* name) {
    QStringList out;
    for (QQuickItem* item : ui.all(name))
      out << item->property("text").toString();
    return out;
  };
  EXPECT_EQ(texts("apps.itemPlace"),
            QStringList({QString::fromStdString(mac.inRoot("Applications")) + " · 2 MB",
                         "~/Library/Application Support · 1 MB"}));

  for (Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
    ui.click("apps.uninstall");
    ASSERT_TRUE(ui.shows("confirm.title"));
    EXPECT_EQ(ui.text("confirm.title"), "Move Tidy and 1 related item to the Trash?");
    EXPECT_EQ(texts("confirm.itemSize"), QStringList({"2 MB", "1 MB"}));
    ui.key(key);
    EXPECT_FALSE(ui.shows("confirm.title"));
  }
  EXPECT_TRUE(test::exists(app));

  ui.click("apps.uninstall");
  ui.click("confirm.move");
  ASSERT_TRUE(ui.waitFor([&] { return !test::exists(app) && !ui.bridge().clearing(); }));
  EXPECT_TRUE(test::exists(trashHome.trashFiles() + "/Tidy.app"));
  // Done: the checkmark, the outcome and the way to Recently Cleared.
  ASSERT_TRUE(ui.shows("confirm.checkmark"));
  EXPECT_TRUE(ui.text("confirm.outcome").contains("moved to the Trash"));
  ui.click("confirm.recentlyCleared");
  EXPECT_FALSE(ui.shows("confirm.checkmark"));
  EXPECT_TRUE(ui.shows("page.recentlyCleared"));
  EXPECT_FALSE(test::exists(support));
}

}  // namespace
}  // namespace dw
