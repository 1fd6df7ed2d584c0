// The model's duplicate flow with the manual dispatcher, against real files and a real Trash.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

#include "model/scan_model.h"
#include "platform/linux/syscalls.h"
#include "support/home_builder.h"
#include "support/model_fixture.h"
#include "support/mounts.h"
#include "support/temp_dir.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Phase = ScanModel::Phase;
constexpr std::int64_t kMiB = 1'048'576;

class DuplicateFlowTest : public test::ModelFixture {
 protected:
  void SetUp() override {
    ModelFixture::SetUp();
    model->addObserver([this](ScanModel::Field field) {
      if (field == ScanModel::Field::duplicateProgress)
        progress.push_back(model->duplicateProgress().value_or("none"));
    });
  }
  // A sparse file of size bytes whose first byte is mark, dated at unixSeconds.
  std::string copy(const std::string& relative, std::int64_t size, char mark,
                   std::int64_t unixSeconds) {
    std::string path = tree.sparseFile(tree.inHome(relative), size);
    int fd = ::open(path.c_str(), O_WRONLY);
    EXPECT_EQ(::pwrite(fd, &mark, 1, 0), 1);
    ::close(fd);
    struct timespec times[2] = {{unixSeconds, 0}, {unixSeconds, 0}};
    EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    return path;
  }
  void search() {
    model->findDuplicates();
    dispatcher.runAll();
  }

  std::vector<std::string> progress;
};

TEST_F(DuplicateFlowTest, SearchPublishesGroupsKeepsTheOrganisedOriginalAndSumsTheExtraCopies) {
  {
    test::ScopedEnv host("XCTestConfigurationFilePath", "/tmp/x.xctestconfiguration");
    model->findDuplicates();
    EXPECT_EQ(dispatcher.pendingTasks(), 0u);
  }
  search();
  EXPECT_EQ(model->message(), "No duplicates found in the chosen folders.");

  // 100 MB × 3 and 50 MB × 2: 250 MB in extra copies.
  std::string a1 = copy("Downloads/a", 100 * kMiB, 'a', 1000);
  std::string a2 = copy("Movies/a", 100 * kMiB, 'a', 3000);
  std::string a3 = copy("Pictures/a", 100 * kMiB, 'a', 2000);
  std::string b1 = copy("Downloads/b", 50 * kMiB, 'b', 1000);
  std::string b2 = copy("Music/b", 50 * kMiB, 'b', 1000);
  progress.clear();
  model->findDuplicates();
  EXPECT_TRUE(model->duplicatesScanning());
  EXPECT_TRUE(model->isDuplicateSearchRunning());
  dispatcher.runAll();
  EXPECT_THAT(progress, ElementsAre("Looking for duplicates…", "Listing files", "Listing Downloads",
                                    "Listing Movies", "Listing Music", "Listing Pictures",
                                    "Sampling files", "Hashing duplicates", "Done", "none"));
  ASSERT_EQ(model->duplicateGroups().size(), 2u);
  const std::string first = model->duplicateGroups()[0].hashHex;
  // The oldest copy in Movies, Music or Pictures stays; one in Downloads only when it is the last.
  EXPECT_EQ(model->duplicateGroups()[0].files[0].path, a3);
  EXPECT_EQ(model->duplicateKeepPath().at(first), a3);
  EXPECT_EQ(model->duplicateKeepPath().at(model->duplicateGroups()[1].hashHex), b2);
  EXPECT_THAT(model->duplicateSelected(), IsEmpty());
  EXPECT_FALSE(model->duplicatesScanning());
  EXPECT_FALSE(model->isDuplicateSearchRunning());
  EXPECT_EQ(model->message(),
            "Up to 250 MB in extra copies. At least one copy of each file stays.");
  EXPECT_EQ(model->phase(), Phase::scanning());  // the search leaves the phase alone

  // Choosing another copy to keep takes it out of the selection.
  model->selectExtraCopies();
  EXPECT_THAT(model->duplicateSelected(), ::testing::UnorderedElementsAre(a1, a2, b1));
  model->keepCopy(first, a1);
  EXPECT_EQ(model->duplicateKeepPath().at(first), a1);
  EXPECT_THAT(model->duplicateSelected(), ::testing::UnorderedElementsAre(a2, b1));
  model->keepCopy(first, "/not/in/the/group");
  EXPECT_EQ(model->duplicateKeepPath().at(first), a1);

  // A new search starts from its own results: earlier choices go.
  search();
  EXPECT_EQ(model->duplicateKeepPath().at(first), a3);
  EXPECT_THAT(model->duplicateSelected(), IsEmpty());
}

