#include "clearing/cleared_log.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/time.h"
#include "base/uuid.h"
#include "platform/trash.h"
#include "support/mounts.h"
#include "support/temp_dir.h"
#ifdef __linux__
#include "platform/linux/syscalls.h"
#endif

namespace dw::ClearedLog {
namespace {

namespace fs = std::filesystem;
using namespace std::literals;
using Kind = PutBackError::Kind;
using namespace dw::test;

Entry sample(const std::string& name = "com.example.app", const std::string& id = newUuid()) {
  return Entry(id, "0E984725-C51C-4BF4-9960-E1C80E27ABA0", "/home/u/.cache/" + name,
               "/home/u/.local/share/Trash/files/" + name, 1048576, "cache", name,
               timefmt::fromReferenceSeconds(785432523.5));
}

TEST(ClearedLog, EncodesExactBytesAndDecodesOnlyWellFormedLogs) {
  Entry a = sample("com.example.app", "6f9619ff-8b86-d011-b42d-00c04fc964ff");  // upper-cased
  Entry b = sample("com.example.app", "A1B2C3D4-0000-4000-8000-000000000001");
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
  a.id = "6F9619FF-8B86-D011-B42D-00C04FC964FF";
  EXPECT_EQ(decode(encode({a, b})), (std::vector<Entry>{a, b}));

  const std::string good = encode({a});
  auto edit = [&](const std::string& from, const std::string& to) {
    std::string text = good;
    return text.replace(text.find(from), from.size(), to);
  };
  for (const std::string& bad :
       {"{}"s, "[1]"s, "[{}]"s, "not json"s, ""s, good.substr(0, good.size() - 1),
        edit(R"("id":"6F9619FF-8B86-D011-B42D-00C04FC964FF",)", ""),
        edit(R"("name":"com.example.app",)", ""), edit(R"(,"date":785432523.5)", ""),
        edit(R"("bytes":1048576,)", ""), edit("6F96", "ZZZZ"), edit("1048576", "\"many\"")})
    EXPECT_FALSE(decode(bad)) << bad;

  // Reading and writing the log again keeps every date's number.
  const std::string precise = edit("785432523.5", "785432600.1234567");
  EXPECT_EQ(encode(decode(precise).value()), precise);
}

struct ClearedLogFiles : ::testing::Test {
  test::TempHome home;
  Locations places = Locations::platformDefault(home.path());
};

TEST_F(ClearedLogFiles, AppendSaveAndLoad) {
  append({}, places);
  EXPECT_FALSE(exists(places.logFile));  // nothing to add, nothing written
  EXPECT_TRUE(load(places).empty());
  Entry a = sample("a"), b = sample("b"), c = sample("c");
  append({a, b}, places);
  append({c}, places);
  EXPECT_EQ(decode(readFile(places.logFile)), (std::vector<Entry>{a, b, c}));
  EXPECT_EQ(load(places), (std::vector<Entry>{c, b, a}));
  save({b}, places);
  EXPECT_EQ(load(places), std::vector<Entry>{b});

  // A log cut short inside its first record: nothing to read, and the bytes are kept aside.
  writeFile(places.logFile, "[{\"id\": tru");
  EXPECT_TRUE(load(places).empty());
  append({c}, places);
  EXPECT_EQ(load(places), std::vector<Entry>{c});

  // A record that could never be read back is refused before anything is written.
  EXPECT_THROW(append({sample("x", "not-a-uuid")}, places), std::invalid_argument);
  EXPECT_EQ(load(places), std::vector<Entry>{c});

  // A file where the log's folder belongs: the folder cannot be made.
  const std::string folder = fs::path(places.logFile).parent_path();
  fs::remove_all(folder);
  writeFile(folder, "in the way");
  EXPECT_THROW(append({a}, places), std::system_error);
  EXPECT_EQ(readFile(folder), "in the way");
}

// A share is a record of its own kind that every reader of the log's format reads: the nine
// fields of every record, with the copies as one more key, and no Trash path.
TEST_F(ClearedLogFiles, AShareIsARecordEveryReaderReadsWithNothingToPutBack) {
  Entry share = sample("film.mov and 1 other file", "A1B2C3D4-0000-4000-8000-0000000000AA");
  share.kind = "share";
  share.originalPath = home / "Videos";
  share.trashPath = "";
  share.bytes = 6299648;
  share.shared = {{home / "Videos/old/film.mov", home / "Videos/film.mov"},
                  {home / "Videos/b.mp4", home / "Videos/a.mp4"}};
  const std::string text = encode({share});
  const std::string copies = R"(,"shared":[{"path":")" + home / "Videos/old/film.mov" +
                             R"(","keptPath":")" + home / "Videos/film.mov" + R"("},{"path":")" +
                             home / "Videos/b.mp4" + R"(","keptPath":")" + home / "Videos/a.mp4" +
                             R"("}])";
  std::string escaped = copies;
  for (size_t at = 0; (at = escaped.find('/', at)) != std::string::npos; at += 2)
    escaped.replace(at, 1, "\\/");
  ASSERT_NE(text.find(escaped), std::string::npos) << text;
  EXPECT_EQ(decode(text), std::vector<Entry>{share});

  // What a reader that knows only the nine fields sees: an entry like any other, whose empty
  // Trash path is in no Trash, so it never offers to put it back.
  std::string plain = text;
  plain.erase(plain.find(escaped), escaped.size());
  Entry seen = share;
  seen.shared.clear();
  EXPECT_EQ(decode(plain), std::vector<Entry>{seen});
  EXPECT_FALSE(isAllowed(seen, places));
  EXPECT_FALSE(platform::trashItemMatches(seen.trashPath, seen.originalPath));

  // This reader: shared in place, and Put Back says there is nothing to put back.
  Entry moved = sample("a");
  append({moved, share}, places);
  EXPECT_EQ(load(places), (std::vector<Entry>{share, moved}));
  EXPECT_EQ(status(share, places), Status::shared);
  try {
    putBack(share, places);
    ADD_FAILURE() << "a share was put back";
  } catch (const PutBackError& e) {
    EXPECT_EQ(std::string(e.what()), kNothingToPutBack);
  }
  EXPECT_EQ(load(places), (std::vector<Entry>{share, moved}));

  // Copies that are not a list of paths: the record is kept byte for byte, never rewritten
  // without them.
  const std::string odd = R"({"id":"A1B2C3D4-0000-4000-8000-0000000000BB","sessionID":)"
                          R"("0E984725-C51C-4BF4-9960-E1C80E27ABA0","originalPath":"\/x",)"
                          R"("trashPath":"","bytes":1,"kind":"share","name":"x","date":1,)"
                          R"("shared":[{"path":3}]})";
  const std::string log = readFile(places.logFile);
  writeFile(places.logFile, log.substr(0, log.size() - 1) + "," + odd + "]");
  EXPECT_EQ(read(places).unreadable, 1);
  append({sample("c")}, places);
  EXPECT_NE(readFile(places.logFile).find(odd), std::string::npos);
}

