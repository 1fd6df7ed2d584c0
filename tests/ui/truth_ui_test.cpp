// The window says what it does, in every state, driven as a person would: what a search hides
// of a selection, the whole question at the smallest window, a cache in use, where Review goes,
// each page's own status line, the first scan before any figure exists, copies that share a
// name, and the words of the Mac's layout.

#include <gtest/gtest.h>

#include <QTest>

#include <QQuickItem>
#include <QRegularExpression>
#include <algorithm>
#include <chrono>
#include <set>

#include "platform/defaults.h"
#include "platform/open_files.h"
#include "scanners/caches/cache_scanner.h"
#include "screenshot.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"
#include "texts/scan.h"
#include "ui_driver.h"

namespace dw {
namespace {

using test::field;
using test::showing;

using namespace std::chrono_literals;
constexpr std::int64_t kMiB = 1024 * 1024;

class TruthUiTest : public ::testing::Test {
 protected:
  void skipOnboarding(const Locations& at) {
    platform::UserDefaults(at.defaultsFile).setBool(platform::kOnboardingShownKey, true);
  }
  static QQuickItem* rowNamed(test::UiDriver& ui, const char* rows, const QString& name) {
    for (QQuickItem* row : ui.all(rows))
      if (field(row, "row.name") == name) return row;
    return nullptr;
  }
  static QStringList texts(test::UiDriver& ui, const char* name) {
    QStringList out;
    for (QQuickItem* item : ui.all(name))
      out << item->property("text").toString();
    return out;
  }
  static QString page(test::UiDriver& ui) { return ui.root()->property("page").toString(); }
  // Every item of this name under item, shown or not (a page that is not up).
  static void collect(QQuickItem* item, const QString& name, QList<QQuickItem*>& out) {
    if (item->objectName() == name) out << item;
    for (QQuickItem* child : item->childItems())
      collect(child, name, out);
  }

