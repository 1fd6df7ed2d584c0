// The model with the manual dispatcher: every task and every post runs when the test says, so
// the ordering rules are checked without sleeps, against real trees and a real Trash.

#include "model/scan_model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "model/onboarding_gate.h"
#include "platform/desktop.h"

#include "support/home_builder.h"
#include "support/model_fixture.h"
#include "support/temp_dir.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Phase = ScanModel::Phase;

constexpr std::int64_t kMiB = 1024 * 1024;
const std::string kChrome = "com.google.Chrome";
const std::string kReady = "Nothing is removed until you confirm. Caches go to the Trash.";

class ScanModelTest : public test::ModelFixture {
 protected:
  void scanToEnd() {
    model->scan();
    dispatcher.runAll();
  }
  void clearAll() {
    model->clearFindings(std::nullopt);
    dispatcher.runAll();
  }
  const Finding* finding(const std::string& id) const {
    for (const auto& f : model->caches())
      if (f.id == id) return &f;
    return nullptr;
  }
};

TEST_F(ScanModelTest, ScanAnnouncesAreasInOrderAndSelectsTheSuggestedFindings) {
  EXPECT_EQ(model->phase(), Phase::scanning());  // initial values; nothing starts by itself
  EXPECT_EQ(model->message(), "Measuring unused caches.");
  EXPECT_EQ(model->volumeName(), "This Mac");
  EXPECT_EQ(model->duplicateScope().rawValue, 15);
  EXPECT_EQ(dispatcher.pendingTasks(), 0u);
  {
    test::ScopedEnv host("XCTestConfigurationFilePath", "/tmp/x.xctestconfiguration");
    model->scan();
    EXPECT_EQ(dispatcher.pendingTasks(), 0u);
  }

  std::string big = tree.cache("com.example.big", 52'428'800);
  std::string small = tree.cache("com.example.small", 10'485'760);
  tree.sparseFile(tree.inHome("Downloads/disk.iso"), 300 * kMiB);
  tree.file(tree.inHome("Library/Application Support/com.example.gone/data"), 64 * 1024);
  model->scan();
  EXPECT_EQ(model->scanArea(), "Starting…");
  dispatcher.runAll();
  EXPECT_THAT(messages, ElementsAre("Measuring unused caches.", "Measuring library caches.",
                                    "Measuring npm and gradle.", "Measuring chrome.",
                                    "Measuring large files.", "Measuring leftovers.", kReady));
  EXPECT_EQ(model->phase(), Phase::ready());
  EXPECT_FALSE(model->scanArea());
  EXPECT_TRUE(model->lastScannedAt());
  EXPECT_GT(model->volume().total, 0);
  EXPECT_EQ(model->caches().size(), 4u);
  EXPECT_TRUE(finding(tree.inHome("Downloads/disk.iso")) && finding("leftover:com.example.gone"));
  EXPECT_THAT(model->selected(), ElementsAre(big));

  model->select({small});  // a finished scan replaces what the user chose before
  scanToEnd();
  EXPECT_THAT(model->selected(), ElementsAre(big));
}

TEST_F(ScanModelTest, OnlyTheNewestScanPublishes) {
  model->scan();
  std::string later = tree.cache("com.example.later", 12 * kMiB);
  model->scan();
  ASSERT_EQ(dispatcher.pendingTasks(), 2u);
  // The second scan publishes first; the first, cancelled, ends afterwards and is dropped.
  dispatcher.runTask(1);
  dispatcher.runPosted();
  ASSERT_TRUE(finding(later));
  auto published = model->caches();
  messages.clear();
  dispatcher.runTask(0);
  dispatcher.runPosted();
  EXPECT_EQ(model->caches(), published);
  EXPECT_THAT(messages, IsEmpty());  // no area report, no "Scan cancelled." from the first

  // In the other order the first scan's reports are dropped too.
  messages.clear();
  model->scan();
  model->scan();
  dispatcher.runTask(0);
  dispatcher.runPosted();
  EXPECT_EQ(model->phase(), Phase::scanning());
  dispatcher.runAll();
  EXPECT_EQ(messages.front(), messages.at(1));  // the two starts, then only the second's areas
  EXPECT_EQ(messages.size(), 8u);
  EXPECT_EQ(messages.back(), kReady);

  auto scannedAt = model->lastScannedAt();
  model->scan();
  model->cancelScan();
  dispatcher.runAll();
  EXPECT_EQ(model->message(), "Scan cancelled.");
  EXPECT_EQ(model->phase(), Phase::ready());
  EXPECT_EQ(model->lastScannedAt(), scannedAt);
  EXPECT_EQ(model->caches(), published);
}

