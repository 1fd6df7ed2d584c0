// The promise, end to end through the command line: scan a Mac-shaped home, clear a cache, a
// large file and a leftover into a real Trash, read the history, put every item back byte for
// byte, and refuse a second Put Back.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "base/json.h"
#include "support/command.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class ClearCli : public ::testing::Test {
 protected:
  void SetUp() override {
    cache = mac.cache("com.example.big", 52'428'800);
    file = mac.sparseFile(mac.inHome("Downloads/installer.dmg"), 209'715'200);
    mac.file(mac.inHome("Library/Application Support/com.example.gone/state"), 8192);
    mac.preference("com.example.gone");
    mac.cache("com.example.small", 11 * 1024 * 1024);
    before = test::snapshot(mac.home());
  }

  test::CommandResult run(const std::string& command, std::vector<std::string> extra = {}) {
    return test::dustwhaleOn(mac, command, std::move(extra));
  }

  test::TempHome trashHome;
  test::HomeBuilder mac;
  std::string cache, file;
  std::vector<std::string> before;
};

TEST_F(ClearCli, ScanJsonCarriesTheFindingsSelectionAndMessage) {
  auto scan = run("scan", {"--json"});
  ASSERT_EQ(scan.status, 0) << scan.err;
  auto doc = json::parse(scan.out);
  ASSERT_TRUE(doc && doc->isObject()) << scan.out;
  EXPECT_EQ(doc->find("message")->string(),
            "Nothing is removed until you confirm. Caches go to the Trash.");
  EXPECT_GT(doc->find("volume")->find("total")->integer(), 0);
  const auto& selected = doc->find("selected")->array();
  ASSERT_EQ(selected.size(), 1u);
  EXPECT_EQ(selected[0].string(), cache);

  std::map<std::string, const json::Value*> byId;
  for (const auto& f : doc->find("findings")->array())
    byId[f.find("id")->string()] = &f;
  ASSERT_EQ(byId.size(), 4u);
  const json::Value& big = *byId.at(cache);
  EXPECT_EQ(
      json::write(big),
      "{\"id\":\"" + cache +
          "\",\"name\":\"big\",\"path\":\"~/Library/Caches/com.example.big\",\"bytes\":52428800,"
          "\"note\":\"Temporary files this app can recreate. Documents, projects, and build "
          "folders stay.\",\"suggested\":true,\"removable\":true,\"kind\":\"cache\","
          "\"leftoverPaths\":[],\"leftoverEvidence\":[],\"leftoverBundleID\":null,"
          "\"leftoverLastUsed\":null,\"leftoverLargestFiles\":[],\"contentModified\":\"" +
          big.find("contentModified")->string() +
          "\",\"summary\":\"Temporary files this app can recreate. Documents, projects, "
          "and build folders stay.\",\"whySafe\":\"The app recreates this folder when it "
          "needs it.\"}");
  const json::Value& dmg = *byId.at(file);
  EXPECT_EQ(dmg.find("summary")->string(),
            "In Downloads. Nothing is removed until you select it and confirm.");
  const json::Value& gone = *byId.at("leftover:com.example.gone");
  EXPECT_EQ(gone.find("leftoverBundleID")->string(), "com.example.gone");
  EXPECT_EQ(gone.find("leftoverPaths")->array().size(), 2u);
  EXPECT_THAT(gone.find("note")->string(), StartsWith("Last used "));

  auto text = run("scan");
  ASSERT_EQ(text.status, 0);
  EXPECT_THAT(text.out, HasSubstr("Caches · "));
  EXPECT_THAT(text.out, HasSubstr("[x] big · 50 MB · Safe to clear"));
  EXPECT_THAT(text.out, HasSubstr("~/Downloads/installer.dmg"));
  EXPECT_EQ(test::snapshot(mac.home()), before);  // a scan only reads
}

TEST_F(ClearCli, NothingMovesWithoutConsent) {
  auto noTerminal = run("clear", {"--suggested"});
  EXPECT_NE(noTerminal.status, 0);
  EXPECT_THAT(noTerminal.err, HasSubstr("--yes"));
  auto dry = run("clear", {"--suggested", "--dry-run"});
  EXPECT_EQ(dry.status, 0);
  EXPECT_THAT(dry.out, HasSubstr("big · 50 MB · cache"));
  auto unknown = run("clear", {"--id", mac.inHome("Documents"), "--yes"});
  EXPECT_NE(unknown.status, 0);
  auto neither = run("clear", {"--yes"});
  EXPECT_NE(neither.status, 0);
  EXPECT_EQ(test::snapshot(mac.home()), before);
  EXPECT_FALSE(test::exists(trashHome.trashFiles()));
}