TEST_F(DuplicateFlowTest, ANewSearchCancelsTheOldOneAndACancelledSearchKeepsTheLastResults) {
  copy("Downloads/a", 2 * kMiB, 'a', 1000);
  copy("Movies/a", 2 * kMiB, 'a', 2000);
  model->setDuplicateScope(DuplicateScanner::Scope{DuplicateScanner::Scope::downloads});
  model->findDuplicates();  // finds nothing in Downloads alone
  model->setDuplicateScope(DuplicateScanner::Scope::all());
  model->findDuplicates();
  dispatcher.runNextTask();  // the first, cancelled: its end is not shown
  dispatcher.runPosted();
  EXPECT_TRUE(model->duplicatesScanning());
  EXPECT_NE(model->message(), "Duplicate scan cancelled.");
  dispatcher.runAll();
  EXPECT_EQ(model->duplicateGroups().size(), 1u);

  model->findDuplicates();
  model->cancelDuplicates();
  dispatcher.runAll();
  EXPECT_EQ(model->message(), "Duplicate scan cancelled.");
  EXPECT_FALSE(model->duplicatesScanning());
  EXPECT_EQ(model->duplicateProgress(), std::nullopt);
  EXPECT_EQ(model->duplicateGroups().size(), 1u);
}

TEST_F(DuplicateFlowTest, ClearMovesTheSelectedCopiesButNeverTheKeptOne) {
  model->clearDuplicates();
  EXPECT_EQ(model->message(), "Select extra copies to clear first. One copy of each file stays.");

  std::string a1 = copy("Downloads/a", 3 * kMiB, 'a', 3000);
  std::string a2 = copy("Movies/a", 3 * kMiB, 'a', 2000);
  std::string a3 = copy("Pictures/a", 3 * kMiB, 'a', 1000);
  std::string b1 = copy("Downloads/b", 2 * kMiB, 'b', 2000);
  std::string b2 = copy("Music/b", 2 * kMiB, 'b', 1000);
  search();
  ASSERT_EQ(model->duplicateGroups().size(), 2u);
  // Every copy selected by hand, the kept ones (a3 in Pictures, b2 in Music) too.
  for (const auto& path : {a1, a2, a3, b1, b2})
    model->setDuplicateSelected(path, true);
  model->clearDuplicates();
  EXPECT_EQ(model->phase(), Phase::clearing());
  EXPECT_EQ(model->message(), "Moving extra copies to the Trash.");
  dispatcher.runAll();

  EXPECT_TRUE(test::exists(a3));
  EXPECT_TRUE(test::exists(b2));
  EXPECT_FALSE(test::exists(a1));
  EXPECT_FALSE(test::exists(a2));
  EXPECT_FALSE(test::exists(b1));
  EXPECT_EQ(model->message(),
            "Some copies stayed in place: a (no longer allowed), b (no longer allowed). Up to 8 MB "
            "moved to the Trash. Empty the Trash to get the space back.");
  EXPECT_EQ(model->phase(), Phase::ready());
  EXPECT_EQ(model->progress(), std::nullopt);
  EXPECT_EQ(model->trashedBytesThisSession(), 8 * kMiB);
  EXPECT_TRUE(model->offerRecentlyCleared());
  ASSERT_EQ(model->clearedEntries().size(), 3u);
  for (const auto& e : model->clearedEntries()) {
    EXPECT_EQ(e.kind, "duplicate");
    EXPECT_EQ(e.sessionID, model->clearedEntries()[0].sessionID);
    EXPECT_TRUE(test::exists(e.trashPath));
  }
  // Moved copies leave the groups; a group down to one copy goes.
  ASSERT_EQ(model->duplicateGroups().size(), 0u);
  EXPECT_THAT(model->duplicateSelected(), ::testing::UnorderedElementsAre(a3, b2));
  EXPECT_THAT(model->duplicateKeepPath(), IsEmpty());
}

