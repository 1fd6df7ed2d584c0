#include "scanners/largefiles/large_files_scanner.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "findings/size_text.h"

#include "support/home_builder.h"

namespace dw {
namespace {

using namespace LargeFilesScanner;
constexpr std::int64_t k200MB = 209'715'200;

TEST(LargeFilesScanner, ListsFilesFrom200MBInTheThreeFolders) {
  test::HomeBuilder b;
  auto in = [&](const std::string& rel, std::int64_t n) { return b.sparseFile(b.inHome(rel), n); };
  std::string exact = in("Downloads/exact.dmg", k200MB);
  std::string desk = in("Desktop/talk.mov", 3 * k200MB);
  std::string three = in("Movies/a/b/c/three.mov", k200MB + 7);
  in("Downloads/decimal.dmg", 200'000'000);
  in("Downloads/one-less.dmg", k200MB - 1);
  in("Movies/a/b/c/d/four.mov", k200MB);
  in("Downloads/project/build/disk.dmg", 2 * k200MB);
  in("Downloads/site/node_modules/blob.bin", 5 * k200MB);
  in("Downloads/Tool.app/Contents/Resources/huge.bin", 2 * k200MB);
  in("Documents/elsewhere.iso", 2 * k200MB);

  // Downloads, Desktop, Movies in turn, by logical size; only the Desktop's stay.
  auto found = scan(b.locations());
  ASSERT_EQ(found.size(), 3u);
  const std::string where = ". Nothing is removed until you select it and confirm.";
  const Finding& d = found[0];
  // Listed by length; what moving it gives back is what it takes on disk (nothing: sparse).
  EXPECT_EQ(std::tuple(d.id, d.name, d.path, d.length, d.bytes, d.note, d.removable),
            std::tuple(exact, "exact.dmg", "~/Downloads/exact.dmg", k200MB, 0,
                       "In Downloads" + where, true));
  EXPECT_EQ(std::tuple(found[1].id, found[1].note, found[1].removable),
            std::tuple(desk, "Shown only. Files on the Desktop stay.", false));
  EXPECT_EQ(std::tuple(found[2].id, found[2].path, found[2].note, found[2].removable),
            std::tuple(three, "~/Movies/a/b/c/three.mov", "In Movies" + where, true));
  for (const auto& f : found)
    EXPECT_TRUE(f.kind == Finding::Kind::file && !f.suggested && f.contentModified) << f.id;
}

// An 8 GB disk image with 3 MB written: listed at its length, counted at what it takes on disk,
// and said with both; a file that takes what it holds says one size.
TEST(LargeFilesScanner, ASparseFileCountsWhatItTakesOnDisk) {
  test::HomeBuilder b;
  std::string image = b.sparseFile(b.inHome("Downloads/disk.img"), 8LL << 30);
  {
    std::string data(3 << 20, 'd');
    FILE* f = std::fopen(image.c_str(), "r+");
    ASSERT_TRUE(f);
    ASSERT_EQ(std::fwrite(data.data(), 1, data.size(), f), data.size());
    std::fclose(f);
  }
  // Its blocks allocated, without writing them.
  std::string full = b.sparseFile(b.inHome("Movies/full.mov"), 0);
  {
    int fd = ::open(full.c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::posix_fallocate(fd, 0, k200MB + 100), 0);
    ::close(fd);
  }
  auto found = scan(b.locations());
  ASSERT_EQ(found.size(), 2u);
  struct stat s {};
  ASSERT_EQ(::stat(image.c_str(), &s), 0);
  EXPECT_EQ(found[0].length, 8LL << 30);
  EXPECT_EQ(found[0].bytes, static_cast<std::int64_t>(s.st_blocks) * 512);
  EXPECT_LT(found[0].bytes, 4 << 20);
  EXPECT_EQ(sizeOnDiskText(found[0].length, found[0].bytes), "8 GB, 3 MB on disk");
  ASSERT_EQ(::stat(full.c_str(), &s), 0);
  EXPECT_EQ(found[1].bytes, static_cast<std::int64_t>(s.st_blocks) * 512);
  EXPECT_EQ(sizeOnDiskText(found[1].length, found[1].bytes), "200 MB");
}

TEST(LargeFilesScanner, AllowedLocationGuardsEveryMove) {
  test::HomeBuilder b;
  auto allowed = [&](const std::string& p) { return isAllowedLocation(p, b.locations()); };
  auto file = [&](const std::string& rel) { return b.sparseFile(b.inHome(rel), 10); };
  EXPECT_TRUE(allowed(file("Downloads/a.dmg")) && allowed(file("Movies/x/y/z/clip.mov")));
  b.symlink(b.folder(b.inHome("Documents/Archive")), b.inHome("Downloads/Archive"));
  // Too deep, outside the three folders, in a project or an app, a link (even to a file that
  // would do), a folder, missing, or reached through a link into Documents.
  for (const std::string& p :
       {file("Movies/x/y/z/w/clip.mov"), file("Desktop/a.dmg"), file("Documents/a.dmg"),
        file("Downloads/p/dist/a.zip"), file("Downloads/Game.app/Contents/a.pak"),
        file("Library/a.dmg"),
        b.symlink(b.inHome("Documents/a.dmg"), b.inHome("Downloads/link.dmg")),
        b.symlink(b.inHome("Downloads/a.dmg"), b.inHome("Downloads/same.dmg")),
        b.folder(b.inHome("Downloads/folder")), b.inHome("Downloads/missing.dmg"),
        b.inHome("Downloads"), file("Downloads/Archive/old.dmg")})
    EXPECT_FALSE(allowed(p)) << p;

  // Downloads itself kept on another disk of the user's is still Downloads; a missing Movies is
  // no error. (Run as a user: for root nothing outside its home is its own.)
  std::filesystem::rename(b.inHome("Downloads"), b.inHome("Old Downloads"));
  std::filesystem::remove_all(b.inHome("Movies"));
  b.symlink(b.folder(b.inRoot("Volumes/External/Downloads")), b.inHome("Downloads"));
  b.sparseFile(b.inRoot("Volumes/External/Downloads/big.iso"), k200MB);
  auto found = b.runUnprivileged([&] {
    std::string text;
    for (const Finding& f : scan(b.locations()))
      text += f.path + (f.removable ? " removable;" : ";");
    return text;
  });
  EXPECT_EQ(found, "~/Downloads/big.iso removable;");
}

}  // namespace
}  // namespace dw
