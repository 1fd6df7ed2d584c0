#include "scanners/largefiles/large_files_scanner.h"

#include <gtest/gtest.h>

#include <filesystem>

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
  EXPECT_EQ(std::tuple(d.id, d.name, d.path, d.bytes, d.note, d.removable),
            std::tuple(exact, "exact.dmg", "~/Downloads/exact.dmg", k200MB, "In Downloads" + where,
                       true));
  EXPECT_EQ(std::tuple(found[1].id, found[1].note, found[1].removable),
            std::tuple(desk, "Shown only. Files on the Desktop stay.", false));
  EXPECT_EQ(std::tuple(found[2].id, found[2].path, found[2].note, found[2].removable),
            std::tuple(three, "~/Movies/a/b/c/three.mov", "In Movies" + where, true));
  for (const auto& f : found)
    EXPECT_TRUE(f.kind == Finding::Kind::file && !f.suggested && f.contentModified) << f.id;
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
