#include "measure/tree_walker.h"

#include <fcntl.h>
#include <fts.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "base/core.h"
#include "measure/disk_sizer.h"
#include "support/command.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

namespace fs = std::filesystem;
using test::TempDir;
using test::writeSized;

std::int64_t du(const std::string& path) {
  return std::stoll(test::runCommand({"du", "-sx", "--block-size=1", path}).out);
}

// The rules of a measurement, walked the plain way: fts with full paths, one thread.
DiskSizer::SizeReading reference(const std::string& path) {
  char* roots[] = {const_cast<char*>(path.c_str()), nullptr};
  FTS* fts = fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR | FTS_XDEV, nullptr);
  std::int64_t total = 0, newest = 0;
  bool any = false;
  std::set<std::pair<dev_t, ino_t>> seen;
  while (FTSENT* e = fts_read(fts)) {
    const struct stat* s = e->fts_statp;
    if (e->fts_info == FTS_D || e->fts_info == FTS_SL || e->fts_info == FTS_SLNONE) {
      total += s->st_blocks * 512;
    } else if (e->fts_info == FTS_F || e->fts_info == FTS_DEFAULT) {
      if (s->st_nlink >= 2 && !seen.emplace(s->st_dev, s->st_ino).second) continue;
      total += s->st_blocks * 512;
      any = true;
      newest = std::max<std::int64_t>(newest, s->st_mtim.tv_sec);
    }
  }
  fts_close(fts);
  DiskSizer::SizeReading r{total, std::nullopt};
  if (any) r.newest = TimePoint(std::chrono::seconds(newest));
  return r;
}

// Counts what the walk reports, one visitor per thread.
struct Counter : TreeWalker::Visitor {
  TreeWalker::LinkSet* links;
  std::int64_t bytes = 0, newest = 0;
  size_t folders = 0, entries = 0;
  explicit Counter(TreeWalker::LinkSet* l) : links(l) {}
  bool directory(const TreeWalker::Item& item, std::uint64_t&) override {
    bytes += TreeWalker::allocated(*item.stat);
    ++folders;
    return true;
  }
  void entry(const TreeWalker::Item& item) override {
    const struct stat& s = *item.stat;
    ++entries;
    if (item.kind != TreeWalker::Kind::symlink && s.st_nlink >= 2 &&
        !links->first(s.st_dev, s.st_ino))
      return;
    bytes += TreeWalker::allocated(s);
    if (item.kind != TreeWalker::Kind::symlink)
      newest = std::max<std::int64_t>(newest, s.st_mtim.tv_sec);
  }
};

// What second threads reported, over the walks of a test: one asked for at once must have
// done some of the work in at least one of several walks (on a busy machine the first thread
// may finish a single walk before the second is scheduled).
size_t secondThreadEntries = 0;

DiskSizer::SizeReading walked(const std::string& root, TreeWalker::Options options,
                              size_t* folders = nullptr) {
  TreeWalker::LinkSet links;
  Counter a(&links), b(&links);
  EXPECT_TRUE(TreeWalker::walk(root, {&a, &b}, options));
  if (folders) *folders = a.folders + b.folders;
  secondThreadEntries += b.entries;
  DiskSizer::SizeReading r{a.bytes + b.bytes, std::nullopt};
  std::int64_t newest = std::max(a.newest, b.newest);
  if (newest) r.newest = TimePoint(std::chrono::seconds(newest));
  return r;
}

