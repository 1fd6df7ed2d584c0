// The model with the manual dispatcher: every task and every post runs when the test says, so
// the ordering rules are checked without sleeps, against real trees and a real Trash.

#include "model/scan_model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/home_builder.h"
#include "support/temp_dir.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr std::int64_t kMiB = 1024 * 1024;
constexpr std::string_view kChrome = "com.google.Chrome";

class ScanModelTest : public ::testing::Test {
 protected:
  void SetUp() override { makeModel(); }

  void makeModel() {
    model.reset();
    model = std::make_unique<ScanModel>(dispatcher, places, workspace, defaults);
    model->addObserver([this](ScanModel::Field field) {
      fields.push_back(field);
      if (field == ScanModel::Field::message) messages.push_back(model->message());
    });
  }

  void scanToEnd() {
    model->scan();
    dispatcher.runAll();
  }

  const CacheFinding* finding(const std::string& id) const {
    for (const auto& f : model->caches()) {
      if (f.id == id) return &f;
    }
    return nullptr;
  }

  test::TempHome trashHome;  // the real Trash and the log live under this home
  test::HomeBuilder mac;
  Locations places = mac.locations();
  ManualDispatcher dispatcher;
  test::TestWorkspace workspace;
  platform::UserDefaults defaults{places.defaultsFile};
  std::unique_ptr<ScanModel> model;
  std::vector<ScanModel::Field> fields;
  std::vector<std::string> messages;
};

TEST_F(ScanModelTest, StartsWithItsInitialValuesAndDoesNotScanByItself) {
  EXPECT_EQ(model->phase(), ScanModel::Phase::scanning());
  EXPECT_EQ(model->message(), "Measuring unused caches.");
  EXPECT_EQ(model->volumeName(), "This Mac");
  EXPECT_EQ(model->confirmScope(), ScanModel::ConfirmScope::caches);
  EXPECT_EQ(model->duplicateScope().rawValue, 15);
  EXPECT_FALSE(model->lastScannedAt());
  EXPECT_THAT(model->caches(), IsEmpty());
  EXPECT_THAT(model->clearedEntries(), IsEmpty());
  EXPECT_EQ(dispatcher.pendingTasks(), 0u);

  test::ScopedEnv host("XCTestConfigurationFilePath", "/tmp/x.xctestconfiguration");
  model->scan();
  EXPECT_EQ(dispatcher.pendingTasks(), 0u);
  EXPECT_EQ(model->scanGeneration(), 0u);
}

TEST_F(ScanModelTest, ScanAnnouncesAreasInOrderAndSelectsTheSuggestedFindings) {
  std::string big = mac.cache("com.example.big", 52'428'800);
  std::string small = mac.cache("com.example.small", 10'485'760);
  mac.sparseFile(mac.inHome("Downloads/disk.iso"), 300 * kMiB);
  mac.file(mac.inHome("Library/Application Support/com.example.gone/data"), 64 * 1024);

  model->scan();
  EXPECT_EQ(model->phase(), ScanModel::Phase::scanning());
  EXPECT_EQ(model->scanArea(), "Starting…");
  dispatcher.runAll();

  EXPECT_THAT(messages, ElementsAre("Measuring unused caches.", "Measuring library caches.",
                                    "Measuring npm and gradle.", "Measuring chrome.",
                                    "Measuring large files.", "Measuring leftovers.",
                                    "Nothing is removed until you confirm. Caches go to the "
                                    "Trash."));
  EXPECT_EQ(model->phase(), ScanModel::Phase::ready());
  EXPECT_FALSE(model->scanArea());
  EXPECT_TRUE(model->lastScannedAt());
  EXPECT_FALSE(model->isScanRunning());
  EXPECT_GT(model->volume().total, 0);
  ASSERT_EQ(model->caches().size(), 4u);
  EXPECT_THAT(model->selected(), ElementsAre(big));
  ASSERT_TRUE(finding(small));
  EXPECT_FALSE(finding(small)->suggested);
  ASSERT_TRUE(finding(mac.inHome("Downloads/disk.iso")));
  ASSERT_TRUE(finding("leftover:com.example.gone"));

  // A finished scan replaces whatever the user chose before.
  model->select({small});
  scanToEnd();
  EXPECT_THAT(model->selected(), ElementsAre(big));
}

