// The real dustwhale binary, run as a person would run it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "base/json.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

struct Outcome {
  int status = -1;  // exit status; -1 when the process did not exit normally
  std::string out, err;
};

std::string quoted(const std::string& arg) {
  std::string q = "'";
  for (char c : arg)
    q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

Outcome run(const std::vector<std::string>& args, const test::TempDir& scratch) {
  std::string command;
  for (const auto& a : args)
    command += quoted(a) + " ";
  command += "2>" + quoted(scratch / "stderr");
  Outcome r;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return r;
  char buffer[4096];
  while (size_t n = std::fread(buffer, 1, sizeof buffer, pipe))
    r.out.append(buffer, n);
  int status = ::pclose(pipe);
  if (WIFEXITED(status)) r.status = WEXITSTATUS(status);
  r.err = test::readFile(scratch / "stderr");
  return r;
}

Outcome dustwhale(std::vector<std::string> args, const test::TempDir& scratch) {
  args.insert(args.begin(), DUSTWHALE_BINARY);
  return run(args, scratch);
}

int lines(const std::string& text) {
  int n = 0;
  for (char c : text)
    n += c == '\n';
  return n;
}

TEST(MeasureCli, JsonAgreesWithDu) {
  test::TempDir scratch, t;
  const std::string tree = t / "tree";
  test::writeSized(tree + "/a/data", 300 << 10);
  test::writeSized(tree + "/b/c/more", 12345);
  ASSERT_EQ(::link((tree + "/a/data").c_str(), (tree + "/b/twin").c_str()), 0);
  ASSERT_EQ(::symlink("../a", (tree + "/b/to-a").c_str()), 0);
  ASSERT_EQ(::symlink("gone", (tree + "/b/dangling").c_str()), 0);
  int fd = ::open((tree + "/sparse").c_str(), O_WRONLY | O_CREAT, 0644);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(::pwrite(fd, "x", 1, 1 << 30), 1);
  ::close(fd);
  timespec times[2] = {{1'700'000'000, 0}, {1'700'000'000, 0}};
  for (const char* f : {"/a/data", "/b/c/more", "/sparse"}) {
    ASSERT_EQ(::utimensat(AT_FDCWD, (tree + f).c_str(), times, 0), 0);
  }
  test::makeDirs(t / "empty/x/y");

  Outcome r = dustwhale({"measure", "--json", tree, t / "empty"}, scratch);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  auto doc = json::parse(r.out);
  ASSERT_TRUE(doc && doc->isArray()) << r.out;
  ASSERT_EQ(doc->array().size(), 2u);
  const json::Value& row = doc->array()[0];
  EXPECT_EQ(row.find("path")->string(), tree);
  EXPECT_EQ(row.find("newest")->string(), "2023-11-14T22:13:20Z");

  Outcome du = run({"du", "-sx", "--block-size=1", tree}, scratch);
  ASSERT_EQ(du.status, 0) << du.err;
  EXPECT_EQ(row.find("bytes")->integer(), std::stoll(du.out));

  const json::Value& empty = doc->array()[1];
  EXPECT_TRUE(empty.find("newest")->isNull());
  EXPECT_EQ(empty.find("bytes")->integer(),
            std::stoll(run({"du", "-sx", "--block-size=1", t / "empty"}, scratch).out));
}

TEST(MeasureCli, HelpVersionAndOneLineErrors) {
  test::TempDir scratch;
  Outcome help = dustwhale({"--help"}, scratch);
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("measure"), std::string::npos);
  EXPECT_EQ(dustwhale({"measure", "--help"}, scratch).status, 0);
  Outcome version = dustwhale({"--version"}, scratch);
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.rfind("dustwhale ", 0), 0u) << version.out;

  struct Bad {
    std::vector<std::string> args;
    std::string mentions;
  };
  const std::vector<Bad> bad = {
      {{"measure", "--bogus", "x"}, "--bogus"},
      {{"--bogus"}, "--bogus"},
      {{"measure", scratch / "no-such-folder"}, "no-such-folder"},
      {{"measure"}, "paths"},
      {{}, "subcommand"},
      {{"nonsense"}, "nonsense"},
  };
  for (const auto& b : bad) {
    Outcome r = dustwhale(b.args, scratch);
    SCOPED_TRACE(r.err);
    EXPECT_GT(r.status, 0);  // a normal exit, not a crash
    EXPECT_LT(r.status, 128);
    EXPECT_EQ(lines(r.err), 1);
    EXPECT_NE(r.err.find(b.mentions), std::string::npos);
  }
}

}  // namespace
}  // namespace dw
