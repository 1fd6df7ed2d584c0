// The exit status a script can rely on, as the man page lists it: 0 done, 1 refused or failed,
// 2 a mistake on the command line — including one that shows only once the command line is
// read (a home folder that does not exist, an id that names nothing), which moves nothing.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/json.h"
#include "support/command.h"
#include "support/home_builder.h"
#include "support/linux_apps.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using ::testing::HasSubstr;

TEST(ExitStatusCli, DoneRefusedOrFailedAndMistakesOnTheCommandLine) {
  test::TempHome trashHome;
  test::HomeBuilder b(Locations::Layout::linux);
  std::string gone = test::flatpakData(b, "org.example.Gone", 64 * 1024);
  std::string id = "leftover:org.example.Gone";
  auto run = [&](std::vector<std::string> args) {
    args.insert(args.begin() + 1, {"--home", b.home()});
    return test::dustwhale(args);
  };

  struct Case {
    std::vector<std::string> args;
    int status;
  };
  const std::vector<Case> plain = {
      {{"--version"}, 0},
      {{"scan", "--help"}, 0},
      {{"--bogus"}, 2},
      {{}, 2},
      {{"scan", "--layout", "windows"}, 2},
      {{"scan", "--home", b.inHome("no-such-folder")}, 2},
      {{"clear", "--suggested", "--kind", "everything"}, 2},
      {{"space-map", "--depth", "9"}, 2},
      {{"measure", b.inHome("no-such-file")}, 1},
  };
  for (const Case& c : plain) {
    test::CommandResult r = test::dustwhale(c.args);
    EXPECT_EQ(r.status, c.status) << testing::PrintToString(c.args) << "\n" << r.out << r.err;
  }
  EXPECT_EQ(test::dustwhale({"--version"}).out, "dustwhale " DUSTWHALE_VERSION "\n");

  EXPECT_EQ(run({"clear", "--id", id, "--dry-run"}).status, 0);
  EXPECT_EQ(run({"clear", "--id", b.inHome("nothing-here")}).status, 2);
  // Nobody to ask and no --yes: refused, nothing moved.
  EXPECT_EQ(run({"clear", "--id", id}).status, 1);
  EXPECT_TRUE(test::exists(gone));
  ASSERT_EQ(run({"clear", "--id", id, "--yes"}).status, 0);
  ASSERT_FALSE(test::exists(gone));

  auto history = json::parse(run({"history", "--json"}).out);
  ASSERT_TRUE(history && history->isArray() && history->array().size() == 1u);
  std::string entry = history->array()[0].find("id")->string();
  // One mistyped id among good ones: a mistake, and the good ones stay in the Trash.
  auto typo = run({"put-back", entry, "6B1C0B4E-0000-4000-8000-000000000000"});
  EXPECT_EQ(typo.status, 2);
  EXPECT_THAT(typo.err, HasSubstr("no cleared item with id 6B1C0B4E-0000-4000-8000-000000000000"));
  EXPECT_FALSE(test::exists(gone));
  ASSERT_EQ(run({"put-back", entry}).status, 0);
  EXPECT_TRUE(test::exists(gone));
  // Already back: refused.
  EXPECT_EQ(run({"put-back", entry}).status, 1);
}

}  // namespace
}  // namespace dw