TEST_F(ScanModelTest, EmptyHomeAndUnreadableLocations) {
  scanToEnd();
  EXPECT_EQ(model->message(),
            "No large unused caches. Documents and builds were not scanned for deletion.");
  EXPECT_THAT(model->selected(), IsEmpty());

  tree.cache("com.example.big", 52'428'800);
  tree.folder(tree.inHome("Library/Containers/com.example.sandboxed"));
  std::filesystem::permissions(tree.inHome("Library/Containers"), std::filesystem::perms::none);
  // Run where permissions hold; report what the model published.
  auto run = [this](bool promptShownBefore) {
    return tree.runUnprivileged([this, promptShownBefore] {
      test::TempHome own;  // the child's own defaults file
      Locations childPlaces = tree.locations();
      platform::UserDefaults childDefaults(childPlaces.defaultsFile);
      if (promptShownBefore) childDefaults.setBool(platform::kFullDiskAccessPromptShownKey, true);
      ManualDispatcher d;
      ScanModel m(d, childPlaces, workspace, childDefaults);
      m.scan();
      d.runAll();
      return m.message() + "|" + (m.showFullDiskAccessPrompt() ? "prompt" : "-");
    });
  };
  auto first = run(false);
  if (!first) GTEST_SKIP() << "no unprivileged user to run as";
  // Full Disk Access is a setting of the system that runs us, not of the tree scanned.
  const std::string sentence = kReady + " Could not read ~/Library/Containers." +
                               (platform::hasFullDiskAccessSetting()
                                    ? " Full Disk Access is required for a complete leftovers scan."
                                    : " Check their permissions for a complete leftovers scan.");
  // Only a system with a Full Disk Access setting raises the prompt.
  EXPECT_EQ(*first, sentence + (platform::hasFullDiskAccessSetting() ? "|prompt" : "|-"));
  EXPECT_EQ(*run(true), sentence + "|-");
}

TEST_F(ScanModelTest, SelectingAListAndTheFlagsTheSheetsWrite) {
  std::string big = tree.cache("com.example.big", 12 * kMiB);
  std::string film = tree.sparseFile(tree.inHome("Desktop/film.mov"), 300 * kMiB);
  scanToEnd();
  // "Select all" chooses only what may move; "Select none" drops what it names.
  model->selectFindings({big, film}, true);
  EXPECT_THAT(model->selected(), UnorderedElementsAre(big));
  model->selectFindings({film}, false);
  EXPECT_THAT(model->selected(), UnorderedElementsAre(big));
  model->selectFindings({big}, false);
  EXPECT_THAT(model->selected(), IsEmpty());

  // The Full Disk Access sheet, closed either way, never comes back by itself.
  bool opened = false;
  model->closeFullDiskAccessPrompt([&] { opened = true; });
  EXPECT_TRUE(opened);
  EXPECT_FALSE(model->showFullDiskAccessPrompt());
  EXPECT_TRUE(defaults.boolValue(platform::kFullDiskAccessPromptShownKey));

  // Onboarding: up until finished, then only when asked for, and never under a test host.
  OnboardingGate first(defaults);
  EXPECT_TRUE(first.presented());
  first.finish();
  EXPECT_FALSE(first.presented());
  EXPECT_TRUE(defaults.boolValue(platform::kOnboardingShownKey));
  OnboardingGate later(defaults);
  EXPECT_FALSE(later.presented());
  later.present();
  EXPECT_TRUE(later.presented());
  defaults.setBool(platform::kOnboardingShownKey, false);
  test::ScopedEnv host("XCTestConfigurationFilePath", "x");
  EXPECT_FALSE(OnboardingGate(defaults).presented());
}