// The files beside the log whose names begin "cleared.json.damaged-", with their contents.
std::vector<std::string> damagedCopies(const Locations& places) {
  std::vector<std::string> copies;
  for (const auto& e : fs::directory_iterator(fs::path(places.logFile).parent_path())) {
    if (e.path().filename().string().rfind("cleared.json.damaged-", 0) == 0)
      copies.push_back(readFile(e.path()));
  }
  std::sort(copies.begin(), copies.end());
  return copies;
}

TEST_F(ClearedLogFiles, ADamagedLogLosesNothing) {
  Entry a = sample("a"), b = sample("b"), c = sample("c");
  const std::string good = encode({a, b});
  // One record with one bad field, between two good ones.
  const std::string bad = R"({"id":"not a uuid","bytes":"many"})";
  const std::string damaged = good.substr(0, good.size() - 1) + "," + bad + "]";
  writeFile(places.logFile, damaged);
  EXPECT_EQ(load(places), (std::vector<Entry>{b, a}));
  EXPECT_EQ(read(places).unreadable, 1);
  append({c}, places);
  // The good records and the new one are there, and the bad one is kept byte for byte.
  const std::string written = readFile(places.logFile);
  EXPECT_EQ(written, good.substr(0, good.size() - 1) + "," + bad + "," + encode({c}).substr(1));
  EXPECT_EQ(load(places), (std::vector<Entry>{c, b, a}));
  EXPECT_TRUE(damagedCopies(places).empty());

  // Cut short in the middle of the last record: the records before it stay, and the file as it
  // was is kept beside the new one.
  fs::remove_all(fs::path(places.logFile).parent_path());
  const std::string cut = good.substr(0, good.size() - 20);
  writeFile(places.logFile, cut);
  EXPECT_EQ(load(places), std::vector<Entry>{a});
  append({c}, places);
  EXPECT_EQ(load(places), (std::vector<Entry>{c, a}));
  EXPECT_EQ(damagedCopies(places), std::vector<std::string>{cut});

  // A folder where the log belongs: refused with a clear error, and the folder is left alone.
  fs::remove(places.logFile);
  makeDirs(places.logFile + "/keep");
  try {
    append({b}, places);
    ADD_FAILURE() << "written over a folder";
  } catch (const std::system_error& e) {
    EXPECT_NE(std::string(e.what()).find("a folder is in its place"), std::string::npos);
  }
  EXPECT_TRUE(exists(places.logFile + "/keep"));
  EXPECT_FALSE(read(places).problem.empty());
}

