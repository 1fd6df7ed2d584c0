// Whose places these are: a folder outside the home serves only when it is the user's alone
// (for root, never), and an item's place is found as a move and Put Back take it.

#include "platform/ownership.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/home_builder.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using Ownership::Where;

// "where folder relative" for the place of path, as one line.
std::string placeText(const std::string& path, const Locations& places) {
  Ownership::Place place = Ownership::placeOf(path, places);
  const char* where = place.where == Where::usable    ? "usable"
                      : place.where == Where::refused ? "refused"
                                                      : "elsewhere";
  return std::string(where) + " " + place.placement.folder + " " + place.placement.relative;
}

TEST(Ownership, PlacesOutsideTheHomeServeOnlyWhenTheUsersAlone) {
  test::HomeBuilder tree(Locations::Layout::linux);
  const std::string mine = tree.folder(tree.inRoot("data/mine"));
  const std::string open = tree.folder(tree.inRoot("data/open"));
  const std::string group = tree.folder(tree.inRoot("data/group"));
  ASSERT_EQ(::chmod(open.c_str(), 0777), 0);
  ASSERT_EQ(::chmod(group.c_str(), 0775), 0);
  std::filesystem::remove_all(tree.inHome("Downloads"));
  std::filesystem::remove_all(tree.inHome("Music"));
  tree.symlink(mine, tree.inHome("Downloads"));
  tree.symlink(open, tree.inHome("Music"));
  const std::string viaLink = tree.symlink(tree.home(), tree.inRoot("home-link"));

  // Each line: whether the folder is the user's own, then the place of items in the home and
  // the linked folders, a home reached through a link, and a path in none of them.
  auto answers = [&] {
    Locations places = tree.locations();
    std::string text;
    for (const std::string& folder : {mine, open, group, std::string("/tmp")})
      text += Ownership::isOwnFolder(folder) ? "own " : "not ";
    text += "\n" + placeText(tree.inHome("Documents/a/b.txt"), places);
    text += "\n" + placeText(tree.inHome("Downloads/sub/c.iso"), places);
    text += "\n" + placeText(tree.inHome("Music/d.flac"), places);
    text += "\n" + placeText(viaLink + "/Documents/e.txt", places);
    text += "\n" + placeText(tree.inRoot("data/f"), places);
    // $XDG_CACHE_HOME is taken for the user's own home: a folder of theirs, or else ~/.cache.
    test::ScopedEnv home("HOME", tree.home());
    for (const std::string& cache : {mine, open}) {
      test::ScopedEnv variable("XDG_CACHE_HOME", cache);
      text += "\ncache " + Locations::linux(tree.root(), tree.home()).cacheHome;
    }
    return text;
  };
  const std::string in = " " + tree.inHome("Documents") + " ";
  // Root owns the whole system: outside its home nothing is its own.
  EXPECT_EQ(answers(), "not not not not \nusable" + in + "a/b.txt\nrefused " + mine +
                           " sub/c.iso\nrefused " + open + " d.flac\nusable" + in +
                           "e.txt\nelsewhere  \ncache " + tree.inHome(".cache") + "\ncache " +
                           tree.inHome(".cache"));
  if (::geteuid() != 0) return;
  // A user's: their folder nobody else may change serves; one that others may write does not.
  EXPECT_EQ(tree.runUnprivileged(answers).value_or("failed"),
            "own not not not \nusable" + in + "a/b.txt\nusable " + mine + " sub/c.iso\nrefused " +
                open + " d.flac\nusable" + in + "e.txt\nelsewhere  \ncache " + mine + "\ncache " +
                tree.inHome(".cache"));
}

}  // namespace
}  // namespace dw
