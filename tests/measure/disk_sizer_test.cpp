#include "measure/disk_sizer.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <utility>

#include "support/temp_dir.h"

namespace dw {
namespace {

using test::makeDirs;
using test::TempDir;
using test::writeFile;
using test::writeSized;

std::int64_t blocksOf(const std::string& path) {
  struct stat s {};
  if (::lstat(path.c_str(), &s) != 0) return 0;
  return static_cast<std::int64_t>(s.st_blocks) * 512;
}

// A second opinion written without fts: every entry's blocks, a multiply linked inode once,
// folders on another device counted themselves but not entered.
std::int64_t independentSum(const std::string& path, dev_t rootDev,
                            std::set<std::pair<dev_t, ino_t>>& seen) {
  struct stat s {};
  if (::lstat(path.c_str(), &s) != 0) return 0;
  if (!S_ISDIR(s.st_mode) && !S_ISLNK(s.st_mode) && s.st_nlink > 1 &&
      !seen.insert({s.st_dev, s.st_ino}).second) {
    return 0;
  }
  std::int64_t total = static_cast<std::int64_t>(s.st_blocks) * 512;
  if (!S_ISDIR(s.st_mode) || s.st_dev != rootDev) return total;
  DIR* dir = ::opendir(path.c_str());
  if (!dir) return total;
  while (dirent* d = ::readdir(dir)) {
    std::string name = d->d_name;
    if (name != "." && name != "..") total += independentSum(path + "/" + name, rootDev, seen);
  }
  ::closedir(dir);
  return total;
}

std::int64_t independentSum(const std::string& root) {
  struct stat s {};
  ::lstat(root.c_str(), &s);
  std::set<std::pair<dev_t, ino_t>> seen;
  return independentSum(root, s.st_dev, seen);
}

// A file of `logical` bytes holding only `data` real bytes at its start.
void writeSparse(const std::string& path, std::int64_t logical, std::int64_t data = 0) {
  writeSized(path, data);
  ASSERT_EQ(::truncate(path.c_str(), logical), 0) << path;
}

void setMtime(const std::string& path, std::int64_t seconds, long nanos = 0) {
  timespec times[2] = {{seconds, nanos}, {seconds, nanos}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

std::vector<std::string> listed(const std::string& folder,
                                std::int64_t minimum = DiskSizer::kLargeFileMinimum,
                                int depth = DiskSizer::kLargeFileDepth) {
  std::vector<std::string> names;
  for (const auto& f : DiskSizer::listLargeFiles(folder, minimum, depth)) {
    names.push_back(f.path.substr(folder.size() + 1));
  }
  std::sort(names.begin(), names.end());
  return names;
}

TEST(DiskSizerMeasure, CountsAHardLinkedFileOnce) {
  TempDir t;
  writeSized(t / "same/a", 1 << 20);
  ASSERT_EQ(::link((t / "same/a").c_str(), (t / "same/b").c_str()), 0);
  writeSized(t / "across/x/a", 1 << 20);
  makeDirs(t / "across/y");
  ASSERT_EQ(::link((t / "across/x/a").c_str(), (t / "across/y/a").c_str()), 0);
  writeSized(t / "single/a", 1 << 20);

  for (const char* tree : {"same", "across", "single"}) {
    SCOPED_TRACE(tree);
    std::int64_t bytes = DiskSizer::measure(t / tree).bytes;
    EXPECT_EQ(bytes, independentSum(t / tree));
    EXPECT_LT(bytes, 2 << 20);  // one MiB of data plus folders, never two
  }
  // A link whose twin lies outside the tree still counts inside it.
  EXPECT_EQ(DiskSizer::measure(t / "across/y").bytes, blocksOf(t / "across/y") + (1 << 20));
  // The whole tree: three MiB of data, not five.
  EXPECT_LT(DiskSizer::measure(t.path()).bytes, 4 << 20);
}

TEST(DiskSizerMeasure, CountsAllocatedBlocksNotLengthsAndNeverFollowsLinks) {
  TempDir t;
  writeSparse(t / "sparse/disk.img", 10LL << 30, 4096);
  std::int64_t sparse = DiskSizer::measure(t / "sparse").bytes;
  EXPECT_EQ(sparse, blocksOf(t / "sparse") + blocksOf(t / "sparse/disk.img"));
  EXPECT_LT(sparse, 1 << 20);

  writeSized(t / "big/data", 8 << 20);
  makeDirs(t / "links");
  ASSERT_EQ(::symlink((t / "big").c_str(), (t / "links/to-folder").c_str()), 0);
  ASSERT_EQ(::symlink((t / "big/data").c_str(), (t / "links/to-file").c_str()), 0);
  ASSERT_EQ(::symlink("nowhere", (t / "links/dangling").c_str()), 0);
  // A target too long to live in the inode takes a block of its own, which must be counted.
  std::string longTarget = "../" + std::string(200, 'n');
  ASSERT_EQ(::symlink(longTarget.c_str(), (t / "links/long").c_str()), 0);
  EXPECT_EQ(DiskSizer::measure(t / "links").bytes,
            blocksOf(t / "links") + blocksOf(t / "links/to-folder") +
                blocksOf(t / "links/to-file") + blocksOf(t / "links/dangling") +
                blocksOf(t / "links/long"));
  // A link given as the path itself is not followed either.
  auto viaLink = DiskSizer::measure(t / "links/to-folder");
  EXPECT_EQ(viaLink.bytes, blocksOf(t / "links/to-folder"));
  EXPECT_FALSE(viaLink.newest);
}

TEST(DiskSizerMeasure, FoldersOnlyAndMissingPaths) {
  TempDir t;
  makeDirs(t / "tree/a/b/c");
  makeDirs(t / "tree/d");
  auto folders = DiskSizer::measure(t / "tree");
  EXPECT_EQ(folders.bytes, blocksOf(t / "tree") + blocksOf(t / "tree/a") +
                               blocksOf(t / "tree/a/b") + blocksOf(t / "tree/a/b/c") +
                               blocksOf(t / "tree/d"));
  EXPECT_GT(folders.bytes, 0);
  EXPECT_FALSE(folders.newest);

  EXPECT_EQ(DiskSizer::measure(t / "missing"), DiskSizer::SizeReading{});
  EXPECT_EQ(DiskSizer::measure(t / "missing/deeper"), DiskSizer::SizeReading{});
  EXPECT_EQ(DiskSizer::measure(""), DiskSizer::SizeReading{});
}

TEST(DiskSizerMeasure, NewestIsTheNewestRegularFilesSecond) {
  TempDir t;
  writeFile(t / "tree/old", "old");
  writeFile(t / "tree/sub/new", "new");
  writeFile(t / "tree/sub/linked", "linked");
  ASSERT_EQ(::link((t / "tree/sub/linked").c_str(), (t / "tree/linked-twin").c_str()), 0);
  ASSERT_EQ(::symlink("old", (t / "tree/link").c_str()), 0);
  setMtime(t / "tree/old", 1'000'000'000);
  setMtime(t / "tree/sub/new", 1'700'000'000, 900'000'000);
  setMtime(t / "tree/sub/linked", 1'600'000'000);
  // Folders and links are newer still, but only regular files date a tree.
  setMtime(t / "tree/link", 1'900'000'000);
  setMtime(t / "tree/sub", 1'900'000'000);
  setMtime(t / "tree", 1'900'000'000);

  auto reading = DiskSizer::measure(t / "tree");
  ASSERT_TRUE(reading.newest);
  EXPECT_EQ(*reading.newest, TimePoint(std::chrono::seconds(1'700'000'000)));  // seconds only
  EXPECT_EQ(reading.bytes, independentSum(t / "tree"));

  auto single = DiskSizer::measure(t / "tree/old");
  EXPECT_EQ(single.bytes, blocksOf(t / "tree/old"));
  EXPECT_EQ(single.newest, TimePoint(std::chrono::seconds(1'000'000'000)));
}

TEST(DiskSizerMeasure, ChecksCancellationEveryThousandEntries) {
  TempDir t;
  for (int i = 0; i < 1100; ++i)
    writeFile(t / ("many/f" + std::to_string(i)), "");
  for (int i = 0; i < 20; ++i)
    writeFile(t / ("few/f" + std::to_string(i)), "x");
  std::stop_source source;
  source.request_stop();
  EXPECT_THROW(DiskSizer::measure(t / "many", source.get_token()), Cancelled);
  // Fewer than a thousand entries are never interrupted: the result stands.
  EXPECT_EQ(DiskSizer::measure(t / "few", source.get_token()), DiskSizer::measure(t / "few"));
  // The listing checks at every entry.
  EXPECT_THROW(DiskSizer::listLargeFiles(t / "few", 1, 3, source.get_token()), Cancelled);
}

// A tmpfs mounted inside the tree; unmounted whatever the test's outcome.
class MountedVolume : public ::testing::Test {
 protected:
  void TearDown() override {
    if (mounted_) ::umount2(mountPoint_.c_str(), MNT_DETACH);
  }
  bool mount(const std::string& at) {
    mountPoint_ = at;
    mounted_ = ::mount("tmpfs", at.c_str(), "tmpfs", 0, "size=32m") == 0;
    return mounted_;
  }
  std::string mountPoint_;
  bool mounted_ = false;
};

TEST_F(MountedVolume, IsNotEntered) {
  TempDir t;
  writeSized(t / "tree/here", 64 << 10);
  makeDirs(t / "tree/volume");
  if (!mount(t / "tree/volume")) {
    GTEST_SKIP() << "cannot mount a tmpfs here (" << std::strerror(errno) << ")";
  }
  writeSized(t / "tree/volume/big", 8 << 20);
  ASSERT_EQ(blocksOf(t / "tree/volume/big"), 8 << 20);
  std::int64_t bytes = DiskSizer::measure(t / "tree").bytes;
  EXPECT_EQ(bytes, independentSum(t / "tree"));
  EXPECT_LT(bytes, 1 << 20);
  // Measured on its own, the volume is a tree like any other.
  EXPECT_GE(DiskSizer::measure(t / "tree/volume").bytes, 8 << 20);
}

TEST(DiskSizerListLargeFiles, ListsLogicalSizesFromTheThresholdUp) {
  TempDir t;
  const std::string d = t / "Downloads";
  writeSparse(d + "/exact.iso", 209'715'200);
  writeSparse(d + "/one-less.iso", 209'715'199);
  setMtime(d + "/exact.iso", 1'650'000'000, 500);
  auto found = DiskSizer::listLargeFiles(d, DiskSizer::kLargeFileMinimum, 3);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].path, d + "/exact.iso");
  EXPECT_EQ(found[0].bytes, 209'715'200);
  EXPECT_EQ(found[0].modified, TimePoint(std::chrono::seconds(1'650'000'000)));
  // Minimum one byte: an empty file stays out, every other one is in.
  writeFile(d + "/empty", "");
  writeFile(d + "/tiny", "t");
  EXPECT_EQ(listed(d, 1), (std::vector<std::string>{"exact.iso", "one-less.iso", "tiny"}));
}

TEST(DiskSizerListLargeFiles, StaysOutOfDeepFoldersPackagesProjectsAndLinks) {
  TempDir t;
  const std::string d = t / "Downloads";
  const std::int64_t big = 300 << 20;
  writeSparse(d + "/top.mov", big);
  writeSparse(d + "/a/b/c/three-deep.mov", big);
  writeSparse(d + "/a/b/c/d/four-deep.mov", big);
  writeSparse(d + "/proj/node_modules/dep/blob.bin", big);
  writeSparse(d + "/build/out.bin", big);
  writeSparse(d + "/Build/listed.bin", big);  // the names are case-sensitive
  writeSparse(d + "/Tool.app/Contents/MacOS/tool", big);
  writeSparse(d + "/Photos Library.photoslibrary/originals/a.heic", big);
  writeSparse(t / "elsewhere/target.mov", big);
  ASSERT_EQ(::symlink((t / "elsewhere/target.mov").c_str(), (d + "/link.mov").c_str()), 0);
  ASSERT_EQ(::symlink((t / "elsewhere").c_str(), (d + "/linked-folder").c_str()), 0);

  EXPECT_EQ(listed(d),
            (std::vector<std::string>{"Build/listed.bin", "a/b/c/three-deep.mov", "top.mov"}));
  // A deeper limit reaches the fourth folder; projects, packages and links stay out anyway.
  EXPECT_EQ(listed(d, 1, 12), (std::vector<std::string>{"Build/listed.bin", "a/b/c/d/four-deep.mov",
                                                        "a/b/c/three-deep.mov", "top.mov"}));
  // The folder itself may be a link to the real one.
  ASSERT_EQ(::symlink(d.c_str(), (t / "Movies").c_str()), 0);
  EXPECT_EQ(listed(t / "Movies").size(), 3u);

  // The tree walk measures packages in full.
  writeSized(d + "/Real.app/Contents/Resources/data", 256 << 10);
  EXPECT_EQ(DiskSizer::measure(d + "/Real.app").bytes, independentSum(d + "/Real.app"));
  EXPECT_GT(DiskSizer::measure(d + "/Real.app").bytes, 256 << 10);
}

}  // namespace
}  // namespace dw
