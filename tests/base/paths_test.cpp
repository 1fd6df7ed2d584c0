#include "base/paths.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "support/temp_dir.h"

namespace dw {
namespace {

TEST(Paths, StandardizeJoinAndComponents) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"/a//b/./c/../d/", "/a/b/d"},
      {"/..", "/"},
      {"/../a", "/a"},
      {"/a/b/../..", "/"},
      {"/", "/"},
      {"a/../../b", "../b"},
      {"", "."},
      {"/a/.../b", "/a/.../b"},
  };
  for (const auto& [in, out] : rows)
    EXPECT_EQ(paths::standardize(in), out) << in;

  EXPECT_EQ(paths::join("/a/", "/b"), "/a/b");
  EXPECT_EQ(paths::join("/", "b"), "/b");
  EXPECT_EQ(paths::lastComponent("/a/b/"), "b");
  EXPECT_EQ(paths::lastComponent("/"), "/");
  EXPECT_EQ(paths::parent("/a/b/"), "/a");
  EXPECT_EQ(paths::parent("/a"), "/");
}

TEST(Paths, ResolveSymlinksKeepsAMissingTail) {
  test::TempDir t;
  char real[PATH_MAX];
  ASSERT_TRUE(::realpath(t.path().c_str(), real));
  const std::string root = real;
  test::makeDirs(t / "real/inner");
  ASSERT_EQ(::symlink((t / "real").c_str(), (t / "link").c_str()), 0);
  ASSERT_EQ(::symlink("real/inner", (t / "relative").c_str()), 0);

  EXPECT_EQ(paths::resolveSymlinks(t / "link/inner"), root + "/real/inner");
  EXPECT_EQ(paths::resolveSymlinks(t / "link/missing/x"), root + "/real/missing/x");
  EXPECT_EQ(paths::resolveSymlinks(t / "link/missing/../inner/"), root + "/real/inner");
  EXPECT_EQ(paths::resolveSymlinks(t / "relative/y"), root + "/real/inner/y");
  EXPECT_EQ(paths::resolveSymlinks("/no-such-top/a/./b"), "/no-such-top/a/b");
}

TEST(Paths, WithinTildeAndPrivate) {
  EXPECT_FALSE(paths::isWithin("/a/bc", "/a/b"));
  EXPECT_TRUE(paths::isWithin("/a/b/c", "/a/b"));
  EXPECT_TRUE(paths::isWithin("/a/b", "/a/b"));
  EXPECT_TRUE(paths::isWithin("/a/b/c", "/a/b/"));
  EXPECT_TRUE(paths::isWithin("/x", "/"));
  EXPECT_FALSE(paths::isWithin("/a", "/a/b"));
  EXPECT_FALSE(paths::isStrictlyWithin("/a/b", "/a/b/"));
  EXPECT_TRUE(paths::isStrictlyWithin("/a/b/c", "/a/b"));
  EXPECT_FALSE(paths::isStrictlyWithin("/a/bc", "/a/b"));

  EXPECT_EQ(paths::tilde("/home/u/Downloads/a.iso", "/home/u"), "~/Downloads/a.iso");
  EXPECT_EQ(paths::tilde("/home/u", "/home/u"), "~");
  EXPECT_EQ(paths::tilde("/home/u/x/home/u/y", "/home/u"), "~/x~/y");  // every occurrence
  EXPECT_EQ(paths::tilde("/srv/x", "/home/u"), "/srv/x");
  EXPECT_EQ(paths::tilde("/srv/x", ""), "/srv/x");

  EXPECT_EQ(paths::stripPrivate("/private/var/x"), "/var/x");
  EXPECT_EQ(paths::stripPrivate("/private"), "/");
  EXPECT_EQ(paths::stripPrivate("/privateer/x"), "/privateer/x");
  EXPECT_EQ(paths::stripPrivate("/var/private/x"), "/var/private/x");
}

}  // namespace
}  // namespace dw
