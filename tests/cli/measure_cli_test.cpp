// The real dustwhale binary, run as a person would run it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/json.h"
#include "support/command.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

std::int64_t du(const std::string& path) {
  return std::stoll(test::runCommand({"du", "-sx", "--block-size=1", path}).out);
}

TEST(MeasureCli, JsonAgreesWithDu) {
  test::TempDir t;
  const std::string tree = t / "tree";
  test::writeSized(tree + "/a/data", 300 << 10);
  test::writeSized(tree + "/b/c/more", 12345);
  test::writeFile(tree + "/sparse", "x");
  ASSERT_EQ(::truncate((tree + "/sparse").c_str(), 1 << 30), 0);
  ASSERT_EQ(::link((tree + "/a/data").c_str(), (tree + "/b/twin").c_str()), 0);
  ASSERT_EQ(::symlink("../a", (tree + "/b/to-a").c_str()), 0);
  ASSERT_EQ(::symlink("gone", (tree + "/b/dangling").c_str()), 0);
  // The newest regular file (both of its links) dates the tree; the others are older: written now.
  const timespec later[2] = {{4'000'000'000, 0}, {4'000'000'000, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, (tree + "/a/data").c_str(), later, 0), 0);
  test::makeDirs(t / "empty/x/y");

  test::CommandResult r = test::dustwhale({"measure", "--json", tree, t / "empty"});
  ASSERT_TRUE(r.status == 0 && r.err.empty()) << r.status << r.err;
  auto doc = json::parse(r.out);
  ASSERT_TRUE(doc && doc->isArray() && doc->array().size() == 2) << r.out;
  const json::Value &row = doc->array()[0], &empty = doc->array()[1];
  EXPECT_EQ(row.find("path")->string(), tree);
  EXPECT_EQ(row.find("newest")->string(), "2096-10-02T07:06:40Z");
  EXPECT_EQ(row.find("bytes")->integer(), du(tree));
  EXPECT_TRUE(empty.find("newest")->isNull());
  EXPECT_EQ(empty.find("bytes")->integer(), du(t / "empty"));
}

TEST(MeasureCli, HelpVersionAndOneLineErrors) {
  test::CommandResult help = test::dustwhale({"--help"}), version = test::dustwhale({"--version"});
  EXPECT_TRUE(help.status == 0 && help.out.find("measure") != std::string::npos) << help.out;
  EXPECT_EQ(test::dustwhale({"measure", "--help"}).status, 0);
  EXPECT_TRUE(version.status == 0 && version.out.rfind("dustwhale ", 0) == 0) << version.out;

  // Each mistake: one line on standard error that names it, and a normal non-zero exit.
  const std::vector<std::pair<std::vector<std::string>, std::string>> bad = {
      {{"measure", "--bogus", "x"}, "--bogus"},
      {{"--bogus"}, "--bogus"},
      {{"measure", "/no/such-folder"}, "such-folder"},
      {{"measure"}, "paths"},
      {{}, "subcommand"},
      {{"nonsense"}, "nonsense"}};
  for (const auto& [args, mentions] : bad) {
    test::CommandResult r = test::dustwhale(args);
    EXPECT_TRUE(r.status > 0 && r.status < 128) << r.status;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_NE(r.err.find(mentions), std::string::npos) << r.err;
  }
}

}  // namespace
}  // namespace dw
