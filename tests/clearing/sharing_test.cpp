// Sharing copies on real file systems: a loop-mounted Btrfs and an XFS with reflink, beside ext4
// and tmpfs, which cannot share. Every file keeps its bytes, times, mode and inode; a copy
// written during the share keeps what was written; free space grows by what was predicted.

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <random>

#include "clearing/cleared_log.h"
#include "clearing/sharing.h"
#include "platform/linux/syscalls.h"
#include "scanners/duplicates/duplicate_scanner.h"
#include "support/command.h"
#include "support/home_builder.h"
#include "support/mounts.h"
#include "support/temp_dir.h"
#include "texts/sharing.h"

namespace dw {
namespace {

namespace sys = platform::sys;
namespace share = platform::share;
using Kind = test::ScopedLoopMount::Kind;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;
constexpr std::int64_t kMiB = 1'048'576;

std::string randomBytes(size_t n, unsigned seed) {
  std::mt19937 rng(seed);
  std::string bytes(n, '\0');
  for (char& c : bytes)
    c = static_cast<char>(rng());
  return bytes;
}

// Writes the file and flushes it, so that its blocks have their place on disk.
void writeSynced(const std::string& path, const std::string& bytes, mode_t mode = 0644) {
  test::writeFile(path, bytes);
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(fd, 0) << path;
  ::fsync(fd);
  ::close(fd);
  ASSERT_EQ(::chmod(path.c_str(), mode), 0);
}

void setModified(const std::string& path, time_t seconds) {
  timespec times[2] = {{seconds, 0}, {seconds, 250'000'000}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

// What must not change about a file: its bytes, inode, mode, owner and times.
struct Look {
  std::string bytes;
  ino_t inode;
  mode_t mode;
  uid_t owner;
  timespec modified, changed;
  bool operator==(const Look& o) const {
    return bytes == o.bytes && inode == o.inode && mode == o.mode && owner == o.owner &&
           modified.tv_sec == o.modified.tv_sec && modified.tv_nsec == o.modified.tv_nsec &&
           changed.tv_sec == o.changed.tv_sec && changed.tv_nsec == o.changed.tv_nsec;
  }
};
Look lookOf(const std::string& path) {
  struct stat s {};
  EXPECT_EQ(::lstat(path.c_str(), &s), 0) << path;
  return {test::readFile(path), s.st_ino, s.st_mode, s.st_uid, s.st_mtim, s.st_ctim};
}

class ShareCopies : public ::testing::Test {
 protected:
  test::TempHome trashHome;
  test::HomeBuilder home{Locations::Layout::linux};
  Locations places = home.locations();
  DuplicateScanner::Scope scope = DuplicateScanner::Scope::all();
  std::shared_ptr<void> resetHook{nullptr, [](void*) { sys::setFaultHook({}); }};

  // Downloads (or another folder) on a file system of its own.
  std::unique_ptr<test::ScopedLoopMount> mount(Kind kind, const std::string& folder = "Downloads") {
    return std::make_unique<test::ScopedLoopMount>(kind, home.inHome(folder));
  }
  Clearing::DuplicateCopy copyOf(const std::string& path, const std::string& kept,
                                 std::int64_t bytes) {
    return {path, bytes, "", kept};
  }
};

// Tests that cannot mount say so and skip.
#define MOUNT_OR_SKIP(var, kind, ...)    \
  auto var = mount(kind, ##__VA_ARGS__); \
  if (!var->mounted()) GTEST_SKIP() << var->error()

TEST_F(ShareCopies, SharesAGroupOnBtrfsAndXfsLeavingEveryFileAsItWas) {
  for (Kind kind : {Kind::btrfs, Kind::xfs}) {
    SCOPED_TRACE(test::ScopedLoopMount::name(kind));
    MOUNT_OR_SKIP(fs, kind);
    const std::string bytes = randomBytes(3 * kMiB + 1234, 7);
    const std::string kept = home.inHome("Downloads/film.mov");
    const std::string copy1 = home.inHome("Downloads/old/film.mov");
    const std::string copy2 = home.inHome("Downloads/film copy.mov");
    test::makeDirs(home.inHome("Downloads/old"));
    writeSynced(kept, bytes, 0644);
    writeSynced(copy1, bytes, 0600);
    writeSynced(copy2, bytes, 0640);
    setModified(copy1, 1'000'000'000);
    setModified(copy2, 1'200'000'000);
    const Look keptBefore = lookOf(kept), copy1Before = lookOf(copy1), copy2Before = lookOf(copy2);

    // Before: the file system can share, and what it can free is the copies' own blocks.
    std::vector<Clearing::DuplicateCopy> copies = {copyOf(copy1, kept, bytes.size()),
                                                   copyOf(copy2, kept, bytes.size())};
    Sharing::Survey before = Sharing::survey({kept, copy1, copy2});
    DuplicateScanner::Group group{"", static_cast<std::int64_t>(bytes.size()), {}};
    for (const auto& p : {kept, copy1, copy2})
      group.files.push_back({p, static_cast<std::int64_t>(bytes.size())});
    EXPECT_TRUE(Sharing::canShareAny({group}, before));
    Sharing::Plan plan = Sharing::plan(copies, before);
    const std::int64_t blocks = (3 * kMiB + 1234 + 4095) / 4096 * 4096;
    EXPECT_EQ(plan.sharing, 2);
    EXPECT_EQ(plan.freeable, 2 * blocks);
    EXPECT_EQ(texts::sharing::planSummary(plan),
              "Sharing can free about 6 MB. Every file stays where it is.");

    std::vector<std::string> progress;
    Sharing::Outcome out =
        Sharing::share(copies, places, scope, {},
                       [&](const Clearing::Progress& p) { progress.push_back(p.current); });
    EXPECT_THAT(progress, ElementsAre("film.mov", "film copy.mov"));
    EXPECT_THAT(out.sharedPaths, ElementsAre(copy1, copy2));
    EXPECT_TRUE(out.failures.empty());
    EXPECT_EQ(out.predictedBytes, 2 * blocks);
    // Measured from the file system's free space: exactly what the extent maps predicted.
    EXPECT_EQ(out.freedBytes, out.predictedBytes);
    EXPECT_EQ(out.movedBytes, 0);

    // Every file as it was: bytes, inode, mode, owner, modification and change times.
    EXPECT_TRUE(lookOf(kept) == keptBefore);
    EXPECT_TRUE(lookOf(copy1) == copy1Before);
    EXPECT_TRUE(lookOf(copy2) == copy2Before);
    // ... and the copies now use the kept file's blocks: a second share has nothing to do.
    Sharing::Survey after = Sharing::survey({kept, copy1, copy2});
    EXPECT_TRUE(share::sameBlocks(after.files.at(kept), after.files.at(copy1)));
    Sharing::Plan again = Sharing::plan(copies, after);
    EXPECT_EQ(again.sharing, 0);
    EXPECT_EQ(again.copies[0].reason, Sharing::kAlreadySharing);
    EXPECT_EQ(texts::sharing::message(Sharing::share(copies, places, scope, {})),
              "Some copies stayed as they were: film.mov (already shares its blocks), film "
              "copy.mov (already shares its blocks).");

    // One record for the share; nothing went to the Trash.
    ASSERT_EQ(out.entries.size(), 1u);
    const ClearedLog::Entry& e = out.entries[0];
    EXPECT_EQ(e.kind, "share");
    EXPECT_EQ(e.bytes, out.freedBytes);
    EXPECT_EQ(e.trashPath, "");
    EXPECT_EQ(e.name, "film.mov");
    EXPECT_EQ(e.originalPath, home.inHome("Downloads"));
    EXPECT_THAT(e.shared, ElementsAre(ClearedLog::SharedCopy{copy1, kept},
                                      ClearedLog::SharedCopy{copy2, kept}));
    EXPECT_FALSE(test::exists(trashHome.trashFiles()));
    EXPECT_EQ(texts::sharing::message(out),
              "Sharing freed 6 MB: 2 copies now use the blocks of an identical file, and every "
              "file stays where it was.");
    fs.reset();
  }
}

TEST_F(ShareCopies, ACopyWrittenDuringTheShareKeepsItsNewBytes) {
  MOUNT_OR_SKIP(fs, Kind::btrfs);
  const std::string bytes = randomBytes(2 * kMiB, 11);
  const std::string kept = home.inHome("Downloads/a.bin");
  const std::string copy = home.inHome("Downloads/b.bin");
  const std::string other = home.inHome("Downloads/c.bin");
  for (const auto& p : {kept, copy, other})
    writeSynced(p, bytes);
  std::string written = bytes;
  written.replace(kMiB, 5, "fresh");

  // Someone writes to the copy at the last moment, just before the kernel's request.
  sys::setFaultHook([&](sys::Step step, const std::string& path) {
    if (step == sys::Step::share && path == copy) test::writeFile(copy, written);
    return 0;
  });
  Sharing::Outcome out = Sharing::share(
      {copyOf(copy, kept, bytes.size()), copyOf(other, kept, bytes.size())}, places, scope, {});
  EXPECT_EQ(test::readFile(copy), written);
  EXPECT_EQ(test::readFile(kept), bytes);
  EXPECT_THAT(out.sharedPaths, ElementsAre(other));
  ASSERT_EQ(out.failures.size(), 1u);
  EXPECT_EQ(out.failures[0], (Clearing::Failure{"b.bin", std::string(Sharing::kChanged)}));
  Sharing::Survey after = Sharing::survey({kept, copy, other});
  EXPECT_FALSE(share::sameBlocks(after.files.at(kept), after.files.at(copy)));
  EXPECT_TRUE(share::sameBlocks(after.files.at(kept), after.files.at(other)));

  // The kept copy written at that moment: no copy takes its new bytes, each keeps its own.
  const std::string copy3 = home.inHome("Downloads/d.bin");
  writeSynced(copy3, bytes);
  std::string keptWritten = bytes;
  keptWritten.replace(10, 3, "new");
  sys::setFaultHook([&](sys::Step step, const std::string&) {
    if (step == sys::Step::share) test::writeFile(kept, keptWritten);
    return 0;
  });
  out = Sharing::share({copyOf(copy3, kept, bytes.size())}, places, scope, {});
  EXPECT_TRUE(out.sharedPaths.empty());
  EXPECT_EQ(test::readFile(copy3), bytes);
  EXPECT_EQ(test::readFile(kept), keptWritten);
  EXPECT_TRUE(out.entries.empty());
  EXPECT_EQ(texts::sharing::message(out),
            "Some copies stayed as they were: d.bin (changed since the search).");

  // A refusal of the system is named in its own words.
  writeSynced(copy3, keptWritten);
  sys::setFaultHook(
      [](sys::Step step, const std::string&) { return step == sys::Step::share ? EPERM : 0; });
  out = Sharing::share({copyOf(copy3, kept, bytes.size())}, places, scope, {});
  EXPECT_THAT(out.failures, ElementsAre(Clearing::Failure{"d.bin", "Operation not permitted"}));
}

TEST_F(ShareCopies, WhatCannotShareStaysWithItsReason) {
  MOUNT_OR_SKIP(fs, Kind::btrfs);
  MOUNT_OR_SKIP(other, Kind::ext4, "Music");
  test::ScopedTmpfs tmpfs(home.inHome("Pictures"));
  if (!tmpfs.mounted()) GTEST_SKIP() << tmpfs.error();

  const std::string bytes = randomBytes(kMiB + 77, 3);
  const std::string kept = home.inHome("Downloads/k.jpg");
  const std::string onExt4 = home.inHome("Music/k.jpg");
  const std::string onTmpfs = home.inHome("Pictures/k.jpg");
  const std::string cloned = home.inHome("Downloads/clone.jpg");
  const std::string linked = home.inHome("Downloads/link.jpg");
  const std::string grown = home.inHome("Downloads/grown.jpg");
  const std::string gone = home.inHome("Downloads/gone.jpg");
  for (const auto& p : {kept, onExt4, onTmpfs})
    writeSynced(p, bytes);
  writeSynced(grown, bytes + "more");
  // A clone made by the file system: it already uses the kept file's blocks.
  {
    int from = ::open(kept.c_str(), O_RDONLY | O_CLOEXEC);
    int to = ::open(cloned.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    ASSERT_EQ(::ioctl(to, FICLONE, from), 0);
    ::close(from);
    ::close(to);
  }
  ASSERT_EQ(::link(kept.c_str(), linked.c_str()), 0);

  // On a Btrfs subvolume: another device number, the same file system, so it shares.
  ASSERT_EQ(test::runCommand({"btrfs", "subvolume", "create", home.inHome("Downloads/sub")}).status,
            0);
  const std::string inSubvolume = home.inHome("Downloads/sub/k.jpg");
  writeSynced(inSubvolume, bytes);

  const auto n = static_cast<std::int64_t>(bytes.size());
  std::vector<Clearing::DuplicateCopy> copies = {
      copyOf(onExt4, kept, n),     copyOf(onTmpfs, kept, n), copyOf(cloned, kept, n),
      copyOf(linked, kept, n),     copyOf(grown, kept, n),   copyOf(gone, kept, n),
      copyOf(inSubvolume, kept, n)};
  Sharing::Outcome out = Sharing::share(copies, places, scope, {});
  EXPECT_THAT(out.sharedPaths, ElementsAre(inSubvolume));
  EXPECT_THAT(out.failures,
              ElementsAre(Clearing::Failure{"k.jpg", std::string(Sharing::kOtherFileSystem)},
                          Clearing::Failure{"k.jpg", std::string(Sharing::kOtherFileSystem)},
                          Clearing::Failure{"clone.jpg", std::string(Sharing::kAlreadySharing)},
                          Clearing::Failure{"link.jpg", std::string(Sharing::kAlreadySharing)},
                          Clearing::Failure{"grown.jpg", std::string(Sharing::kChanged)},
                          Clearing::Failure{"gone.jpg", "no longer allowed"}));
  EXPECT_EQ(test::readFile(onExt4), bytes);
  EXPECT_EQ(test::readFile(grown), bytes + "more");

  // ext4 and tmpfs cannot share: a group there offers nothing, and the probe says so.
  const std::string ext4Copy = home.inHome("Music/copy.jpg");
  const std::string tmpfsCopy = home.inHome("Pictures/copy.jpg");
  writeSynced(ext4Copy, bytes);
  writeSynced(tmpfsCopy, bytes);
  EXPECT_EQ(share::probe(ext4Copy), share::Probe::no);
  EXPECT_EQ(share::probe(tmpfsCopy), share::Probe::no);
  EXPECT_EQ(share::probe(kept), share::Probe::yes);
  auto groupOf = [&](std::vector<std::string> files) {
    DuplicateScanner::Group g{"", n, {}};
    for (const auto& f : files)
      g.files.push_back({f, n});
    return g;
  };
  std::vector<DuplicateScanner::Group> groups = {
      groupOf({onExt4, ext4Copy}), groupOf({onTmpfs, tmpfsCopy}), groupOf({kept, onExt4, onTmpfs})};
  Sharing::Survey survey = Sharing::survey(groups);
  EXPECT_FALSE(Sharing::canShareAny(groups, survey));
  Sharing::Plan plan = Sharing::plan({copyOf(ext4Copy, onExt4, n)}, survey);
  EXPECT_EQ(plan.copies[0].reason, Sharing::kCannotShare);
  EXPECT_EQ(texts::sharing::planSummary(plan), "Nothing can be shared.");
  groups.push_back(groupOf({kept, inSubvolume}));
  EXPECT_TRUE(Sharing::canShareAny(groups, Sharing::survey(groups)));

  // The kept copy on ext4 and two copies on Btrfs: the second uses the first's blocks, and
  // the first stays as it is.
  const std::string x1 = home.inHome("Downloads/x1.jpg"), x2 = home.inHome("Downloads/x2.jpg");
  writeSynced(x1, bytes);
  writeSynced(x2, bytes);
  out = Sharing::share({copyOf(x1, onExt4, n), copyOf(x2, onExt4, n)}, places, scope, {});
  EXPECT_THAT(out.sharedPaths, ElementsAre(x2));
  EXPECT_THAT(out.failures,
              ElementsAre(Clearing::Failure{"x1.jpg", std::string(Sharing::kOtherFileSystem)}));
  ASSERT_EQ(out.entries.size(), 1u);
  EXPECT_THAT(out.entries[0].shared, ElementsAre(ClearedLog::SharedCopy{x2, x1}));
  Sharing::Survey now = Sharing::survey({x1, x2});
  EXPECT_TRUE(share::sameBlocks(now.files.at(x1), now.files.at(x2)));
}

TEST_F(ShareCopies, AStopComesBeforeTheNextCopyAndEachFileSystemGetsItsRecord) {
  MOUNT_OR_SKIP(fs, Kind::btrfs);
  MOUNT_OR_SKIP(xfs, Kind::xfs, "Music");
  const std::string bytes = randomBytes(kMiB + 5, 5);
  std::vector<std::string> files;
  for (const char* p : {"Downloads/a", "Downloads/b", "Downloads/c", "Music/a", "Music/b"}) {
    files.push_back(home.inHome(p));
    writeSynced(files.back(), bytes);
  }
  const auto n = static_cast<std::int64_t>(bytes.size());
  std::stop_source stop;
  int seen = 0;
  std::vector<Clearing::DuplicateCopy> copies = {
      copyOf(files[1], files[0], n), copyOf(files[4], files[3], n), copyOf(files[2], files[0], n)};
  Sharing::Outcome out =
      Sharing::share(copies, places, scope, stop.get_token(), [&](const Clearing::Progress&) {
        if (++seen == 2) stop.request_stop();
      });
  EXPECT_TRUE(out.stopped);
  EXPECT_THAT(out.sharedPaths, ElementsAre(files[1], files[4]));
  ASSERT_EQ(out.entries.size(), 2u);
  EXPECT_EQ(out.entries[0].sessionID, out.entries[1].sessionID);
  EXPECT_EQ(out.entries[0].bytes + out.entries[1].bytes, out.freedBytes);
  EXPECT_THAT(std::vector<std::string>({out.entries[0].originalPath, out.entries[1].originalPath}),
              UnorderedElementsAre(home.inHome("Downloads"), home.inHome("Music")));
  EXPECT_EQ(out.freedBytes, 2 * ((n + 4095) / 4096 * 4096));
  EXPECT_THAT(texts::sharing::message(out),
              ::testing::EndsWith(" Sharing stopped after the current copy."));

  std::stop_source before;
  before.request_stop();
  out = Sharing::share(copies, places, scope, before.get_token());
  EXPECT_TRUE(out.sharedPaths.empty());
  EXPECT_TRUE(out.entries.empty());
  EXPECT_EQ(texts::sharing::message(out), "Sharing stopped. Nothing was shared.");
}

}  // namespace
}  // namespace dw