TEST_F(ScanModelTest, ChromeLaunchAndQuitReevaluateItsCacheOnly) {
  std::string google = tree.cache("Google", 52'428'800);
  workspace.setRunning(kChrome, true);
  scanToEnd();
  auto expectChromeOpen = [&](bool open) {
    const Finding* f = finding(google);
    ASSERT_TRUE(f);
    EXPECT_EQ(f->note == "Quit Chrome to clear its cache.", open);
    EXPECT_EQ(f->removable, !open);
    EXPECT_EQ(model->selected().count(google), open ? 0u : 1u);
  };
  expectChromeOpen(true);
  fields.clear();
  workspace.launch("com.example.Other");
  dispatcher.runPosted();
  EXPECT_THAT(fields, IsEmpty());
  workspace.quit(kChrome);
  dispatcher.runPosted();
  expectChromeOpen(false);
  workspace.launch(kChrome);
  dispatcher.runPosted();
  expectChromeOpen(true);
}

TEST_F(ScanModelTest, ClearMovesEveryKindUnderOneSessionAndPutBackRestoresThem) {
  std::string cache = tree.cache("com.example.big", 52'428'800);
  std::string file = tree.sparseFile(tree.inHome("Downloads/installer.dmg"), 209'715'200);
  tree.file(tree.inHome("Library/Application Support/com.example.gone/db"), 8192);
  tree.preference("com.example.gone");
  auto before = test::snapshot(tree.home());
  scanToEnd();
  model->select({cache, file, "leftover:com.example.gone"});
  model->clearFindings(std::nullopt);
  EXPECT_EQ(model->phase(), Phase::clearing());
  EXPECT_EQ(model->message(), "Moving the selected items to the Trash.");
  dispatcher.runAll();

  EXPECT_EQ(model->phase(), Phase::ready());
  EXPECT_FALSE(model->progress());
  EXPECT_TRUE(model->offerRecentlyCleared());
  // The installer is sparse: moving it gives back nothing, so only the cache's 50 MB count.
  EXPECT_EQ(model->message(),
            "50 MB moved to the Trash. Empty the Trash to get the space back. See Recently "
            "Cleared to put items back while they are still in the Trash.");
  EXPECT_THAT(model->caches(), IsEmpty());
  EXPECT_THAT(model->selected(), IsEmpty());
  const auto entries = model->clearedEntries();
  ASSERT_EQ(entries.size(), 4u);  // the cache, the file, and the leftover's two paths
  std::vector<std::string> kinds;
  for (const auto& e : entries) {
    kinds.push_back(e.kind);
    EXPECT_EQ(e.sessionID, entries.front().sessionID);
    EXPECT_EQ(e.trashPath.rfind(trashHome.trashFiles(), 0), 0u) << e.trashPath;
    EXPECT_FALSE(test::exists(e.originalPath));
  }
  EXPECT_THAT(kinds, UnorderedElementsAre("cache", "file", "leftover", "leftover"));

  for (const auto& e : entries) {
    EXPECT_TRUE(model->putBack(e));
    EXPECT_EQ(model->message(), e.name + " was put back.");
  }
  EXPECT_EQ(test::snapshot(tree.home()), before);
  EXPECT_FALSE(model->putBack(model->clearedEntries().front()));
  EXPECT_EQ(model->message(), model->clearedEntries().front().name + " was already put back.");
}

TEST_F(ScanModelTest, ClearReportsWhatStayedAndWhy) {
  std::string gone = tree.cache("com.example.gone", 12 * kMiB);
  std::string kept = tree.cache("com.example.kept", 12 * kMiB);
  const std::string id = "com.example.vanished";  // five paths, two of which change
  for (const char* relative : {"Application Support/", "Containers/", "WebKit/"})
    tree.file(tree.inHome("Library/") + relative + id + "/data", 4096);
  tree.file(tree.inHome("Library/Saved Application State/" + id + ".savedState/d"), 4096);
  tree.preference(id);
  std::string back = tree.file(tree.inHome("Library/Application Support/com.example.back/x"), 4096);
  scanToEnd();
  model->select({gone, kept, "leftover:" + id, "leftover:com.example.back"});

  // The test's own fixture changes under the model: a cache disappears, two leftover paths
  // become links into Documents, an app is installed again.
  std::filesystem::rename(gone, tree.inHome("elsewhere"));
  tree.folder(tree.inHome("Documents/inside"));
  for (const std::string& path :
       {tree.inHome("Library/WebKit/" + id),
        tree.inHome("Library/Saved Application State/" + id + ".savedState")}) {
    std::filesystem::rename(path, path + ".aside");
    tree.symlink(tree.inHome("Documents/inside"), path);
  }
  tree.app(tree.inRoot("Applications/Back.app"), "com.example.back");
  clearAll();
  EXPECT_THAT(model->message(),
              HasSubstr(" moved to the Trash. Empty the Trash to get the space back. vanished: 3 "
                        "of 5 items moved (2 no longer allowed). Some items stayed in place: "));
  EXPECT_THAT(model->message(), HasSubstr("back (App is installed again)"));
  EXPECT_THAT(model->message(), HasSubstr("gone ("));
  EXPECT_THAT(model->message(),
              HasSubstr("). See Recently Cleared to put items back while they are still in "
                        "the Trash."));
  EXPECT_FALSE(test::exists(kept));
  EXPECT_TRUE(test::exists(back));
  EXPECT_TRUE(test::exists(tree.inHome("Documents/inside")));
  EXPECT_EQ(model->clearedEntries().size(), 4u);  // kept, and three paths of the leftover
}

