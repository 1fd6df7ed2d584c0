// The clear of duplicate copies below the model: re-checks, a refused move, and its messages.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <memory>

#include "clearing/clearing.h"
#include "platform/linux/syscalls.h"
#include "scanners/duplicates/duplicate_scanner.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"
#include "texts/moves.h"

namespace dw {
namespace {

namespace sys = platform::sys;
using ::testing::ElementsAre;
constexpr std::int64_t kMiB = 1'048'576;

TEST(DuplicateClearing, MovesCopiesOneByOneAndNamesWhatStayed) {
  test::TempHome trashHome;
  test::HomeBuilder mac;
  Locations places = mac.locations();
  std::string kept = mac.inHome("Downloads/song.mp3");
  std::string copy1 = mac.inHome("Music/song.mp3");
  std::string copy2 = mac.inHome("Pictures/song copy.mp3");
  std::string locked = mac.inHome("Movies/song.mp3");
  for (const auto& path : {kept, copy1, copy2, locked})
    test::writeSized(path, kMiB + 3, 's');
  std::string hash = DuplicateScanner::fullDigest(kept);
  auto identity = [](const std::string& path) {
    std::optional<Clearing::Measured> now = Clearing::measureForMove(path);
    return now ? now->identity : FileIdentity{};
  };
  auto copyOf = [&](const std::string& path) {
    return Clearing::DuplicateCopy{path, kMiB + 3, hash, kept, identity(path), identity(kept)};
  };

  // The system refuses one move; the copy stays and its reason is the system's.
  sys::setFaultHook([&](sys::Step step, const std::string& path) {
    return step == sys::Step::rename && path == locked ? EACCES : 0;
  });
  std::shared_ptr<void> reset(nullptr, [](void*) { sys::setFaultHook({}); });
  std::vector<std::string> progress;
  Clearing::Outcome out = Clearing::clearDuplicates(
      {copyOf(copy1), copyOf(locked), copyOf(kept), copyOf(copy2)}, places,
      DuplicateScanner::Scope::all(), {},
      [&](const Clearing::Progress& p) { progress.push_back(p.current); });
  EXPECT_THAT(progress, ElementsAre("song.mp3", "song.mp3", "song.mp3", "song copy.mp3"));
  EXPECT_TRUE(test::exists(kept));
  EXPECT_TRUE(test::exists(locked));
  EXPECT_FALSE(test::exists(copy1));
  EXPECT_FALSE(test::exists(copy2));
  ASSERT_EQ(out.entries.size(), 2u);
  EXPECT_EQ(out.entries[0].originalPath, copy1);
  EXPECT_EQ(out.entries[1].name, "song copy.mp3");
  EXPECT_EQ(out.entries[1].kind, "duplicate");
  EXPECT_EQ(out.entries[0].sessionID, out.sessionID);
  EXPECT_EQ(out.movedBytes, 2 * (kMiB + 3));
  EXPECT_EQ(out.failures, (std::vector<Clearing::Failure>{{"song.mp3", "Permission denied"},
                                                          {"song.mp3", "no longer allowed"}}));

  // The one move of the seam says why it failed.
  Clearing::Outcome single;
  auto failure =
      Clearing::moveOne({locked, 1, "duplicate", "song.mp3", identity(locked), {}}, places, single);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->reason, "Permission denied");
  EXPECT_TRUE(failure->permissionDenied);
  EXPECT_TRUE(single.entries.empty());

  // Once it may, the copy moves.
  sys::setFaultHook({});
  Clearing::Outcome moved =
      Clearing::clearDuplicates({copyOf(locked)}, places, DuplicateScanner::Scope::all(), {});
  EXPECT_TRUE(moved.failures.empty());
  EXPECT_EQ(moved.entries.size(), 1u);
  // A stop before the first copy moves nothing.
  std::stop_source stop;
  stop.request_stop();
  Clearing::Outcome stopped = Clearing::clearDuplicates(
      {copyOf(copy1)}, places, DuplicateScanner::Scope::all(), stop.get_token());
  EXPECT_TRUE(stopped.stopped);
  EXPECT_TRUE(stopped.entries.empty());
}

// A co-user who may write a folder inside Downloads swaps it for a link to Documents while the
// copy in it is being hashed: what moves is still the copy that was hashed, from the folder that
// was opened, and the private file behind the link stays.
TEST(DuplicateClearing, AFolderSwappedDuringTheHashNeverRedirectsTheMove) {
  test::TempHome trashHome;
  test::HomeBuilder mac;
  Locations places = mac.locations();
  std::string kept = mac.inHome("Pictures/report.pdf");
  std::string copy = mac.inHome("Downloads/shared/report.pdf");
  std::string shared = mac.inHome("Downloads/shared");
  std::string mine = mac.inHome("Documents/report.pdf");
  test::writeSized(kept, 2 * kMiB, 'r');
  test::writeSized(copy, 2 * kMiB, 'r');
  test::writeFile(mine, "the user's own report");
  std::string hash = DuplicateScanner::fullDigest(kept);
  auto identity = [](const std::string& path) {
    return Clearing::measureForMove(path).value().identity;
  };
  Clearing::DuplicateCopy duplicate{copy, 2 * kMiB, hash, kept, identity(copy), identity(kept)};
  // At the first call of the step (on `at`, when given), the folder becomes a link to Documents.
  auto swapAt = [&](sys::Step when, const std::string& at) {
    std::string documents = mac.inHome("Documents");
    sys::setFaultHook([=, done = false](sys::Step step, const std::string& path) mutable {
      if (step == when && (at.empty() || path == at) && !done) {
        done = true;
        std::filesystem::rename(shared, shared + ".real");
        std::filesystem::create_directory_symlink(documents, shared);
      }
      return 0;
    });
  };
  auto restore = [&] {
    std::filesystem::remove(shared);
    std::filesystem::rename(shared + ".real", shared);
    test::writeSized(copy, 2 * kMiB, 'r');
    duplicate.identity = identity(copy);
  };
  std::shared_ptr<void> reset(nullptr, [](void*) { sys::setFaultHook({}); });

  // As the copy is read through its open folder, and after that, just before its rename.
  for (sys::Step step : {sys::Step::checkItem, sys::Step::reserveInfo}) {
    swapAt(step, step == sys::Step::checkItem ? copy : "");
    Clearing::Outcome out =
        Clearing::clearDuplicates({duplicate}, places, DuplicateScanner::Scope::all(), {});
    ASSERT_EQ(out.entries.size(), 1u) << texts::failureSummary(out.failures);
    EXPECT_EQ(out.entries[0].originalPath, copy);
    EXPECT_EQ(test::readFile(mine), "the user's own report");
    EXPECT_EQ(test::readFile(out.entries[0].trashPath), test::readFile(kept));
    EXPECT_FALSE(test::exists(shared + ".real/report.pdf"));
    restore();
  }

  // Before the folder is opened: the link is never followed, and nothing moves.
  swapAt(sys::Step::openFolder, shared);
  Clearing::Outcome out =
      Clearing::clearDuplicates({duplicate}, places, DuplicateScanner::Scope::all(), {});
  EXPECT_TRUE(out.entries.empty());
  ASSERT_EQ(out.failures.size(), 1u);
  EXPECT_EQ(test::readFile(mine), "the user's own report");
  EXPECT_TRUE(test::exists(shared + ".real/report.pdf"));
}

}  // namespace
}  // namespace dw