// A tree with everything a walk must get right: hard links across folders, sparse files, links
// (dangling ones too), a named pipe, an empty folder, and enough entries for two threads.
void buildMixedTree(const std::string& tree) {
  for (int d = 0; d < 40; ++d) {
    for (int f = 0; f < 120; ++f) {
      std::string folder = tree + "/d" + std::to_string(d) + "/s" + std::to_string(f % 6);
      test::writeFile(folder + "/f" + std::to_string(f),
                      std::string(static_cast<size_t>(f * 97 % 9000), 'q'));
    }
  }
  writeSized(tree + "/big/data", 1 << 20);
  ASSERT_EQ(::link((tree + "/big/data").c_str(), (tree + "/d3/s1/twin").c_str()), 0);
  ASSERT_EQ(::link((tree + "/big/data").c_str(), (tree + "/d39/s5/twin").c_str()), 0);
  test::writeFile(tree + "/sparse", "x");
  ASSERT_EQ(::truncate((tree + "/sparse").c_str(), 1ll << 34), 0);
  ASSERT_EQ(::symlink("../big", (tree + "/d1/to-big").c_str()), 0);
  ASSERT_EQ(::symlink("nowhere", (tree + "/d2/dangling").c_str()), 0);
  ASSERT_EQ(::mkfifo((tree + "/d4/pipe").c_str(), 0600), 0);
  test::makeDirs(tree + "/empty/inner");
  const timespec later[2] = {{4'000'000'000, 0}, {4'000'000'000, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, (tree + "/d39/s5/twin").c_str(), later, 0), 0);
}