TEST_F(ClearedLogFiles, TwoProcessesAppendingAtOnceLoseNothing) {
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  [&]() noexcept {  // parent and child append at once; a failure aborts either
    for (int i = 0; i < 50; ++i)
      append({sample()}, places);
  }();
  if (child == 0) ::_exit(0);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  EXPECT_EQ(load(places).size(), 100u);
}

#ifdef __linux__  // Put Back against the real freedesktop.org Trash in the temporary home

struct PutBackTest : ClearedLogFiles {
  test::TempDir outside;
  void TearDown() override { platform::sys::setFaultHook({}); }

  // Moves the item to the Trash and logs it, as a clear does.
  Entry cleared(const std::string& relative, const char* contents = nullptr) {
    if (contents) writeFile(home / relative, contents);
    platform::TrashMove moved = platform::moveToTrash(home / relative);
    EXPECT_TRUE(moved.ok()) << moved.error;
    Entry e(newUuid(), newUuid(), home / relative, moved.trashPath, 5, "file", relative,
            Clock::now());
    append({e}, places);
    return e;
  }

  // Put Back refuses with this kind, and neither home nor the folder outside it changes.
  std::string refused(const Entry& e, Kind kind) {
    SCOPED_TRACE(e.trashPath + " to " + e.originalPath);
    auto before = snapshot(home.path()), beforeOutside = snapshot(outside.path());
    std::string text;
    try {
      putBack(e, places);
      ADD_FAILURE() << "put back";
    } catch (const PutBackError& error) {
      EXPECT_EQ(error.kind(), kind);
      text = error.what();
    }
    EXPECT_EQ(snapshot(home.path()), before);
    EXPECT_EQ(snapshot(outside.path()), beforeOutside);
    return text;
  }
};

TEST_F(PutBackTest, RestoresTheItemAndRecordsWhen) {
  Entry notes = cleared("docs/deep/er/notes.txt", "notes");
  EXPECT_EQ(status(notes, places), Status::inTrash);
  // The folders it lived in go to the Trash as well: Put Back makes the chain again.
  Entry docs = cleared("docs");
  Entry back = putBack(notes, places);
  EXPECT_EQ(readFile(home / "docs/deep/er/notes.txt"), "notes");
  EXPECT_FALSE(exists(home.trashInfo() + "/notes.txt.trashinfo"));
  ASSERT_TRUE(back.putBackAt);
  // Equal as the log holds them: dates are stored to a fraction of a microsecond.
  EXPECT_EQ(encode(load(places)), encode({docs, back}));
  EXPECT_EQ(status(back, places), Status::putBack);
  EXPECT_EQ(refused(back, Kind::alreadyPutBack), back.name + " was already put back.");
  // A stale copy of the record: the item is no longer in the Trash.
  EXPECT_EQ(status(notes, places), Status::trashEmptied);
  EXPECT_EQ(refused(notes, Kind::notInTrash),
            notes.name + " is no longer in the Trash (it may have been emptied).");

  // "In the Trash" is what Put Back accepts: a record gone, or naming another place, is neither.
  Entry gone = cleared("gone.txt", "g"), moved = cleared("moved.txt", "m");
  fs::remove(home.trashInfo() + "/gone.txt.trashinfo");
  writeFile(
      home.trashInfo() + "/moved.txt.trashinfo",
      "[Trash Info]\nPath=" + home / "elsewhere.txt" + "\nDeletionDate=2026-01-01T00:00:00\n");
  for (const Entry& e : {gone, moved}) {
    EXPECT_EQ(status(e, places), Status::trashEmptied);
    refused(e, Kind::notInTrash);
  }

  // A symbolic link comes back as the link.
  fs::create_symlink("/etc/hostname", home / "hostname-link");
  putBack(cleared("hostname-link"), places);
  EXPECT_EQ(fs::read_symlink(home / "hostname-link"), "/etc/hostname");
}