TEST_F(DuplicateFlowTest, ACopyChangedOrAKeptCopyGoneSinceTheSearchIsRefused) {
  std::string a1 = copy("Downloads/a", 2 * kMiB, 'a', 3000);
  std::string a2 = copy("Movies/a", 2 * kMiB, 'a', 2000);
  std::string b1 = copy("Downloads/b", 3 * kMiB, 'b', 2000);
  std::string b2 = copy("Music/b", 3 * kMiB, 'b', 1000);
  search();
  model->selectExtraCopies();
  // a2 now holds other bytes of the same size; b1, the kept copy, is gone.
  int fd = ::open(a2.c_str(), O_WRONLY);
  ASSERT_EQ(::pwrite(fd, "z", 1, kMiB), 1);
  ::close(fd);
  ASSERT_EQ(::rename(b1.c_str(), (b1 + ".moved").c_str()), 0);
  auto before = test::snapshot(tree.home());
  model->clearDuplicates();
  dispatcher.runAll();
  EXPECT_EQ(test::snapshot(tree.home()), before);
  EXPECT_EQ(model->message(),
            "Some copies stayed in place: b (no longer allowed), a (no longer allowed). Up to 0 MB "
            "moved to the Trash. Empty the Trash to get the space back.");
  EXPECT_FALSE(model->offerRecentlyCleared());
  EXPECT_EQ(model->duplicateGroups().size(), 2u);

  // Stopped before the first copy: nothing moves.
  ASSERT_EQ(::rename((b1 + ".moved").c_str(), b1.c_str()), 0);
  model->clearDuplicates();
  model->stopClearing();
  dispatcher.runAll();
  EXPECT_TRUE(test::exists(b2));
  EXPECT_EQ(model->message(), "Nothing was moved to the Trash.");
  (void)a1;
}

TEST_F(DuplicateFlowTest, TheKeptCopyIsCheckedAgainBeforeEveryMove) {
  // Three copies; the kept one (the oldest in the media folders) leaves while the first extra
  // copy moves.
  std::string kept = copy("Pictures/a", 2 * kMiB, 'a', 1000);
  std::string first = copy("Movies/a", 2 * kMiB, 'a', 2000);
  std::string second = copy("Downloads/a", 2 * kMiB, 'a', 3000);
  search();
  ASSERT_EQ(model->duplicateGroups().size(), 1u);
  ASSERT_EQ(model->duplicateKeepPath().begin()->second, kept);
  model->selectExtraCopies();
  test::TempDir elsewhere;
  platform::sys::setFaultHook(
      [&, done = false](platform::sys::Step step, const std::string& path) mutable {
        if (step == platform::sys::Step::rename && path == first && !done) {
          done = true;
          std::filesystem::rename(kept, elsewhere / "a");
        }
        return 0;
      });
  std::shared_ptr<void> reset(nullptr, [](void*) { platform::sys::setFaultHook({}); });
  model->clearDuplicates();
  dispatcher.runAll();
  // The second copy is then the only one outside the Trash: it stays.
  EXPECT_FALSE(test::exists(first));
  EXPECT_TRUE(test::exists(second));
  EXPECT_EQ(model->message(),
            "Some copies stayed in place: a (no longer allowed). Up to 2 MB moved to the Trash. "
            "Empty the Trash to get the space back.");
  ASSERT_EQ(model->clearedEntries().size(), 1u);
  EXPECT_EQ(model->clearedEntries()[0].originalPath, first);
}

