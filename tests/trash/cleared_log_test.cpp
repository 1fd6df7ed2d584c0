#include "trash/cleared_log.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <system_error>

#include "base/time.h"
#include "base/uuid.h"
#include "support/temp_dir.h"

namespace dw::ClearedLog {
namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::writeFile;

Entry sample(std::string name = "com.example.app") {
  Entry e;
  e.id = newUuid();
  e.sessionID = newUuid();
  e.originalPath = "/home/u/.cache/" + name;
  e.trashPath = "/home/u/.local/share/Trash/files/" + name;
  e.bytes = 4096;
  e.kind = "cache";
  e.name = name;
  e.date = timefmt::fromReferenceSeconds(785432523.5);
  return e;
}

TEST(ClearedLog, EncodesExactBytesAndDecodesOnlyWellFormedLogs) {
  Entry a = sample();
  a.id = "6f9619ff-8b86-d011-b42d-00c04fc964ff";
  a.sessionID = "0E984725-C51C-4BF4-9960-E1C80E27ABA0";
  a.bytes = 1048576;
  Entry b = a;
  b.id = "A1B2C3D4-0000-4000-8000-000000000001";
  b.kind = "file";
  b.name = "caf\xC3\xA9 \xFF \"q\"";
  b.putBackAt = timefmt::fromReferenceSeconds(785432600.25);
  EXPECT_EQ(
      encode({a, b}),
      R"([{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","sessionID":"0E984725-C51C-4BF4-9960-E1C80E27ABA0",)"
      R"("originalPath":"\/home\/u\/.cache\/com.example.app","trashPath":"\/home\/u\/.local\/share\/Trash\/files\/com.example.app",)"
      R"("bytes":1048576,"kind":"cache","name":"com.example.app","date":785432523.5},)"
      R"({"id":"A1B2C3D4-0000-4000-8000-000000000001","sessionID":"0E984725-C51C-4BF4-9960-E1C80E27ABA0",)"
      R"("originalPath":"\/home\/u\/.cache\/com.example.app","trashPath":"\/home\/u\/.local\/share\/Trash\/files\/com.example.app",)"
      "\"bytes\":1048576,\"kind\":\"file\",\"name\":\"caf\xC3\xA9 \\uDCFF \\\"q\\\"\","
      R"("date":785432523.5,"putBackAt":785432600.25}])");
  EXPECT_EQ(encode({}), "[]");

  auto decoded = decode(encode({a, b}));
  ASSERT_TRUE(decoded);
  a.id = "6F9619FF-8B86-D011-B42D-00C04FC964FF";
  EXPECT_EQ(*decoded, (std::vector<Entry>{a, b}));

  std::string good = encode({a});
  auto without = [&](const std::string& key) {
    std::string text = good;
    size_t at = text.find("\"" + key + "\"");
    size_t end = text.find(',', at);
    return text.erase(at, end - at + 1);
  };
  for (const std::string& bad :
       {std::string("{}"), std::string("[1]"), std::string("[{}]"), std::string("not json"),
        std::string(""), good.substr(0, good.size() - 1), without("id"), without("name"),
        without("date"), without("bytes"),
        [&] {
          std::string t = good;
          return t.replace(t.find("6F96"), 4, "ZZZZ");
        }(),
        [&] {
          std::string t = good;
          return t.replace(t.find("1048576"), 7, "\"many\"");
        }()}) {
    EXPECT_FALSE(decode(bad)) << bad;
  }
  EXPECT_TRUE(decode("[]"));

  // Reading and writing the log again keeps every date's number.
  std::string precise = good;
  precise.replace(precise.find("785432523.5"), 11, "785432600.1234567");
  EXPECT_EQ(encode(*decode(precise)), precise);
  a.date = Clock::now();
  EXPECT_EQ(encode(*decode(encode({a}))), encode({a}));
}

