// Put Back against the real freedesktop.org Trash in a temporary home (Linux).
#ifdef __linux__

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <system_error>

#include "base/paths.h"
#include "base/time.h"
#include "base/uuid.h"
#include "platform/linux/syscalls.h"
#include "platform/trash.h"
#include "support/mounts.h"
#include "support/temp_dir.h"
#include "trash/cleared_log.h"

namespace dw::ClearedLog {
namespace {

namespace fs = std::filesystem;
using test::exists;
using test::readFile;
using test::snapshot;
using test::writeFile;

struct PutBackTest : ::testing::Test {
  test::TempHome home;
  Locations places = Locations::platformDefault(home.path());

  // Moves the item to the Trash and logs it, as a clear does.
  Entry cleared(const std::string& relative) {
    std::string path = home / relative;
    platform::TrashMove moved = platform::moveToTrash(path);
    EXPECT_TRUE(moved.ok()) << moved.error;
    Entry e{newUuid(), newUuid(), path, moved.trashPath, 5, "file", relative, Clock::now()};
    append({e}, places);
    return e;
  }

  void expectRefused(const Entry& e, PutBackError::Kind kind, const std::string& text,
                     const std::string& outside = {}) {
    auto before = snapshot(home.path());
    auto beforeOutside = outside.empty() ? before : snapshot(outside);
    try {
      putBack(e, places);
      ADD_FAILURE() << "put back " << e.originalPath;
    } catch (const PutBackError& error) {
      EXPECT_EQ(error.kind(), kind) << e.originalPath;
      EXPECT_EQ(error.what(), text);
    }
    EXPECT_EQ(snapshot(home.path()), before) << e.originalPath;
    if (!outside.empty()) {
      EXPECT_EQ(snapshot(outside), beforeOutside);
    }
  }
};

TEST_F(PutBackTest, RestoresTheItemAndRecordsWhen) {
  writeFile(home / "docs/deep/er/notes.txt", "notes");
  Entry notes = cleared("docs/deep/er/notes.txt");
  // The folders it lived in go to the Trash as well: Put Back makes the chain again.
  Entry docs = cleared("docs");

  Entry back = putBack(notes, places);
  EXPECT_EQ(readFile(home / "docs/deep/er/notes.txt"), "notes");
  EXPECT_FALSE(exists(notes.trashPath));
  EXPECT_FALSE(exists(home.trashInfo() + "/notes.txt.trashinfo"));
  ASSERT_TRUE(back.putBackAt);
  std::vector<Entry> log = load(places);
  ASSERT_EQ(log.size(), 2u);
  // Equal as the log holds them: dates are stored to a fraction of a microsecond.
  EXPECT_EQ(encode({log[1]}), encode({back}));
  EXPECT_EQ(encode({log[0]}), encode({docs}));
  EXPECT_EQ(statusText(log[1]), "Put back " + timefmt::localDateTime(*back.putBackAt));

  // A symbolic link comes back as the link, whatever it points at.
  fs::create_symlink("/etc/hostname", home / "hostname-link");
  Entry link = cleared("hostname-link");
  putBack(link, places);
  EXPECT_EQ(fs::read_symlink(home / "hostname-link"), "/etc/hostname");

  // The exact bytes of an odd name survive the round trip.
  writeFile(home / "odd 100%+\xFF.txt", "odd");
  putBack(cleared("odd 100%+\xFF.txt"), places);
  EXPECT_EQ(readFile(home / "odd 100%+\xFF.txt"), "odd");

  expectRefused(back, PutBackError::Kind::alreadyPutBack, "This item was already put back.");
  // A stale copy of the record: the item is no longer in the Trash.
  expectRefused(notes, PutBackError::Kind::notInTrash,
                "This item is no longer in the Trash (it may have been emptied).");
}

TEST_F(PutBackTest, EveryRefusalLeavesBothPlacesUntouched) {
  const std::string occupied = "Something already exists at the original location.";
  const std::string refused =
      "This item cannot be put back. The recorded Trash path or original location is not "
      "allowed.";
  const std::string gone = "This item is no longer in the Trash (it may have been emptied).";

  writeFile(home / "a.txt", "a");
  Entry a = cleared("a.txt");
  writeFile(home / "a.txt", "new file");
  expectRefused(a, PutBackError::Kind::originalOccupied, occupied);
  fs::rename(home / "a.txt", home / "moved-aside.txt");
  fs::create_directory(home / "a.txt");
  expectRefused(a, PutBackError::Kind::originalOccupied, occupied);
  fs::rename(home / "a.txt", home / "moved-aside-dir");
  fs::create_symlink(home / "nowhere", home / "a.txt");
  expectRefused(a, PutBackError::Kind::originalOccupied, occupied);
  fs::rename(home / "a.txt", home / "moved-aside-link");

  // The Trash name now holds an item from another place.
  Entry reused = a;
  reused.originalPath = home / "other/a.txt";
  expectRefused(reused, PutBackError::Kind::notInTrash, gone);
  Entry emptied = a;
  emptied.trashPath = home.trashFiles() + "/never-there.txt";
  expectRefused(emptied, PutBackError::Kind::notInTrash, gone);

  test::TempDir outside;
  writeFile(outside / "a.txt", "not in any Trash");
  Entry edited = a;
  edited.trashPath = outside / "a.txt";
  expectRefused(edited, PutBackError::Kind::refusedLocation, refused, outside.path());
  Entry escaping = a;
  escaping.trashPath =
      home.trashFiles() + "/../../../../../../../../../.." + outside.path() + "/a.txt";
  expectRefused(escaping, PutBackError::Kind::refusedLocation, refused, outside.path());
  fs::create_directory_symlink(outside.path(), home.trashFiles() + "/door");
  Entry throughLink = a;
  throughLink.trashPath = home.trashFiles() + "/door/a.txt";
  expectRefused(throughLink, PutBackError::Kind::refusedLocation, refused, outside.path());
  Entry system = a;
  system.originalPath = outside / "restored.txt";
  expectRefused(system, PutBackError::Kind::refusedLocation, refused, outside.path());

  // After all that, the real one still comes back.
  putBack(a, places);
  EXPECT_EQ(readFile(home / "a.txt"), "a");
}

TEST_F(PutBackTest, FailuresAfterTheChecksAreReported) {
  struct HookGuard {
    ~HookGuard() { platform::sys::setFaultHook({}); }
  } guard;
  writeFile(home / "b.txt", "b");
  Entry b = cleared("b.txt");
  std::string log = readFile(places.logFile);
  platform::sys::setFaultHook([](platform::sys::Step step, const std::string&) {
    return step == platform::sys::Step::rename ? EIO : 0;
  });
  try {
    putBack(b, places);
    ADD_FAILURE() << "moved despite the fault";
  } catch (const PutBackError& error) {
    EXPECT_EQ(error.kind(), PutBackError::Kind::moveFailed);
    EXPECT_STREQ(error.what(), "Input/output error");
  }
  platform::sys::setFaultHook({});
  EXPECT_EQ(readFile(b.trashPath), "b");
  EXPECT_TRUE(platform::trashItemMatches(b.trashPath, b.originalPath));
  EXPECT_EQ(readFile(places.logFile), log);

  // The parent chain cannot be made: the file system's own error, nothing moved.
  writeFile(home / "c/c.txt", "c");
  Entry c = cleared("c/c.txt");
  fs::remove(home / "c");
  writeFile(home / "c", "a file where the folder was");
  EXPECT_THROW(putBack(c, places), std::system_error);
  EXPECT_EQ(readFile(c.trashPath), "c");

  // The log cannot be written after the move: reported, and the item is back all the same.
  test::ScopedImmutable frozen(std::string(paths::parent(places.logFile)));
  if (!frozen.set()) GTEST_SKIP() << frozen.error();
  EXPECT_THROW(putBack(b, places), std::system_error);
  EXPECT_EQ(readFile(home / "b.txt"), "b");
}

}  // namespace
}  // namespace dw::ClearedLog

#endif  // __linux__