  test::TempHome trashHome;
  test::HomeBuilder mac;
  Locations places = mac.locations();
};

TEST_F(TruthUiTest, SelectAllAndNoneActOnTheRowsShownAndHiddenChoicesAreSaid) {
  skipOnboarding(places);
  mac.cache("com.example.alpha", 60 * kMiB);  // suggested: starts selected
  mac.cache("com.example.beta", 12 * kMiB);
  mac.sparseFile(mac.inHome("Downloads/one.iso"), 250 * kMiB);
  mac.sparseFile(mac.inHome("Downloads/two.iso"), 260 * kMiB);
  test::UiDriver ui(places);

  // Caches: "Select none" under a search leaves the hidden choice, and the footer says so.
  ui.page("review");
  EXPECT_EQ(ui.text("footer.detail"), "Goes to the Trash. You can put anything back.");
  ui.click("searchField");
  ui.type("beta");
  ASSERT_EQ(ui.all("findingRow").size(), 1u);
  ui.click("sectionHeader.selectNone");
  EXPECT_EQ(ui.text("footer.summary"), "60 MB selected · 1 cache");
  EXPECT_EQ(ui.text("footer.detail"), "1 selected item is hidden by the search");
  ui.click("sectionHeader.selectAll");
  EXPECT_EQ(ui.text("footer.detail"), "1 selected item is hidden by the search");
  // The question lists the hidden one with the shown one.
  ui.click("footer.move");
  ASSERT_TRUE(ui.shows("confirm.title"));
  EXPECT_EQ(texts(ui, "confirm.itemName"), QStringList({"alpha", "beta"}));
  ui.key(Qt::Key_Escape);
  // Without the search every row is in view, and nothing is hidden.
  ui.root()->setProperty("query", "");
  ui.waitFor([&] { return ui.all("findingRow").size() == 2; }, 2000);
  EXPECT_EQ(ui.text("footer.detail"), "Goes to the Trash. You can put anything back.");

  // Large files: "Select all" under a search chooses only what it shows.
  ui.page("largeFiles");
  ui.click("searchField");
  ui.type("two");
  ui.click("sectionHeader.selectAll");
  // (A sparse file: what it takes on disk is what its move frees.)
  EXPECT_EQ(ui.text("footer.summary"), "0 MB selected · 1 file");
  EXPECT_EQ(ui.text("footer.detail"), "Goes to the Trash. You can put anything back.");
  ui.root()->setProperty("query", "one");
  ui.waitFor([&] { return ui.all("findingRow").size() == 1; }, 2000);
  EXPECT_EQ(ui.text("footer.detail"), "1 selected item is hidden by the search");
}

TEST_F(TruthUiTest, DuplicatesSelectAllUnderASearchChoosesOnlyTheCopiesShown) {
  skipOnboarding(places);
  mac.sparseFile(mac.inHome("Downloads/a.bin"), 2 * kMiB);
  mac.sparseFile(mac.inHome("Pictures/b.bin"), 2 * kMiB);
  mac.sparseFile(mac.inHome("Downloads/big.mov"), 3 * kMiB);
  mac.sparseFile(mac.inHome("Pictures/big copy.mov"), 3 * kMiB);
  test::UiDriver ui(places);
  ui.page("duplicates");
  ui.click("duplicates.find");
  ASSERT_TRUE(ui.waitFor([&] {
    return !ui.bridge().model().duplicatesScanning() &&
           ui.bridge().model().duplicateGroups().size() == 2;
  }));
  ui.click("searchField");
  ui.type(".bin");
  ui.click("sectionHeader.selectAll");
  EXPECT_EQ(ui.text("footer.summary"), "Up to 2 MB selected · 1 copy");
  EXPECT_EQ(ui.bridge().model().duplicateSelected().size(), 1u);
  // The other group's copy is chosen while hidden: the footer says so, and Select none under
  // this search leaves it.
  ui.root()->setProperty("query", "");
  ui.waitFor([&] { return ui.all("duplicateRow").size() == 4; }, 2000);
  ui.click("sectionHeader.selectAll");
  EXPECT_EQ(ui.text("footer.summary"), "Up to 5 MB selected · 2 copies");
  ui.root()->setProperty("query", ".bin");
  ui.waitFor([&] { return ui.all("duplicateRow").size() == 2; }, 2000);
  EXPECT_EQ(ui.text("footer.detail").left(39), "1 selected item is hidden by the search");
  ui.click("sectionHeader.selectNone");
  EXPECT_EQ(ui.text("footer.summary"), "Up to 3 MB selected · 1 copy");
}

TEST_F(TruthUiTest, TheWholeQuestionIsReachableAtTheSmallestWindow) {
  skipOnboarding(places);
  for (int i = 0; i < 10; ++i)
    mac.cache("com.example.c" + std::to_string(i), 10 * kMiB + i * 4096 * 4);
  test::UiDriver ui(places);
  ui.window()->resize(ui.window()->minimumSize());
  ui::settle(200);
  ui.page("review");
  ui.click("sectionHeader.selectAll");
  ui.click("footer.move");
  ASSERT_TRUE(ui.shows("confirm.title"));
  ui.click("confirm.showAll");
  ui.waitFor([&] { return !ui.shows("confirm.showAll"); }, 2000);

  // The sheet fits the window: its buttons are in it.
  QQuickItem* move = ui.one("confirm.move");
  ASSERT_TRUE(move);
  EXPECT_LE(move->mapToScene({0, move->height()}).y(), ui.window()->height());
  // The list is taller than its box: the scroll bar stands beside it, not only while it moves.
  QQuickItem* list = ui.one("confirm.list");
  QQuickItem* bar = ui.one("confirm.scrollBar");
  ASSERT_TRUE(list && bar);
  EXPECT_GT(list->property("contentHeight").toDouble(), list->height());
  EXPECT_EQ(bar->property("policy").toInt(), 2);  // ScrollBar.AlwaysOn
  EXPECT_GT(bar->property("opacity").toDouble(), 0.5);

  // The keyboard reaches the last item, and Return still cancels.
  auto inView = [&](const QString& name) {
    for (QQuickItem* item : ui.all("confirm.itemName")) {
      if (item->property("text").toString() != name) continue;
      double top = item->mapToItem(list, {0, 0}).y();
      return top >= 0 && top + item->height() <= list->height() + 1;
    }
    return false;
  };
  const QString last =
      ui.bridge()
          .moves()
          ->items()
          ->data(ui.bridge().moves()->items()->index(9), ui::MoveItemsModel::NameRole)
          .toString();
  EXPECT_FALSE(inView(last));
  ui.key(Qt::Key_End);
  EXPECT_TRUE(inView(last));
  ui.key(Qt::Key_Home);
  EXPECT_FALSE(inView(last));
  for (int i = 0; i < 10; ++i)
    ui.key(Qt::Key_Down);
  EXPECT_TRUE(inView(last));
  EXPECT_TRUE(ui.bridge().model().confirm());
  ui.key(Qt::Key_Return);
  EXPECT_FALSE(ui.bridge().model().confirm());
}

TEST_F(TruthUiTest, ACacheInUseSaysSoAndIsNotChosen) {
  test::HomeBuilder home(Locations::Layout::linux);
  Locations at = home.locations();
  skipOnboarding(at);
  std::string held = home.cache("pip", 60 * kMiB) + "/held.bin";
  test::writeFile(held, "x");
  home.cache("thumbnails", 60 * kMiB);
  test::RunningProgram python("python3", held);
  ASSERT_TRUE(test::eventually(
      [&] {
        for (const auto& file : platform::filesHeldOpen(CacheScanner::heldOpenFolders(at)))
          if (file.path == held) return true;
        return false;
      },
      5s));
  test::UiDriver ui(at);
  ui.page("review");
  ASSERT_EQ(ui.all("findingRow").size(), 2u);
  QQuickItem* inUse = nullptr;
  for (QQuickItem* row : ui.all("findingRow"))
    if (field(row, "row.badge") == "In use") inUse = row;
  ASSERT_TRUE(inUse) << "no row in use";
  EXPECT_TRUE(texts(ui, "row.badge").contains("Safe to clear"));  // the other one
  EXPECT_FALSE(test::UiDriver::within(inUse, "row.check")->property("checked").toBool());
  EXPECT_EQ(ui.text("footer.summary"), "60 MB selected · 1 cache");
}

TEST_F(TruthUiTest, ReviewOpensThePageThatHoldsWhatIsReady) {
  skipOnboarding(places);
  mac.folderOfSize(mac.inHome("Library/Application Support/com.gone.App"), 4 * kMiB);
  mac.preference("com.gone.App");
  {
    test::UiDriver ui(places);
    QQuickItem* review = ui.one("ready.review");
    ASSERT_TRUE(review);
    EXPECT_TRUE(review->property("enabled").toBool());
    ui.click(review);
    EXPECT_EQ(page(ui), "leftovers");
  }
  // Ready on two pages: Review offers each of them.
  mac.cache("com.example.big", 20 * kMiB);
  test::UiDriver ui(places);
  ui.click("ready.review");
  EXPECT_EQ(page(ui), "dashboard");
  ASSERT_TRUE(ui.waitFor([&] { return ui.all("ready.reviewChoice").size() == 2; }, 2000));
  QStringList choices = texts(ui, "ready.reviewChoice");
  EXPECT_TRUE(choices[0].startsWith("Caches · ")) << choices[0].toStdString();
  EXPECT_TRUE(choices[1].startsWith("App leftovers · ")) << choices[1].toStdString();
  ui.click(ui.all("ready.reviewChoice")[1]);
  EXPECT_EQ(page(ui), "leftovers");
}

TEST_F(TruthUiTest, EachPageShowsItsOwnStatusLineInFull) {
  skipOnboarding(places);
  mac.cache("com.example.a", 12 * kMiB);
  mac.file(mac.inHome("Movies/clip.mov"), 2 * kMiB);
  test::UiDriver ui(places);
  const QString scanned = ui.text("statusLine");
  EXPECT_FALSE(scanned.isEmpty());

  ui.page("spaceMap");
  ui.click("spaceMap.build");
  ASSERT_TRUE(ui.waitFor([&] { return !ui.bridge().model().spaceScanning(); }));
  // The quick picture's line, or the complete sizes' that follows it.
  EXPECT_TRUE(ui.text("statusLine").startsWith("Space Map "))
      << ui.text("statusLine").toStdString();
  ui.page("apps");
  EXPECT_FALSE(ui.text("statusLine").startsWith("Space Map"));
  ui.page("review");
  EXPECT_EQ(ui.text("statusLine"), scanned);

  // A clear's outcome stays on its page, whole; a Put Back's is Recently Cleared's.
  ui.click("sectionHeader.selectAll");
  ui.window()->resize(ui.window()->minimumSize());
  ui::settle(200);
  ui.click("footer.move");
  ui.click("confirm.move");
  ASSERT_TRUE(ui.waitFor([&] { return ui.shows("confirm.checkmark"); }));
  const QString outcome = ui.text("confirm.outcome");
  ui.click("confirm.done");
  EXPECT_EQ(ui.text("statusLine"), outcome);
  EXPECT_FALSE(ui.one("statusLine")->property("truncated").toBool());
  ui.page("dashboard");
  EXPECT_NE(ui.text("statusLine"), outcome);
  ui.page("recentlyCleared");
  EXPECT_NE(ui.text("statusLine"), outcome);
  ASSERT_EQ(ui.all("cleared.putBack").size(), 1u);
  ui.click("cleared.putBack");
  EXPECT_EQ(ui.text("statusLine"), "a was put back.");
  ui.page("review");
  EXPECT_EQ(ui.text("statusLine"), outcome);
}

TEST_F(TruthUiTest, TheFirstScanShowsPlaceholdersNotFigures) {
  skipOnboarding(places);
  mac.cache("com.example.a", 12 * kMiB);
  mac.app(mac.inRoot("Applications/Tidy.app"), "com.example.tidy");
  // The window as it opens: the first scan runs, and nothing it measures has reached it (its
  // results come back through the event loop, which does not run here).
  ui::AppWindow window = ui::openAppWindow(places, "light");
  ASSERT_TRUE(window.root);
  ASSERT_TRUE(window.bridge->scanning());
  QQuickItem* content = qobject_cast<QQuickWindow*>(window.root)->contentItem();
  auto every = [&](const char* name) {
    QList<QQuickItem*> out;
    collect(content, name, out);
    return out;
  };
  auto find = [&](const char* name) -> QObject* {
    auto items = every(name);
    return items.isEmpty() ? nullptr : items.front();
  };
  auto textOf = [&](const char* name) {
    QObject* item = find(name);
    return item ? item->property("text").toString() : QString("<none>");
  };
  EXPECT_EQ(textOf("storage.total"), "Measuring…");
  EXPECT_EQ(textOf("storage.summary"), "Measuring…");
  QObject* review = find("ready.review");
  ASSERT_TRUE(review);
  EXPECT_FALSE(review->property("enabled").toBool());
  EXPECT_EQ(review->property("text").toString(), "Review");
  QStringList values;
  for (QQuickItem* value : every("card.value"))
    values << value->property("text").toString();
  EXPECT_EQ(values.count("Measuring…"), 3) << values.join(", ").toStdString();
  QStringList details;
  for (QQuickItem* detail : every("card.detail"))
    details << detail->property("text").toString();
  // The main scan looks for no copies.
  EXPECT_FALSE(details.contains("Looking for extra copies.")) << details.join(", ").toStdString();
  // Each page is made when first shown.
  QString summaries;
  for (const char* page : {"review", "leftovers", "largeFiles"}) {
    window.root->setProperty("page", QString(page));
    for (QQuickItem* title : every("page.summaryTitle"))
      if (title->isVisible()) summaries += title->property("text").toString() + "\n";
  }
  window.root->setProperty("page", QString("apps"));
  EXPECT_EQ(summaries.count("Looking "), 3) << summaries.toStdString();
  EXPECT_FALSE(summaries.contains("0 MB")) << summaries.toStdString();
  EXPECT_EQ(textOf("apps.title"), "Looking for apps…");

  // Mid-sentence, an area is spoken of in lower case.
  EXPECT_EQ(QString::fromStdString(
                texts::scan::headerLine(std::string("Leftovers"), std::nullopt, Clock::now(),
                                        texts::Wording::of(Locations::macos("/", "/Users/ann")))),
            "Looking through leftovers…");

  // The Uninstaller lists the apps on its first visit.
  ui::waitFor([&] { return !window.bridge->scanning(); }, 60'000);
  QMetaObject::invokeMethod(window.root, "showPage", Q_ARG(QString, "apps"));
  EXPECT_TRUE(ui::waitFor([&] { return !window.bridge->model().installedApps().empty(); }, 30'000));
  ui::waitFor([&] { return !window.bridge->model().appsLoading(); }, 30'000);
  EXPECT_EQ(textOf("apps.title"), "1 app");
}

TEST_F(TruthUiTest, TheMacLayoutSpeaksOfAMacAndKeptRowsSayKept) {
  mac.sparseFile(mac.inHome("Desktop/film.mov"), 300 * kMiB);
  test::UiDriver ui(places);
  ASSERT_TRUE(ui.shows("onboarding.label"));
  EXPECT_EQ(ui.text("onboarding.label"), "Your files and apps");
  EXPECT_EQ(ui.one("onboarding.label")->property("font").value<QFont>().capitalization(),
            QFont::MixedCase);
  ui.click("onboarding.continue");
  bool saysMac = false;
  for (QQuickItem* item : ui.all("onboarding.promise"))
    saysMac |= item->property("text").toString() == "No data leaves this Mac.";
  EXPECT_TRUE(saysMac);
  ui.click("onboarding.continue");
  if (ui.shows("onboarding.skip")) ui.click("onboarding.skip");
  if (ui.shows("onboarding.continue")) ui.click("onboarding.continue");

  // A file that stays: the lock and the word in the checkbox's place.
  ui.page("largeFiles");
  QQuickItem* film = rowNamed(ui, "findingRow", "film.mov");
  ASSERT_TRUE(film);
  EXPECT_TRUE(showing(film, "row.lock"));
  EXPECT_TRUE(showing(film, "row.kept"));
  EXPECT_EQ(field(film, "row.kept"), "Kept");
  EXPECT_FALSE(showing(film, "row.check"));
}

TEST_F(TruthUiTest, AnAppUninstalledFromApplicationsComesBackWithPutBack) {
  skipOnboarding(places);
  std::string app = mac.app(mac.inRoot("Applications/Tidy.app"), "com.example.tidy");
  mac.file(app + "/Contents/MacOS/Tidy", 2 * kMiB);
  std::string vendor = mac.app(mac.inRoot("Applications/Vendor/Neat.app"), "com.example.neat");
  const std::string tidyBytes = test::readFile(app + "/Contents/MacOS/Tidy");
  test::UiDriver ui(places);
  ui.page("apps");
  ASSERT_TRUE(ui.waitFor([&] { return ui.bridge().model().installedApps().size() == 2; }));
  for (const std::string& bundle : {app, vendor}) {
    ui.bridge().apps()->choose(QString::fromStdString(bundle));
    ui.click("apps.uninstall");
    ui.click("confirm.move");
    ASSERT_TRUE(ui.waitFor([&] { return ui.shows("confirm.checkmark"); }));
    ui.click("confirm.done");
    EXPECT_FALSE(test::exists(bundle));
  }

  // Both are offered for Put Back, and come back where they were, byte for byte.
  ui.page("recentlyCleared");
  ASSERT_EQ(ui.all("cleared.putBack").size(), 2u);
  ui.click(ui.all("cleared.putBack")[0]);
  ui.click(ui.all("cleared.putBack")[0]);
  EXPECT_TRUE(test::exists(vendor + "/Contents/Info.plist"));
  EXPECT_EQ(test::readFile(app + "/Contents/MacOS/Tidy"), tidyBytes);
  EXPECT_TRUE(ui.all("cleared.putBack").empty());

  // Put Back never replaces: with something at its place, the refusal names the item.
  ui.bridge().apps()->refresh();
  ASSERT_TRUE(ui.waitFor([&] { return !ui.bridge().model().appsLoading(); }));
  ui.bridge().apps()->choose(QString::fromStdString(app));
  ui.page("apps");
  ui.click("apps.uninstall");
  ui.click("confirm.move");
  ASSERT_TRUE(ui.waitFor([&] { return ui.shows("confirm.checkmark"); }));
  ui.click("confirm.done");
  test::makeDirs(app);
  ui.page("recentlyCleared");
  ASSERT_EQ(ui.all("cleared.putBack").size(), 1u);
  ui.click("cleared.putBack");
  EXPECT_EQ(ui.text("statusLine"),
            "Tidy was not put back: something already exists at its original location.");
}

TEST_F(TruthUiTest, CopiesWithOneNameShowTheirFoldersAndCountsAgree) {
  skipOnboarding(places);
  mac.sparseFile(mac.inHome("Downloads/film.mov"), 3 * kMiB);
  mac.sparseFile(mac.inHome("Downloads/old/film.mov"), 3 * kMiB);
  mac.sparseFile(mac.inHome("Pictures/lone.bin"), 2 * kMiB);
  mac.sparseFile(mac.inHome("Pictures/other.bin"), 2 * kMiB);
  // A leftover of two paths, and two caches: three items to confirm, four rows logged.
  mac.folderOfSize(mac.inHome("Library/Application Support/com.gone.App"), 4 * kMiB);
  mac.preference("com.gone.App");
  mac.cache("com.example.a", 12 * kMiB);
  mac.cache("com.example.b", 11 * kMiB);
  mac.cache("org.mozilla.firefox", 11 * kMiB);
  test::UiDriver ui(places);

  ui.page("duplicates");
  ui.click("duplicates.find");
  ASSERT_TRUE(ui.waitFor([&] {
    return !ui.bridge().model().duplicatesScanning() &&
           ui.bridge().model().duplicateGroups().size() == 2;
  }));
  QStringList names = texts(ui, "row.name");
  EXPECT_TRUE(names.contains("film.mov · ~/Downloads")) << names.join(", ").toStdString();
  EXPECT_TRUE(names.contains("film.mov · ~/Downloads/old")) << names.join(", ").toStdString();
  EXPECT_TRUE(names.contains("lone.bin"));  // a name of its own stays as it is

  // A cache kept by a program it knows is named after it.
  ui.page("review");
  EXPECT_TRUE(texts(ui, "row.name").contains("Firefox cache"));

  ScanModel& model = ui.bridge().model();
  std::set<std::string> ids;
  for (const auto& f : model.caches())
    if (f.kind == Finding::Kind::leftover || f.name == "a" || f.name == "b") ids.insert(f.id);
  ASSERT_EQ(ids.size(), 3u);
  model.select(ids);
  model.clearFindings(std::nullopt);
  ASSERT_TRUE(ui.waitFor([&] { return !ui.bridge().clearing(); }));
  ui.bridge().moves()->dismiss();
  ui.page("recentlyCleared");
  ASSERT_EQ(ui.all("cleared.row").size(), 4u);
  EXPECT_TRUE(ui.text("cleared.groupHeader").contains(" · 3 items · "))
      << ui.text("cleared.groupHeader").toStdString();
}

}  // namespace
}  // namespace dw