TEST_F(ScanModelTest, OnlyTheNewestOfTwoScansPublishes) {
  mac.cache("com.example.first", 12 * kMiB);
  model->scan();
  std::string later = mac.cache("com.example.later", 12 * kMiB);
  model->scan();
  ASSERT_EQ(dispatcher.pendingTasks(), 2u);

  // The second scan runs and publishes first; the first, cancelled, ends afterwards.
  dispatcher.runTask(1);
  dispatcher.runPosted();
  ASSERT_EQ(model->phase(), ScanModel::Phase::ready());
  auto published = model->caches();
  auto message = model->message();
  ASSERT_TRUE(finding(later));
  messages.clear();

  dispatcher.runTask(0);
  dispatcher.runPosted();
  EXPECT_EQ(model->caches(), published);
  EXPECT_EQ(model->message(), message);
  EXPECT_THAT(messages, IsEmpty());  // no area report, no "Scan cancelled." from the first

  // In the other order the first scan's reports are dropped too.
  messages.clear();
  model->scan();
  model->scan();
  dispatcher.runTask(0);
  dispatcher.runPosted();
  EXPECT_EQ(model->phase(), ScanModel::Phase::scanning());
  EXPECT_THAT(messages, ElementsAre("Measuring unused caches.", "Measuring unused caches."));
  dispatcher.runAll();
  EXPECT_EQ(model->phase(), ScanModel::Phase::ready());
  EXPECT_EQ(messages.back(), "Nothing is removed until you confirm. Caches go to the Trash.");
}

TEST_F(ScanModelTest, EmptyHomeCancelledScanAndUnreadLocations) {
  scanToEnd();
  EXPECT_EQ(model->message(),
            "No large unused caches. Documents and builds were not scanned for deletion.");
  EXPECT_THAT(model->selected(), IsEmpty());
  auto scannedAt = model->lastScannedAt();

  model->scan();
  model->cancelScan();
  dispatcher.runAll();
  EXPECT_EQ(model->message(), "Scan cancelled.");
  EXPECT_EQ(model->phase(), ScanModel::Phase::ready());
  EXPECT_EQ(model->lastScannedAt(), scannedAt);
  EXPECT_FALSE(model->isScanRunning());
}

TEST_F(ScanModelTest, UnreadableLeftoverLocationsAskForFullDiskAccessOnce) {
  mac.cache("com.example.big", 52'428'800);
  std::string containers = mac.folder(mac.inHome("Library/Containers/com.example.sandboxed"));
  std::filesystem::permissions(mac.inHome("Library/Containers"), std::filesystem::perms::none);

  // Run the scan where permissions hold; report what the model published.
  auto run = [this](bool promptShownBefore) {
    return mac.runUnprivileged([this, promptShownBefore] {
      test::TempHome own;  // the child's own defaults file
      Locations childPlaces = mac.locations();
      platform::UserDefaults childDefaults(childPlaces.defaultsFile);
      if (promptShownBefore) childDefaults.setBool(platform::kFullDiskAccessPromptShownKey, true);
      ManualDispatcher d;
      test::TestWorkspace w;
      ScanModel m(d, childPlaces, w, childDefaults);
      m.scan();
      d.runAll();
      std::string unread;
      for (const auto& u : m.unreadLeftoverLocations())
        unread += u + ";";
      return m.message() + "|" + unread + "|" + (m.showFullDiskAccessPrompt() ? "prompt" : "-");
    });
  };
  auto first = run(false);
  if (!first) GTEST_SKIP() << "no unprivileged user to run as";
  const std::string sentence =
      "Nothing is removed until you confirm. Caches go to the Trash. Could not read "
      "~/Library/Containers. Full Disk Access is required for a complete leftovers scan.";
  EXPECT_EQ(*first, sentence + "|~/Library/Containers;|prompt");
  EXPECT_EQ(*run(true), sentence + "|~/Library/Containers;|-");
}