TEST_F(ScanModelTest, ALargeFileIsMeasuredAgainAsItMoves) {
  constexpr std::int64_t k200MB = 209'715'200;
  std::string replaced = tree.sparseFile(tree.inHome("Downloads/replaced.iso"), k200MB);
  std::string cut = tree.sparseFile(tree.inHome("Downloads/cut.iso"), k200MB);
  std::string grown = tree.sparseFile(tree.inHome("Movies/grown.mov"), k200MB);
  scanToEnd();
  model->select({replaced, cut, grown});
  // Between the scan and the clear: a 6-byte file takes one's name, another is cut to 6 bytes
  // in place, the third grows (blocks allocated on disk: what the move logs is what it takes).
  test::writeFile(replaced + ".new", "sixsix");
  std::filesystem::rename(replaced + ".new", replaced);
  std::filesystem::resize_file(cut, 6);
  {
    int fd = ::open(grown.c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::posix_fallocate(fd, 0, 300 * kMiB), 0);
    ::close(fd);
  }
  struct stat grownStat {};
  ASSERT_EQ(::stat(grown.c_str(), &grownStat), 0);
  clearAll();
  EXPECT_EQ(test::readFile(replaced), "sixsix");
  EXPECT_EQ(std::filesystem::file_size(cut), 6u);
  EXPECT_FALSE(test::exists(grown));
  ASSERT_EQ(model->clearedEntries().size(), 1u);
  // What it takes now, not what was listed.
  EXPECT_EQ(model->clearedEntries()[0].bytes, static_cast<std::int64_t>(grownStat.st_blocks) * 512);
  EXPECT_THAT(model->message(), HasSubstr("300 MB moved to the Trash. Empty the Trash to get the "
                                          "space back. Some items stayed in place: "));
  for (const char* name : {"replaced.iso (no longer allowed)", "cut.iso (no longer allowed)"})
    EXPECT_THAT(model->message(), HasSubstr(name));
}

TEST_F(ScanModelTest, AMoveWaitsForItsRecordAndStandsWhenTheLogCannotBeWritten) {
  std::string cache = tree.cache("com.example.big", 52'428'800);
  // The log's folder cannot be made: nothing could record a move, so nothing moves.
  const std::string folder = std::filesystem::path(places.logFile).parent_path().string();
  test::writeFile(folder, "not a folder");
  scanToEnd();
  clearAll();
  EXPECT_THAT(model->message(), HasSubstr("Some items stayed in place: "));
  EXPECT_TRUE(test::exists(cache));

  // A folder where the log should be: the move stands and its record waits in the journal,
  // shown all the same, until the log can be written.
  std::filesystem::remove(folder);
  test::makeDirs(places.logFile + "/in the way");
  scanToEnd();
  clearAll();
  EXPECT_THAT(model->message(), HasSubstr("50 MB moved to the Trash."));
  EXPECT_THAT(model->message(), HasSubstr(" Recently Cleared could not be updated ("));
  EXPECT_FALSE(test::exists(cache));
  EXPECT_TRUE(test::exists(trashHome.trashFiles() + "/com.example.big"));
  EXPECT_TRUE(test::exists(trashHome.trashInfo() + "/com.example.big.trashinfo"));
  ASSERT_EQ(model->clearedEntries().size(), 1u);
  EXPECT_TRUE(test::exists(places.logFile + "/in the way"));
  std::filesystem::remove_all(places.logFile);
  ClearedLog::recover(places);
  EXPECT_EQ(ClearedLog::decode(test::readFile(places.logFile)).value().size(), 1u);
}

}  // namespace
}  // namespace dw