TEST(ClearedLog, AppendSaveAndLoad) {
  test::TempHome home;
  Locations places = Locations::platformDefault(home.path());

  append({}, places);
  EXPECT_FALSE(test::exists(places.logFile));  // nothing to add, nothing written
  EXPECT_TRUE(load(places).empty());

  Entry a = sample("a"), b = sample("b"), c = sample("c");
  append({a, b}, places);
  append({c}, places);
  EXPECT_EQ(decode(readFile(places.logFile)), (std::vector<Entry>{a, b, c}));
  EXPECT_EQ(load(places), (std::vector<Entry>{c, b, a}));
  save({b}, places);
  EXPECT_EQ(load(places), std::vector<Entry>{b});

  // A damaged log reads as empty and the next append replaces it.
  writeFile(places.logFile, "[{\"id\": tru");
  EXPECT_TRUE(load(places).empty());
  append({c}, places);
  EXPECT_EQ(load(places), std::vector<Entry>{c});

  // A record that could never be read back is refused before anything is written.
  Entry broken = sample("x");
  broken.id = "not-a-uuid";
  std::string before = readFile(places.logFile);
  EXPECT_THROW(append({broken}, places), std::invalid_argument);
  EXPECT_EQ(readFile(places.logFile), before);

  // A file where the log's folder belongs: the folder cannot be made.
  test::TempHome blocked;
  Locations nowhere = Locations::platformDefault(blocked.path());
  writeFile(fs::path(nowhere.logFile).parent_path().string(), "in the way");
  EXPECT_THROW(append({a}, nowhere), std::system_error);
  EXPECT_EQ(readFile(fs::path(nowhere.logFile).parent_path().string()), "in the way");
}

TEST(ClearedLog, TwoProcessesAppendingAtOnceLoseNothing) {
  test::TempHome home;
  Locations places = Locations::platformDefault(home.path());
  std::vector<pid_t> children;
  for (int p = 0; p < 2; ++p) {
    pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      try {
        for (int i = 0; i < 50; ++i)
          append({sample("p" + std::to_string(p))}, places);
      } catch (...) {
        ::_exit(1);
      }
      ::_exit(0);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  std::vector<Entry> all = load(places);
  std::set<std::string> ids;
  for (const Entry& e : all)
    ids.insert(e.id);
  EXPECT_EQ(all.size(), 100u);
  EXPECT_EQ(ids.size(), 100u);
}

#ifdef __linux__  // the Trash lives under the XDG data folder
TEST(ClearedLog, LocationRuleAndStatus) {
  test::TempHome home;
  const std::string h = home.path();
  const std::string files = home.trashFiles();
  fs::create_directories(files);
  fs::create_directories(h + "/docs");
  EXPECT_TRUE(isAllowed(files + "/a.txt", h + "/docs/a.txt", h));
  EXPECT_TRUE(isAllowed(files + "/a.txt", h + "/gone/deeper/a.txt", h));
  EXPECT_FALSE(isAllowed("/tmp/a.txt", h + "/docs/a.txt", h));
  EXPECT_FALSE(isAllowed(files + "/a.txt", "/etc/a.txt", h));
  EXPECT_FALSE(isAllowed(files + "/a.txt", h, h));
  EXPECT_FALSE(isAllowed(files + "/../../../../../../etc/passwd", h + "/a", h));
  EXPECT_FALSE(isAllowed(files + "/a.txt", h + "/../elsewhere/a", h));
  EXPECT_FALSE(isAllowed("relative/a", h + "/a", h));

  // Links in the chain are followed: one out of the Trash, or out of home, is refused.
  fs::create_directory_symlink("/tmp", files + "/escape");
  fs::create_directory_symlink("/etc", h + "/etc-link");
  EXPECT_FALSE(isAllowed(files + "/escape/a.txt", h + "/a.txt", h));
  EXPECT_FALSE(isAllowed(files + "/a.txt", h + "/etc-link/a.txt", h));
  // A home reached through a link is the same home.
  fs::create_symlink(h, h + "-link");
  EXPECT_TRUE(isAllowed(h + "-link/.local/share/Trash/files/a", h + "-link/a", h));
  fs::remove(h + "-link");

  Entry e = sample();
  e.trashPath = files + "/present";
  writeFile(e.trashPath, "here");
  EXPECT_EQ(status(e), 0);
  EXPECT_EQ(statusText(e), "In the Trash");
  e.trashPath = files + "/emptied";
  EXPECT_EQ(status(e), 2);
  EXPECT_EQ(statusText(e), "Trash emptied");
  e.putBackAt = Clock::now();
  EXPECT_EQ(status(e), 1);
  EXPECT_EQ(statusText(e), "Put back " + timefmt::localDateTime(*e.putBackAt));
}
#endif

}  // namespace
}  // namespace dw::ClearedLog