TEST_F(ClearCli, ClearHistoryAndPutBackRoundTrip) {
  auto clear = run("clear", {"--id", cache, "--id", "~/Downloads/installer.dmg", "--id",
                             "leftover:com.example.gone", "--yes"});
  ASSERT_EQ(clear.status, 0) << clear.out << clear.err;
  EXPECT_THAT(clear.out, HasSubstr("moved to the Trash. Empty the Trash to get the space back."));
  EXPECT_FALSE(test::exists(cache));
  EXPECT_FALSE(test::exists(file));

  // Read for the home the items came from: that is where Put Back returns them.
  auto history = run("history", {"--json"});
  ASSERT_EQ(history.status, 0) << history.err;
  auto entries = json::parse(history.out);
  ASSERT_TRUE(entries && entries->isArray()) << history.out;
  ASSERT_EQ(entries->array().size(), 4u);
  std::string session = entries->array()[0].find("sessionID")->string();
  for (const auto& e : entries->array()) {
    EXPECT_EQ(e.find("sessionID")->string(), session);
    EXPECT_EQ(e.find("status")->string(), "In the Trash");
    EXPECT_TRUE(test::exists(e.find("trashPath")->string()));
    EXPECT_TRUE(e.find("putBackAt")->isNull());
  }
  auto listing = test::dustwhale({"history"});
  EXPECT_THAT(listing.out, HasSubstr("4 items · "));

  for (const auto& e : entries->array()) {
    auto back = run("put-back", {e.find("id")->string()});
    EXPECT_EQ(back.status, 0) << back.err;
    EXPECT_EQ(back.out, e.find("name")->string() + " was put back.\n");
  }
  EXPECT_EQ(test::snapshot(mac.home()), before);

  auto again = run("put-back", {entries->array()[0].find("id")->string()});
  EXPECT_NE(again.status, 0);
  EXPECT_EQ(again.err, entries->array()[0].find("name")->string() + " was already put back.\n");
  auto after = json::parse(run("history", {"--json"}).out);
  EXPECT_THAT(after->array()[0].find("status")->string(), StartsWith("Put back "));
  EXPECT_NE(run("put-back", {"00000000-0000-0000-0000-000000000000"}).status, 0);
}

// A whole clear comes back in one step: --last takes the most recent clear, and each item goes
// back with Put Back's own checks; one whose place is taken again stays in the Trash (nothing is
// replaced) and is named, the rest are back byte for byte. --clear with the start of the clear's
// id then takes what is left, and an id may be given by its start.
TEST_F(ClearCli, PutBackOfAWholeClearRefusesOnlyTheItemWhosePlaceIsTaken) {
  auto clear = run("clear", {"--id", cache, "--id", "~/Downloads/installer.dmg", "--id",
                             "leftover:com.example.gone", "--yes"});
  ASSERT_EQ(clear.status, 0) << clear.out << clear.err;
  auto entries = json::parse(run("history", {"--json"}).out);
  ASSERT_TRUE(entries && entries->isArray());
  ASSERT_EQ(entries->array().size(), 4u);
  const std::string session = entries->array()[0].find("sessionID")->string();
  EXPECT_THAT(run("history").out, HasSubstr("  clear " + session + "\n"));

  // Something new where the cache was: it must stay as it is.
  test::writeFile(cache, "made since");
  auto back = run("put-back", {"--last"});
  EXPECT_EQ(back.status, 1);
  EXPECT_THAT(back.err, HasSubstr("3 items were put back ("));
  EXPECT_THAT(back.err, HasSubstr("1 item stayed in the Trash: big was not put back: something "
                                  "already exists at its original location."));
  EXPECT_EQ(test::readFile(cache), "made since");
  std::vector<std::string> now = test::snapshot(mac.home());
  std::vector<std::string> expected;
  for (const std::string& line : before) {
    if (line.rfind("Library/Caches/com.example.big", 0) != 0) expected.push_back(line);
  }
  std::vector<std::string> rest;
  for (const std::string& line : now) {
    if (line.rfind("Library/Caches/com.example.big", 0) != 0) rest.push_back(line);
  }
  EXPECT_EQ(rest, expected);  // the three others are back, byte for byte

  // Once the place is free again, the clear's id (its start) brings the last item back.
  ASSERT_EQ(::unlink(cache.c_str()), 0);  // the test's own file
  auto rest_back = run("put-back", {"--clear", session.substr(0, 8)});
  EXPECT_EQ(rest_back.status, 0) << rest_back.err;
  EXPECT_EQ(rest_back.out, "big was put back.\n");
  EXPECT_EQ(test::snapshot(mac.home()), before);
  auto nothing = run("put-back", {"--last"});
  EXPECT_EQ(nothing.status, 0);
  EXPECT_EQ(nothing.out, "Nothing of this clear is in the Trash.\n");
  EXPECT_EQ(run("put-back", {"--clear", "ffffffff-no"}).status, 2);
  EXPECT_EQ(run("put-back", {}).status, 2);
  EXPECT_EQ(run("put-back", {"--last", entries->array()[0].find("id")->string()}).status, 2);
}

}  // namespace
}  // namespace dw
