#include "scanners/largefiles/large_files_scanner.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/home_builder.h"

namespace dw {
namespace {

using test::HomeBuilder;

constexpr std::int64_t k200MB = 209'715'200;

std::vector<std::string> idsOf(const std::vector<CacheFinding>& findings) {
  std::vector<std::string> ids;
  for (const auto& f : findings)
    ids.push_back(f.id);
  return ids;
}

TEST(LargeFilesScanner, ListsFilesFrom200MBInTheThreeFolders) {
  HomeBuilder b;
  Locations places = b.locations();
  std::string exact = b.sparseFile(b.inHome("Downloads/exact.dmg"), k200MB);
  b.sparseFile(b.inHome("Downloads/decimal.dmg"), 200'000'000);
  b.sparseFile(b.inHome("Downloads/one-less.dmg"), k200MB - 1);
  std::string desk = b.sparseFile(b.inHome("Desktop/talk.mov"), 3 * k200MB);
  std::string three = b.sparseFile(b.inHome("Movies/a/b/c/three.mov"), k200MB + 7);
  b.sparseFile(b.inHome("Movies/a/b/c/d/four.mov"), k200MB);
  b.sparseFile(b.inHome("Downloads/project/build/disk.dmg"), 2 * k200MB);
  b.sparseFile(b.inHome("Downloads/site/node_modules/blob.bin"), 5 * k200MB);
  b.sparseFile(b.inHome("Downloads/Tool.app/Contents/Resources/huge.bin"), 2 * k200MB);
  b.sparseFile(b.inHome("Documents/elsewhere.iso"), 2 * k200MB);

  auto found = LargeFilesScanner::scan(places);
  ASSERT_EQ(idsOf(found), (std::vector<std::string>{exact, desk, three}))
      << "Downloads, Desktop, Movies in turn";

  const CacheFinding& d = found[0];
  EXPECT_EQ(d.name, "exact.dmg");
  EXPECT_EQ(d.path, "~/Downloads/exact.dmg");
  EXPECT_EQ(d.bytes, k200MB) << "logical size";
  EXPECT_EQ(d.note, "In Downloads. Nothing is removed until you select it and confirm.");
  EXPECT_EQ(d.kind, CacheFinding::Kind::file);
  EXPECT_FALSE(d.suggested);
  EXPECT_TRUE(d.removable);
  EXPECT_TRUE(d.contentModified);

  EXPECT_EQ(found[1].note, "Shown only. Files on the Desktop stay.");
  EXPECT_FALSE(found[1].removable);
  EXPECT_FALSE(found[1].suggested);

  EXPECT_EQ(found[2].note, "In Movies. Nothing is removed until you select it and confirm.");
  EXPECT_EQ(found[2].path, "~/Movies/a/b/c/three.mov");
  EXPECT_TRUE(found[2].removable);

  HomeBuilder empty;
  std::filesystem::rename(empty.inHome("Movies"), empty.inHome("Old Movies"));
  EXPECT_TRUE(LargeFilesScanner::scan(empty.locations()).empty()) << "a missing folder is no error";
}

TEST(LargeFilesScanner, AllowedLocationGuardsEveryMove) {
  HomeBuilder b;
  Locations places = b.locations();
  auto allowed = [&](const std::string& p) {
    return LargeFilesScanner::isAllowedLocation(p, places);
  };

  EXPECT_TRUE(allowed(b.sparseFile(b.inHome("Downloads/a.dmg"), 10)));
  EXPECT_TRUE(allowed(b.sparseFile(b.inHome("Movies/x/y/z/clip.mov"), 10)));
  EXPECT_FALSE(allowed(b.sparseFile(b.inHome("Movies/x/y/z/w/clip.mov"), 10))) << "too deep";
  EXPECT_FALSE(allowed(b.sparseFile(b.inHome("Desktop/a.dmg"), 10)));
  EXPECT_FALSE(allowed(b.sparseFile(b.inHome("Documents/a.dmg"), 10)));
  EXPECT_FALSE(allowed(b.sparseFile(b.inHome("Downloads/p/dist/a.zip"), 10)));
  EXPECT_FALSE(allowed(b.sparseFile(b.inHome("Downloads/Game.app/Contents/a.pak"), 10)));
  EXPECT_FALSE(allowed(b.symlink(b.inHome("Documents/a.dmg"), b.inHome("Downloads/link.dmg"))));
  EXPECT_FALSE(allowed(b.symlink(b.inHome("Downloads/a.dmg"), b.inHome("Downloads/same.dmg"))))
      << "a link is never the file itself";
  EXPECT_FALSE(allowed(b.folder(b.inHome("Downloads/folder"))));
  EXPECT_FALSE(allowed(b.inHome("Downloads/missing.dmg")));
  EXPECT_FALSE(allowed(b.inHome("Downloads")));
  EXPECT_FALSE(allowed(b.sparseFile(b.inHome("Library/a.dmg"), 10)));

  // A folder placed in Downloads through a link into Documents: Documents wins.
  b.sparseFile(b.inHome("Documents/Archive/old.dmg"), 10);
  b.symlink(b.inHome("Documents/Archive"), b.inHome("Downloads/Archive"));
  EXPECT_FALSE(allowed(b.inHome("Downloads/Archive/old.dmg")));

  // Downloads itself kept on another disk is still Downloads.
  HomeBuilder moved;
  std::filesystem::rename(moved.inHome("Downloads"), moved.inHome("Old Downloads"));
  moved.symlink(moved.folder(moved.inRoot("Volumes/External/Downloads")),
                moved.inHome("Downloads"));
  moved.sparseFile(moved.inRoot("Volumes/External/Downloads/big.iso"), k200MB);
  auto found = LargeFilesScanner::scan(moved.locations());
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].path, "~/Downloads/big.iso");
  EXPECT_TRUE(found[0].removable);
}

}  // namespace
}  // namespace dw
