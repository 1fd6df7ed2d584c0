// history starts by finishing what an interrupted clear left, and says plainly when records of
// the log or its journal could not be read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "clearing/clearing.h"
#include "support/command.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using ::testing::HasSubstr;

TEST(HistoryCli, FinishesAnInterruptedClearAndNamesUnreadableRecords) {
  test::TempHome home;
  Locations places = Locations::platformDefault(home.path());
  test::writeFile(home / "Downloads/a.iso", "a");
  // A clear that moved its item and was gone before writing the log: only the journal knows.
  Clearing::Outcome outcome;
  outcome.sessionID = "0E984725-C51C-4BF4-9960-E1C80E27ABA0";
  const std::string item = home / "Downloads/a.iso";
  ASSERT_FALSE(Clearing::moveOne(
      {item, 1, "file", "a.iso", Clearing::measureForMove(item).value().identity, {}}, places,
      outcome));
  EXPECT_FALSE(test::exists(places.logFile));

  test::CommandResult shown = test::dustwhale({"history"});
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_THAT(shown.out, HasSubstr("In the Trash · a.iso"));
  EXPECT_EQ(test::readFile(places.logFile), ClearedLog::encode(outcome.entries));

  // A record with a bad field: the rest is shown, and so is the fact.
  std::string log = test::readFile(places.logFile);
  test::writeFile(places.logFile, log.substr(0, log.size() - 1) + R"(,{"id":7}])");
  shown = test::dustwhale({"history"});
  EXPECT_THAT(shown.out, HasSubstr("1 record of Recently Cleared could not be read; it is kept in "
                                   "the log unchanged.\n"));
  EXPECT_THAT(shown.out, HasSubstr("a.iso"));

  // A journal with a line that cannot be read: merged as far as it goes, kept, and said.
  std::string journal = std::filesystem::path(places.logFile).parent_path() / "cleared.journal";
  test::writeFile(journal, "{\"op\":\"mo\n");
  shown = test::dustwhale({"history"});
  EXPECT_THAT(shown.out, HasSubstr("Part of a journal of moves could not be read; its bytes are "
                                   "kept beside the log as " +
                                   journal + ".damaged-"));
  EXPECT_FALSE(test::exists(journal));
}

}  // namespace
}  // namespace dw
