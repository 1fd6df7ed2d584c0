// dustwhale space-map on a Mac-shaped home, as a person would run it.

#include <gtest/gtest.h>

#include <sstream>

#include "base/json.h"
#include "support/command.h"
#include "support/home_builder.h"

namespace dw {
namespace {

TEST(SpaceMapCli, TreeAdviceAndLevels) {
  test::HomeBuilder mac;
  mac.file(mac.inHome("Movies/clip.mov"), 3 << 20);
  mac.file(mac.inHome("Library/Caches/com.a.b/blob"), 2 << 20);
  mac.file(mac.inHome("Library/Caches/com.a.b/deeper/not-counted"), 8 << 20);
  mac.file(mac.inHome("Documents/notes.txt"), 4096);
  auto run = [&](std::vector<std::string> extra) {
    return test::dustwhaleOn(mac, "space-map", std::move(extra));
  };

  test::CommandResult r = run({"--json"});
  ASSERT_EQ(r.status, 0) << r.err;
  auto doc = json::parse(r.out);
  ASSERT_TRUE(doc) << r.out;
  EXPECT_EQ(doc->find("name")->string(), "me");
  EXPECT_EQ(doc->find("path")->string(), mac.home());
  EXPECT_EQ(doc->find("advice")->find("title")->string(), "Not identified");
  EXPECT_TRUE(doc->find("advice")->find("linkedPage")->isNull());
  const json::Array& top = doc->find("children")->array();
  ASSERT_GE(top.size(), 3u);
  EXPECT_EQ(top[0].find("name")->string(), "Movies");  // largest first
  EXPECT_EQ(top[0].find("advice")->find("linkedPage")->string(), "review");
  const json::Value* library = nullptr;
  for (const json::Value& c : top)
    if (c.find("name")->string() == "Library") library = &c;
  ASSERT_TRUE(library);
  EXPECT_EQ(library->find("advice")->find("title")->string(), "Library");
  const json::Value& caches = library->find("children")->array()[0];
  EXPECT_EQ(caches.find("path")->string(), mac.inHome("Library/Caches"));
  const json::Value& app = caches.find("children")->array()[0];
  EXPECT_EQ(app.find("advice")->find("title")->string(), "Caches");
  // The third level is a leaf that counts its own entry: the file below it is not counted.
  EXPECT_TRUE(app.find("children")->array().empty());
  EXPECT_LT(app.find("bytes")->integer(), 1 << 20);

  test::CommandResult text = run({"--depth", "1"});
  ASSERT_EQ(text.status, 0) << text.err;
  std::istringstream lines(text.out);
  std::string first, second;
  std::getline(lines, first);
  std::getline(lines, second);
  EXPECT_EQ(first.substr(0, 3), "me\t");
  EXPECT_NE(first.find("\t100.0%\tNot identified"), std::string::npos) << first;
  EXPECT_EQ(second.rfind("  Movies\t3 MB\t", 0), 0u) << second;
  EXPECT_NE(second.find("%\tMovies"), std::string::npos) << second;
  EXPECT_EQ(text.out.find("    "), std::string::npos) << "one level only";
  EXPECT_NE(text.err.find("Space Map ready in "), std::string::npos) << text.err;

  EXPECT_NE(run({"--depth", "9"}).status, 0);

  // --full: every node counts everything under it, as du does.
  test::CommandResult full = run({"--full", "--json"});
  ASSERT_EQ(full.status, 0) << full.err;
  auto whole = json::parse(full.out);
  ASSERT_TRUE(whole) << full.out;
  auto du = [](const std::string& path) {
    return std::stoll(test::runCommand({"du", "-B1", "-sx", path}).out);
  };
  EXPECT_EQ(whole->find("bytes")->integer(), du(mac.home()));
  const json::Array& fullTop = whole->find("children")->array();
  ASSERT_FALSE(fullTop.empty());
  EXPECT_EQ(fullTop[0].find("name")->string(), "Library");  // the 8 MB below counts now
  const json::Value& fullApp = fullTop[0].find("children")->array()[0].find("children")->array()[0];
  EXPECT_EQ(fullApp.find("path")->string(), mac.inHome("Library/Caches/com.a.b"));
  EXPECT_EQ(fullApp.find("bytes")->integer(), du(mac.inHome("Library/Caches/com.a.b")));
  test::CommandResult fullText = run({"--full", "--depth", "0"});
  EXPECT_NE(fullText.err.find("Space Map sizes complete in "), std::string::npos) << fullText.err;
}

}  // namespace
}  // namespace dw
