#include "base/paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <tuple>
#include <utility>

#include "support/temp_dir.h"

namespace dw {
namespace {

using std::pair, std::tuple;

TEST(Paths, Helpers) {
  for (auto [in, out] : {pair("/a//b/./c/../d/", "/a/b/d"), pair("/..", "/"), pair("/../a", "/a"),
                         pair("/a/b/../..", "/"), pair("/", "/"), pair("a/../../b", "../b"),
                         pair("", "."), pair("/a/.../b", "/a/.../b")})
    EXPECT_EQ(paths::standardize(in), out) << in;
  for (auto [in, out] :
       {pair("/private/var/x", "/var/x"), pair("/private", "/"),
        pair("/privateer/x", "/privateer/x"), pair("/var/private/x", "/var/private/x")})
    EXPECT_EQ(paths::stripPrivate(in), out) << in;
  // The home folder's every occurrence becomes "~".
  for (auto [path, home, shown] :
       {tuple("/home/u/Downloads/a.iso", "/home/u", "~/Downloads/a.iso"),
        tuple("/home/u", "/home/u", "~"), tuple("/home/u/x/home/u/y", "/home/u", "~/x~/y"),
        tuple("/srv/x", "/home/u", "/srv/x"), tuple("/srv/x", "", "/srv/x")})
    EXPECT_EQ(paths::tilde(path, home), shown) << path;
  for (auto [path, folder, within, strictly] :
       {tuple("/a/b/c", "/a/b", true, true), tuple("/a/b/c", "/a/b/", true, true),
        tuple("/a/b", "/a/b", true, false), tuple("/a/b", "/a/b/", true, false),
        tuple("/x", "/", true, true), tuple("/a/bc", "/a/b", false, false),
        tuple("/a", "/a/b", false, false)}) {
    EXPECT_EQ(paths::isWithin(path, folder), within) << path << " in " << folder;
    EXPECT_EQ(paths::isStrictlyWithin(path, folder), strictly) << path << " in " << folder;
  }
  EXPECT_EQ(paths::join("/a/", "/b"), "/a/b");
  EXPECT_EQ(paths::join("/", "b"), "/b");
  EXPECT_EQ(paths::lastComponent("/a/b/"), "b");
  EXPECT_EQ(paths::lastComponent("/"), "/");
  EXPECT_EQ(paths::parent("/a/b/"), "/a");
  EXPECT_EQ(paths::parent("/a"), "/");

  // resolveSymlinks keeps a missing tail as written.
  test::TempDir t;
  const std::string real = std::filesystem::canonical(t.path()).string() + "/real";
  test::makeDirs(t / "real/inner");
  std::filesystem::create_directory_symlink(t / "real", t / "link");
  std::filesystem::create_directory_symlink("real/inner", t / "relative");
  EXPECT_EQ(paths::resolveSymlinks(t / "link/inner"), real + "/inner");
  EXPECT_EQ(paths::resolveSymlinks(t / "link/missing/x"), real + "/missing/x");
  EXPECT_EQ(paths::resolveSymlinks(t / "link/missing/../inner/"), real + "/inner");
  EXPECT_EQ(paths::resolveSymlinks(t / "relative/y"), real + "/inner/y");
  EXPECT_EQ(paths::resolveSymlinks("/no-such-top/a/./b"), "/no-such-top/a/b");
}

}  // namespace
}  // namespace dw
