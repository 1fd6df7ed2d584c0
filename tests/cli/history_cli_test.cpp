// history starts by finishing what an interrupted clear left, and says plainly when records of
// the log or its journal could not be read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "clearing/cleared_log.h"
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

// An id may be typed by its start; one that fits several items (or clears) puts nothing back and
// names them all.
TEST(HistoryCli, PutBackTakesAnUnambiguousStartOfAnId) {
  test::TempHome home;
  Locations places = Locations::platformDefault(home.path());
  auto entry = [&](std::string id, std::string session, std::string name) {
    ClearedLog::Entry e;
    e.id = std::move(id);
    e.sessionID = std::move(session);
    e.originalPath = home / ("Downloads/" + name);
    e.trashPath = home / (".local/share/Trash/files/" + name);
    e.bytes = 4096;
    e.kind = "file";
    e.name = std::move(name);
    e.date = Clock::from_time_t(1'700'000'000);
    return e;
  };
  ClearedLog::append({entry("AAAAAAAA-0000-4000-8000-000000000001",
                            "BBBBBBBB-0000-4000-8000-000000000001", "one.iso"),
                      entry("AAAAAAAA-0000-4000-8000-000000000002",
                            "BBBBBBBB-0000-4000-8000-000000000002", "two.iso")},
                     places);
  auto ambiguous = test::dustwhale({"put-back", "aaaaaaaa"});
  EXPECT_EQ(ambiguous.status, 2);
  EXPECT_THAT(ambiguous.err, HasSubstr("aaaaaaaa names more than one cleared item: "));
  EXPECT_THAT(ambiguous.err, HasSubstr("AAAAAAAA-0000-4000-8000-000000000001"));
  EXPECT_THAT(ambiguous.err, HasSubstr("AAAAAAAA-0000-4000-8000-000000000002"));
  auto clears = test::dustwhale({"put-back", "--clear", "BBBB"});
  EXPECT_EQ(clears.status, 2);
  EXPECT_THAT(clears.err, HasSubstr("names more than one clear: "));
  // Told apart by their start, each is then Put Back's to refuse: neither is in the Trash.
  auto two = test::dustwhale({"put-back", "aaaaaaaa-0000-4000-8000-0000000000"});
  EXPECT_EQ(two.status, 2);
  auto one = test::dustwhale({"put-back", "AAAAAAAA-0000-4000-8000-000000000002"});
  EXPECT_EQ(one.status, 1);
  EXPECT_THAT(one.err, HasSubstr("two.iso cannot be put back"));
  auto clear = test::dustwhale({"put-back", "--clear", "bbbbbbbb-0000-4000-8000-000000000001"});
  EXPECT_EQ(clear.status, 0);
  EXPECT_EQ(clear.out, "Nothing of this clear is in the Trash.\n");
  EXPECT_EQ(test::dustwhale({"put-back", "cccc"}).status, 2);
}

}  // namespace
}  // namespace dw