TEST_F(ScanModelTest, ChromeLaunchAndQuitReevaluateItsCacheOnly) {
  std::string google = mac.cache("Google", 52'428'800);
  workspace.setRunning(std::string(kChrome), true);
  scanToEnd();
  const CacheFinding* f = finding(google);
  ASSERT_TRUE(f);
  EXPECT_EQ(f->name, "Google cache");
  EXPECT_EQ(f->note, "Quit Chrome to clear its cache.");
  EXPECT_FALSE(f->removable);
  EXPECT_THAT(model->selected(), IsEmpty());

  fields.clear();
  workspace.launch("com.example.Other");
  dispatcher.runPosted();
  EXPECT_THAT(fields, IsEmpty());

  workspace.quit(std::string(kChrome));
  dispatcher.runPosted();
  f = finding(google);
  EXPECT_TRUE(f->removable);
  EXPECT_TRUE(f->suggested);
  EXPECT_THAT(model->selected(), ElementsAre(google));

  workspace.launch(std::string(kChrome));
  dispatcher.runPosted();
  f = finding(google);
  EXPECT_EQ(f->note, "Quit Chrome to clear its cache.");
  EXPECT_FALSE(f->removable);
  EXPECT_THAT(model->selected(), IsEmpty());
}

TEST_F(ScanModelTest, ClearMovesEveryKindUnderOneSessionAndPutBackRestoresThem) {
  std::string cache = mac.cache("com.example.big", 52'428'800);
  std::string file = mac.file(mac.inHome("Downloads/installer.dmg"), 0);
  ::truncate(file.c_str(), 209'715'200);
  std::string support =
      mac.file(mac.inHome("Library/Application Support/com.example.gone/db"), 8192);
  std::string preference = mac.preference("com.example.gone");
  auto before = test::snapshot(mac.home());
  scanToEnd();
  ASSERT_TRUE(finding(file));
  model->select({cache, file, "leftover:com.example.gone"});

  model->clearFindings(std::nullopt);
  EXPECT_EQ(model->phase(), ScanModel::Phase::clearing());
  EXPECT_EQ(model->message(), "Moving the selected items to the Trash.");
  dispatcher.runAll();

  EXPECT_EQ(model->phase(), ScanModel::Phase::ready());
  EXPECT_FALSE(model->progress());
  EXPECT_TRUE(model->offerRecentlyCleared());
  EXPECT_THAT(model->message(),
              HasSubstr(" moved to the Trash. Empty the Trash to get the space back. See Recently "
                        "Cleared to put items back while they are still in the Trash."));
  EXPECT_FALSE(test::exists(cache));
  EXPECT_FALSE(test::exists(file));
  EXPECT_FALSE(test::exists(preference));
  EXPECT_THAT(model->caches(), IsEmpty());
  EXPECT_THAT(model->selected(), IsEmpty());
  EXPECT_GT(model->trashedBytesThisSession(), 52'428'800);

  const auto& entries = model->clearedEntries();
  ASSERT_EQ(entries.size(), 4u);  // the cache, the file, and the leftover's two paths
  for (const auto& e : entries) {
    EXPECT_EQ(e.sessionID, entries.front().sessionID);
    EXPECT_TRUE(test::exists(e.trashPath)) << e.trashPath;
    EXPECT_TRUE(std::filesystem::path(e.trashPath).string().find(trashHome.trashFiles()) == 0);
  }
  std::vector<std::string> kinds;
  for (const auto& e : entries)
    kinds.push_back(e.kind);
  EXPECT_THAT(kinds, UnorderedElementsAre("cache", "file", "leftover", "leftover"));

  for (const auto& e : std::vector<ClearedLog::Entry>(entries)) {
    EXPECT_TRUE(model->putBack(e));
    EXPECT_EQ(model->message(), e.name + " was put back.");
  }
  EXPECT_EQ(test::snapshot(mac.home()), before);
  EXPECT_FALSE(model->putBack(entries.front()));
  EXPECT_EQ(model->message(), "This item was already put back.");
}

TEST_F(ScanModelTest, ClearHonoursScopeSelectionAndStop) {
  std::string cache = mac.cache("com.example.big", 52'428'800);
  std::string google = mac.cache("Google", 12 * kMiB);
  workspace.setRunning(std::string(kChrome), true);
  scanToEnd();
  model->select({cache, google});

  // A selected cache stays when the files are cleared.
  model->requestConfirm(ScanModel::ConfirmScope::files);
  EXPECT_TRUE(model->confirm());
  model->clearSelected();
  EXPECT_EQ(model->message(), "Select something to clear first.");
  EXPECT_EQ(dispatcher.pendingTasks(), 0u);

  // Stopped before the first item: nothing moves and nothing is logged.
  model->requestConfirm(ScanModel::ConfirmScope::caches);
  model->clearSelected();
  ASSERT_TRUE(model->progress());
  EXPECT_EQ(model->progress()->total, 1);  // the running Chrome's cache is not removable
  model->stopClearing();
  EXPECT_EQ(model->message(), "Stopping after the current item…");
  dispatcher.runAll();
  EXPECT_EQ(model->message(), "Clearing stopped. Nothing was moved to the Trash.");
  EXPECT_FALSE(model->confirm());
  EXPECT_TRUE(test::exists(cache));
  EXPECT_FALSE(test::exists(places.logFile));
  EXPECT_FALSE(model->offerRecentlyCleared());
}