TEST(TreeWalker, SameBytesAndDateAsTheFtsWalkWithOneOrTwoThreads) {
  TempDir t;
  const std::string tree = t / "tree";
  buildMixedTree(tree);
  DiskSizer::SizeReading expected = reference(tree);
  ASSERT_EQ(expected.bytes, du(tree));
  ASSERT_EQ(expected.newest, TimePoint(std::chrono::seconds(4'000'000'000)));

  TreeWalker::Options one;
  one.threads = 1;
  TreeWalker::Options two;
  two.secondThreadAfter = 1;  // the second thread joins at once and takes folders
  TreeWalker::Options tight = two;
  tight.heldDirectories = 2;  // folders released and reopened all the time
  size_t foldersOne = 0, foldersTwo = 0;
  EXPECT_EQ(walked(tree, one, &foldersOne), expected);
  secondThreadEntries = 0;
  for (int i = 0; i < 5; ++i)
    EXPECT_EQ(walked(tree, two, &foldersTwo), expected) << "round " << i;
  EXPECT_GT(secondThreadEntries, 0u);
  EXPECT_EQ(foldersOne, foldersTwo);
  EXPECT_EQ(walked(tree, tight), expected);
  EXPECT_EQ(DiskSizer::measure(tree), expected);
  EXPECT_EQ(DiskSizer::measureWithLargest(tree, 3, 12).reading, expected);
  // The starting point given with a slash after it, or as a single file or link.
  EXPECT_EQ(DiskSizer::measure(tree + "/"), expected);
  EXPECT_EQ(DiskSizer::measure(tree + "/big/data").bytes, 1 << 20);
  EXPECT_EQ(DiskSizer::measure(tree + "/d1/to-big"), reference(tree + "/d1/to-big"));
  TreeWalker::LinkSet links;
  Counter none(&links);
  EXPECT_FALSE(TreeWalker::walk(t / "missing", {&none}, one));
  EXPECT_EQ(DiskSizer::measure(t / "missing"), DiskSizer::SizeReading{});
}

TEST(TreeWalker, DeeperThanTheOpenFileLimitAllows) {
  TempDir t;
  const std::string tree = t / "deep";
  test::makeDirs(tree);
  // 400 folders, one inside the other, a file and a side folder at every level.
  int fd = ::open(tree.c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_GE(fd, 0);
  for (int level = 0; level < 400; ++level) {
    int file = ::openat(fd, "file", O_WRONLY | O_CREAT, 0600);
    ASSERT_EQ(::write(file, "data", 4), 4);
    ::close(file);
    ASSERT_EQ(::mkdirat(fd, "side", 0700), 0);
    ASSERT_EQ(::mkdirat(fd, "d", 0700), 0);
    int next = ::openat(fd, "d", O_RDONLY | O_DIRECTORY);
    ::close(fd);
    fd = next;
  }
  ::close(fd);
  DiskSizer::SizeReading expected = reference(tree);
  ASSERT_EQ(expected.bytes, du(tree));

  rlimit old{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &old), 0);
  rlimit low = old;
  low.rlim_cur = 48;  // below the walk's own budget of held folders
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &low), 0);
  DiskSizer::SizeReading got = DiskSizer::measure(tree);
  TreeWalker::Options one;
  one.threads = 1;
  DiskSizer::SizeReading gotOne = walked(tree, one);
  ::setrlimit(RLIMIT_NOFILE, &old);
  EXPECT_EQ(got, expected);
  EXPECT_EQ(gotOne, expected);
}

TEST(TreeWalker, UnreadableFolderCountsItsOwnEntryOnly) {
  test::HomeBuilder b;
  const std::string tree = b.inHome("tree");
  writeSized(tree + "/open/a", 8192);
  writeSized(tree + "/closed/secret/b", 65536);
  writeSized(tree + "/closed/c", 65536);
  std::int64_t all = du(tree);
  struct stat closedStat {};
  ASSERT_EQ(::lstat((tree + "/closed").c_str(), &closedStat), 0);
  std::int64_t expected = all - du(tree + "/closed") + closedStat.st_blocks * 512;
  ASSERT_EQ(::chmod((tree + "/closed").c_str(), 0), 0);
  auto got = b.runUnprivileged([&] { return std::to_string(DiskSizer::measure(tree).bytes); });
  ASSERT_TRUE(got);
  EXPECT_EQ(std::stoll(*got), expected);
}

// Changes the tree from inside the walk, at the moment a folder is reached.
struct Meddler : TreeWalker::Visitor {
  std::string root;
  std::int64_t bytes = 0;
  bool directory(const TreeWalker::Item& item, std::uint64_t&) override {
    if (item.name == "moving") fs::rename(root + "/moving", root + "/moved");
    if (item.name == "going") fs::remove_all(root + "/going");
    bytes += TreeWalker::allocated(*item.stat);
    return true;
  }
  void entry(const TreeWalker::Item& item) override { bytes += TreeWalker::allocated(*item.stat); }
};

TEST(TreeWalker, FolderRenamedOrRemovedWhileItIsWalked) {
  TempDir t;
  const std::string tree = t / "tree";
  writeSized(tree + "/moving/inner/a", 16384);
  writeSized(tree + "/going/inner/b", 16384);
  writeSized(tree + "/stays/c", 4096);
  Meddler meddler;
  meddler.root = tree;
  TreeWalker::Options options;
  options.threads = 1;
  options.heldDirectories = 1;  // every folder is reopened by name on the way back
  EXPECT_TRUE(TreeWalker::walk(tree, {&meddler}, options));
  // The renamed folder was already open: all of it counts. The removed one counts its own entry
  // as it was reached; what it held is gone. The walk goes on either way.
  struct stat s {};
  ASSERT_EQ(::lstat((tree + "/stays").c_str(), &s), 0);
  EXPECT_GE(meddler.bytes, du(tree + "/moved") + du(tree + "/stays"));
  EXPECT_LT(meddler.bytes, du(tree) + 16384 + 3 * 4096);
}

TEST(TreeWalker, CancelledEveryThousandEntriesOnEitherThread) {
  TempDir t;
  const std::string tree = t / "tree";
  for (int i = 0; i < 3000; ++i)
    test::writeFile(tree + "/d" + std::to_string(i % 30) + "/f" + std::to_string(i), "");
  std::stop_source source;
  source.request_stop();
  EXPECT_THROW(DiskSizer::measure(tree, source.get_token()), Cancelled);
  TreeWalker::LinkSet links;
  Counter a(&links), b(&links);
  TreeWalker::Options two;
  two.secondThreadAfter = 1;
  EXPECT_THROW(TreeWalker::walk(tree, {&a, &b}, two, source.get_token()), Cancelled);
  // A small tree is done before the thousandth entry: nothing to cancel.
  EXPECT_NO_THROW(DiskSizer::measure(tree + "/d0", source.get_token()));
}

}  // namespace
}  // namespace dw
