#include "measure/disk_sizer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "support/command.h"
#include "support/mounts.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

namespace fs = std::filesystem;
using DiskSizer::measure;
using test::TempDir;
using test::writeSized;

// A second opinion: du counts allocated blocks, a hard-linked inode once, a link as itself, and
// does not enter another volume.
std::int64_t du(const std::string& path) {
  return std::stoll(test::runCommand({"du", "-sx", "--block-size=1", path}).out);
}

// A file of `logical` bytes holding only `data` real bytes at its start.
void writeSparse(const std::string& path, std::int64_t logical, std::int64_t data = 0) {
  writeSized(path, data);
  fs::resize_file(path, logical);
}

void setMtime(const std::string& path, std::int64_t seconds, long nanos = 0) {
  timespec times[2] = {{seconds, nanos}, {seconds, nanos}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

std::vector<std::string> listed(const std::string& folder,
                                std::int64_t minimum = DiskSizer::kLargeFileMinimum,
                                int depth = DiskSizer::kLargeFileDepth) {
  std::vector<std::string> names;
  for (const auto& f : DiskSizer::listLargeFiles(folder, minimum, depth))
    names.push_back(f.path.substr(folder.size() + 1));
  std::sort(names.begin(), names.end());
  return names;
}

TEST(DiskSizer, MeasuresAllocatedBlocksLikeDu) {
  TempDir t;
  writeSized(t / "same/a", 1 << 20);  // two links in one folder
  fs::create_hard_link(t / "same/a", t / "same/b");
  writeSized(t / "across/x/a", 1 << 20);  // and in two different folders
  fs::create_directories(t / "across/y");
  fs::create_hard_link(t / "across/x/a", t / "across/y/a");
  writeSparse(t / "sparse/disk.img", 10LL << 30, 4096);
  writeSized(t / "big/data", 8 << 20);
  fs::create_directories(t / "links");
  fs::create_directory_symlink(t / "big", t / "links/to-folder");
  fs::create_symlink(t / "big/data", t / "links/to-file");
  fs::create_symlink("nowhere", t / "links/dangling");
  // A target too long to live in the inode takes a block of its own, which must be counted.
  fs::create_symlink("../" + std::string(200, 'n'), t / "links/long");
  fs::create_directories(t / "folders/a/b/c");
  fs::create_directories(t / "folders/d");

  // "across/y": a link whose twin lies outside the tree still counts inside it. A link given as
  // the path itself is not followed either.
  for (const char* tree :
       {"same", "across", "across/y", "sparse", "links", "links/to-folder", "folders", ""}) {
    EXPECT_EQ(measure(t / tree).bytes, du(t / tree)) << tree;
  }
  EXPECT_LT(measure(t / "same").bytes, 2 << 20);  // one MiB of data, never two
  EXPECT_LT(measure(t / "sparse").bytes, 1 << 20);
  EXPECT_FALSE(measure(t / "links/to-folder").newest);
  EXPECT_FALSE(measure(t / "folders").newest);
  for (const std::string& missing : {t / "missing", t / "missing/deeper", std::string()})
    EXPECT_EQ(measure(missing), DiskSizer::SizeReading{}) << missing;
}

TEST(DiskSizer, NewestIsTheNewestRegularFilesSecond) {
  TempDir t;
  writeSized(t / "tree/old", 3);
  writeSized(t / "tree/sub/new", 3);
  fs::create_symlink("old", t / "tree/link");
  setMtime(t / "tree/old", 1'000'000'000);
  setMtime(t / "tree/sub/new", 1'700'000'000, 900'000'000);
  // Folders and links are newer still, but only regular files date a tree.
  for (const char* newer : {"tree/link", "tree/sub", "tree"})
    setMtime(t / newer, 1'900'000'000);
  EXPECT_EQ(measure(t / "tree").newest, TimePoint(std::chrono::seconds(1'700'000'000)));
  EXPECT_EQ(measure(t / "tree/old").newest, TimePoint(std::chrono::seconds(1'000'000'000)));
}

TEST(DiskSizer, ChecksCancellationEveryThousandEntries) {
  TempDir t;
  for (int i = 0; i < 1100; ++i)
    writeSized(t / ("many/f" + std::to_string(i)), 0);
  for (int i = 0; i < 20; ++i)
    writeSized(t / ("few/f" + std::to_string(i)), 1);
  std::stop_source source;
  source.request_stop();
  EXPECT_THROW(measure(t / "many", source.get_token()), Cancelled);
  // Fewer than a thousand entries are never interrupted; the listing checks at every entry.
  EXPECT_EQ(measure(t / "few", source.get_token()), measure(t / "few"));
  EXPECT_THROW(DiskSizer::listLargeFiles(t / "few", 1, 3, source.get_token()), Cancelled);
}

TEST(DiskSizer, DoesNotEnterAMountedVolume) {
  TempDir t;
  writeSized(t / "tree/here", 64 << 10);
  fs::create_directories(t / "tree/volume");
  test::ScopedTmpfs volume(t / "tree/volume");
  if (!volume.mounted()) GTEST_SKIP() << volume.error();
  writeSized(t / "tree/volume/big", 8 << 20);
  EXPECT_EQ(measure(t / "tree").bytes, du(t / "tree"));
  EXPECT_LT(measure(t / "tree").bytes, 1 << 20);
  // Measured on its own, the volume is a tree like any other.
  EXPECT_GE(measure(t / "tree/volume").bytes, 8 << 20);
}

TEST(DiskSizer, ListsLargeFilesFromTheThresholdUp) {
  TempDir t;
  writeSparse(t / "exact.iso", 209'715'200);
  writeSparse(t / "one-less.iso", 209'715'199);
  writeSized(t / "empty", 0);
  setMtime(t / "exact.iso", 1'650'000'000, 500);
  EXPECT_EQ(DiskSizer::listLargeFiles(t.path(), DiskSizer::kLargeFileMinimum, 3),
            (std::vector<DiskSizer::LargeFile>{
                {t / "exact.iso", 209'715'200, TimePoint(std::chrono::seconds(1'650'000'000))}}));
  // Minimum one byte: an empty file stays out, every other one is in.
  EXPECT_EQ(listed(t.path(), 1), (std::vector<std::string>{"exact.iso", "one-less.iso"}));
}

TEST(DiskSizer, ListingStaysOutOfDeepFoldersProjectsPackagesAndLinks) {
  TempDir t;
  const std::string d = t / "Downloads";
  for (const char* f : {"top.mov", "a/b/c/three-deep.mov", "a/b/c/d/four-deep.mov",
                        "proj/node_modules/dep/blob.bin", "build/out.bin", "Build/listed.bin",
                        "Tool.app/Contents/MacOS/tool", "Photos Library.photoslibrary/a.heic"})
    writeSparse(d + "/" + f, 300 << 20);
  writeSparse(t / "elsewhere/target.mov", 300 << 20);
  fs::create_symlink(t / "elsewhere/target.mov", d + "/link.mov");
  fs::create_directory_symlink(t / "elsewhere", d + "/linked-folder");
  // Names are case-sensitive: "Build" is not a project's build folder.
  EXPECT_EQ(listed(d),
            (std::vector<std::string>{"Build/listed.bin", "a/b/c/three-deep.mov", "top.mov"}));
  // A deeper limit reaches the fourth folder; projects, packages and links stay out anyway.
  EXPECT_EQ(listed(d, 1, 12), (std::vector<std::string>{"Build/listed.bin", "a/b/c/d/four-deep.mov",
                                                        "a/b/c/three-deep.mov", "top.mov"}));
  // The folder itself may be a link to the real one.
  fs::create_directory_symlink(d, t / "Movies");
  EXPECT_EQ(listed(t / "Movies").size(), 3u);
  // The tree walk measures a package in full.
  writeSized(d + "/Real.app/Contents/Resources/data", 256 << 10);
  EXPECT_EQ(measure(d + "/Real.app").bytes, du(d + "/Real.app"));
  EXPECT_GT(measure(d + "/Real.app").bytes, 256 << 10);
}

}  // namespace
}  // namespace dw