TEST_F(ScanModelTest, ClearReportsWhatStayedAndWhy) {
  std::string gone = mac.cache("com.example.gone", 12 * kMiB);
  std::string kept = mac.cache("com.example.kept", 12 * kMiB);
  // A leftover of five paths, two of which stop being its own before the clear.
  const std::string id = "com.example.vanished";
  mac.file(mac.inHome("Library/Application Support/" + id + "/a"), 4096);
  mac.file(mac.inHome("Library/Containers/" + id + "/b"), 4096);
  mac.file(mac.inHome("Library/WebKit/" + id + "/c"), 4096);
  mac.file(mac.inHome("Library/Saved Application State/" + id + ".savedState/d"), 4096);
  mac.preference(id);
  scanToEnd();
  model->select({gone, kept, "leftover:" + id});

  // The test's own fixture changes under the model: one cache disappears, two leftover paths
  // become links into Documents.
  std::filesystem::rename(gone, mac.inHome("elsewhere"));
  mac.folder(mac.inHome("Documents/inside"));
  for (const std::string& path :
       {mac.inHome("Library/WebKit/" + id),
        mac.inHome("Library/Saved Application State/" + id + ".savedState")}) {
    std::filesystem::rename(path, path + ".aside");
    mac.symlink(mac.inHome("Documents/inside"), path);
  }

  model->clearFindings(std::nullopt);
  dispatcher.runAll();
  const std::string& m = model->message();
  EXPECT_THAT(m, HasSubstr(" moved to the Trash. Empty the Trash to get the space back. "));
  EXPECT_THAT(m, HasSubstr(" vanished: 3 of 5 items moved (2 no longer allowed). Some items "
                           "stayed in place: gone ("));
  EXPECT_THAT(m, HasSubstr("). See Recently Cleared to put items back while they are still in "
                           "the Trash."));
  EXPECT_FALSE(test::exists(kept));
  EXPECT_TRUE(test::exists(mac.inHome("Documents/inside")));
  EXPECT_EQ(model->clearedEntries().size(), 4u);  // kept, and three paths of the leftover
}

TEST_F(ScanModelTest, AMoveStandsWhenTheLogCannotBeWritten) {
  std::string cache = mac.cache("com.example.big", 52'428'800);
  // The log's folder cannot be made: a file stands where it should be.
  test::writeFile(std::filesystem::path(places.logFile).parent_path().string(), "not a folder");
  scanToEnd();
  model->clearFindings(std::nullopt);
  dispatcher.runAll();
  EXPECT_THAT(model->message(), HasSubstr("50 MB moved to the Trash."));
  EXPECT_THAT(model->message(), HasSubstr(" Recently Cleared could not be updated ("));
  EXPECT_FALSE(test::exists(cache));
  auto trashed = test::snapshot(trashHome.trashInfo());
  EXPECT_THAT(trashed, ElementsAre(::testing::StartsWith("com.example.big.trashinfo ")));
  EXPECT_TRUE(test::exists(trashHome.trashFiles() + "/com.example.big"));
}

TEST_F(ScanModelTest, LeftoverOfAnAppInstalledAgainStays) {
  std::string data = mac.file(mac.inHome("Library/Application Support/com.example.back/x"), 4096);
  scanToEnd();
  model->select({"leftover:com.example.back"});
  mac.app(mac.inRoot("Applications/Back.app"), "com.example.back");
  model->requestConfirm(ScanModel::ConfirmScope::leftovers);
  model->clearSelected();
  dispatcher.runAll();
  EXPECT_EQ(model->message(), "Some items stayed in place: back (App is installed again).");
  EXPECT_TRUE(test::exists(data));
  EXPECT_FALSE(test::exists(places.logFile));
}

}  // namespace
}  // namespace dw