TEST_F(DuplicateFlowTest, SharingIsOfferedWhereTheFileSystemCanAndRunsAsAMove) {
  // On ext4 and on tmpfs nothing shares: the option is not offered.
  test::makeDirs(tree.inHome("Pictures"));
  test::ScopedTmpfs tmpfs(tree.inHome("Pictures"));
  if (!tmpfs.mounted()) GTEST_SKIP() << tmpfs.error();
  // Dated apart, so which copy of each pair is kept (the older) never depends on the clock.
  auto dated = [&](const std::string& relative, char mark, std::int64_t unixSeconds) {
    const std::string path = tree.inHome(relative);
    test::writeSized(path, 2 * kMiB, mark);
    struct timespec times[2] = {{unixSeconds, 0}, {unixSeconds, 0}};
    EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  };
  dated("Movies/e1", 'e', 2000);
  dated("Movies/e2", 'e', 1000);
  dated("Pictures/t1", 't', 2000);
  dated("Pictures/t2", 't', 1000);
  search();
  ASSERT_EQ(model->duplicateGroups().size(), 2u);
  EXPECT_FALSE(model->canShareDuplicates());

  // Downloads on Btrfs: a group there can share.
  test::ScopedLoopMount btrfs(test::ScopedLoopMount::Kind::btrfs, tree.inHome("Downloads"));
  if (!btrfs.mounted()) GTEST_SKIP() << btrfs.error();
  test::writeSized(tree.inHome("Downloads/s1"), 3 * kMiB, 's');
  test::writeSized(tree.inHome("Downloads/s2"), 3 * kMiB, 's');
  const std::string s3 = tree.inHome("Downloads/s3");
  test::writeSized(s3, 3 * kMiB, 's');
  fields.clear();
  search();
  EXPECT_THAT(fields, ::testing::Contains(ScanModel::Field::duplicateSharing));
  ASSERT_EQ(model->duplicateGroups().size(), 3u);
  EXPECT_TRUE(model->canShareDuplicates());
  model->selectExtraCopies();
  Sharing::Plan plan = model->sharePlan();
  EXPECT_EQ(plan.sharing, 2);
  EXPECT_EQ(plan.freeable, 6 * kMiB);
  EXPECT_EQ(plan.copies.size(), 4u);

  model->shareDuplicates();
  EXPECT_EQ(model->phase(), Phase::clearing());
  EXPECT_EQ(model->message(), "Sharing extra copies with their kept copies.");
  EXPECT_EQ(model->progress(), (ScanModel::Progress{0, 4, ""}));
  dispatcher.runAll();
  EXPECT_EQ(model->phase(), Phase::ready());
  EXPECT_EQ(model->message(),
            "Sharing freed 6 MB: 2 copies now use the blocks of an identical file, and every "
            "file stays where it was. Some copies stayed as they were: e1 (its file system "
            "cannot share blocks), t1 (its file system cannot share blocks).");
  // Nothing moved: every file is in its group, nothing went to the Trash.
  EXPECT_EQ(model->duplicateGroups().size(), 3u);
  EXPECT_TRUE(test::exists(s3));
  EXPECT_EQ(model->trashedBytesThisSession(), 0);
  EXPECT_TRUE(model->offerRecentlyCleared());
  ASSERT_EQ(model->clearedEntries().size(), 1u);
  EXPECT_EQ(model->clearedEntries()[0].kind, "share");
  EXPECT_EQ(model->clearedEntries()[0].bytes, 6 * kMiB);
  // The shared copies leave the selection; the next review has nothing more to share there.
  EXPECT_THAT(
      model->duplicateSelected(),
      ::testing::UnorderedElementsAre(tree.inHome("Movies/e1"), tree.inHome("Pictures/t1")));
  model->selectExtraCopies();
  EXPECT_EQ(model->sharePlan().sharing, 0);
}

}  // namespace
}  // namespace dw