TEST_F(PutBackTest, EveryRefusalLeavesBothPlacesUntouched) {
  Entry file = cleared("file", "file"), folder = cleared("folder", ""), link = cleared("link", "");
  // Something already at the original location: a file, a folder, a dangling link.
  writeFile(home / "file", "new file");
  fs::create_directory(home / "folder");
  fs::create_symlink(home / "nowhere", home / "link");
  for (const Entry& e : {file, folder, link})
    EXPECT_EQ(refused(e, Kind::originalOccupied),
              e.name + " was not put back: something already exists at its original location.");

  const std::string trash = home.trashFiles(), h = home.path();
  auto edited = [&](std::string Entry::*field, const std::string& value) {
    Entry e = file;
    e.*field = value;
    return e;
  };
  // The Trash name now holds an item from another place.
  refused(edited(&Entry::originalPath, h + "/other/file"), Kind::notInTrash);
  // A record edited to take an item from outside the Trash, or to put one outside home.
  writeFile(outside / "file", "not in any Trash");
  fs::create_directory_symlink(outside.path(), trash + "/door");
  fs::create_directory_symlink(outside.path(), h + "/door");
  for (const Entry& e :
       {edited(&Entry::trashPath, outside / "file"),
        edited(&Entry::trashPath, trash + "/door/file"),
        edited(&Entry::trashPath, trash + "/../../../../../../../../.." + outside.path() + "/file"),
        edited(&Entry::trashPath, "relative/file"), edited(&Entry::originalPath, outside / "new"),
        edited(&Entry::originalPath, h + "/door/new"), edited(&Entry::originalPath, h),
        edited(&Entry::originalPath, h + "/../elsewhere/new")})
    EXPECT_EQ(refused(e, Kind::refusedLocation),
              e.name +
                  " cannot be put back: the recorded Trash path or original location is "
                  "not allowed.");

  // After all that, the real one still comes back, also through a link to home.
  fs::remove(home / "file");
  fs::create_directory_symlink(h, outside / "home");
  Entry viaLink = file;
  for (std::string* path : {&viaLink.trashPath, &viaLink.originalPath})
    path->replace(0, h.size(), outside / "home");
  putBack(viaLink, places);
  EXPECT_EQ(readFile(home / "file"), "file");
}

TEST_F(PutBackTest, FailuresAfterTheChecksAreReported) {
  Entry b = cleared("b.txt", "b");
  platform::sys::setFaultHook([](platform::sys::Step step, const std::string&) {
    return step == platform::sys::Step::rename ? EIO : 0;
  });
  // Nothing moved nor logged; the refusal names the item.
  EXPECT_EQ(refused(b, Kind::moveFailed), b.name + " was not put back: Input/output error");
  platform::sys::setFaultHook({});

  // The parent chain cannot be made: the file system's own error, nothing moved.
  Entry c = cleared("c/c.txt", "c");
  fs::remove(home / "c");
  writeFile(home / "c", "a file where the folder was");
  EXPECT_THROW(putBack(c, places), std::system_error);
  EXPECT_EQ(readFile(c.trashPath), "c");

  // The log cannot be written after the move: reported, and the item is back all the same; the
  // journal keeps the Put Back until the log can take it.
  platform::sys::setFaultHook([](platform::sys::Step step, const std::string&) {
    return step == platform::sys::Step::replaceLog ? EIO : 0;
  });
  EXPECT_THROW(putBack(b, places), std::system_error);
  EXPECT_EQ(readFile(home / "b.txt"), "b");
  EXPECT_TRUE(load(places).back().putBackAt);  // read from the journal
  platform::sys::setFaultHook({});
  recover(places);
  EXPECT_TRUE(decode(readFile(places.logFile)).value().front().putBackAt);

  // The journal cannot be opened: nothing moves without its record.
  Entry d = cleared("d.txt", "d");
  test::ScopedImmutable frozen(fs::path(places.logFile).parent_path());
  if (!frozen.set()) GTEST_SKIP() << frozen.error();
  EXPECT_THROW(putBack(d, places), std::system_error);
  EXPECT_EQ(status(d, places), Status::inTrash);
}

#endif  // __linux__

}  // namespace
}  // namespace dw::ClearedLog
