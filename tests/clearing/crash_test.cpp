// A clear or a Put Back killed, or failing, at every single step, then a fresh start: nothing
// missing from the log, nothing orphaned in the Trash. And folders swapped for links between
// the check and the move never send an item anywhere else.
#ifdef __linux__

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "clearing/clearing.h"
#include "platform/linux/syscalls.h"
#include "platform/own_ground.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"

namespace dw::Clearing {
namespace {

namespace fs = std::filesystem;
namespace sys = platform::sys;
using namespace dw::test;

constexpr int kKilled = 42;

size_t count(const std::string& folder) {
  return exists(folder) ? std::distance(fs::directory_iterator(folder), {}) : 0;
}

struct CrashTest : ::testing::Test {
  TempHome home;
  TempDir outside;
  Locations places = Locations::platformDefault(home.path());
  std::string item = home / "Downloads/movie.mkv";
  std::string journal = fs::path(places.logFile).parent_path() / "cleared.journal";

  void SetUp() override { writeFile(item, "frames"); }
  void TearDown() override { sys::setFaultHook({}); }

  // The item as a scan lists it: with its identity.
  static MoveRequest listed(const std::string& path, std::int64_t bytes, const std::string& kind,
                            const std::string& name) {
    std::optional<Measured> now = measureForMove(path);
    return {path, bytes, kind, name, now ? now->identity : FileIdentity{}, {}};
  }

  // Moves the item as a clear does: one move, then the log written at completion.
  void clear() {
    Outcome outcome;
    outcome.sessionID = "0E984725-C51C-4BF4-9960-E1C80E27ABA0";
    moveOne(listed(item, 6, "file", "movie.mkv"), places, outcome);
    ClearedLog::append(outcome.entries, places);
  }

  // Runs work in a child process that ends itself at the step-th system call of the seam; true
  // when the work finished before that step came.
  bool finishedBeforeKill(int step, const std::function<void()>& work) {
    pid_t child = ::fork();
    if (child == 0) {
      int calls = 0;
      sys::setFaultHook([&calls, step](sys::Step, const std::string&) {
        if (calls++ == step) ::_exit(kKilled);
        return 0;
      });
      try {
        work();
      } catch (...) {
      }
      ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status)) << status;
    return WEXITSTATUS(status) == 0;
  }

  // After a fresh start: the item is either where it was and unknown to the Trash and the log,
  // or in the Trash with its .trashinfo and exactly one record; the journal is settled.
  void expectWhole(bool putBack, const std::string& at) {
    SCOPED_TRACE(at);
    ClearedLog::recover(places);
    std::vector<ClearedLog::Entry> entries = ClearedLog::load(places);
    EXPECT_FALSE(exists(journal));
    if (exists(item)) {
      EXPECT_EQ(readFile(item), "frames");
      EXPECT_EQ(count(home.trashFiles()) + count(home.trashInfo()), 0u);
      if (putBack) {
        ASSERT_EQ(entries.size(), 1u);
        EXPECT_TRUE(entries[0].putBackAt);
      } else {
        EXPECT_TRUE(entries.empty());
      }
    } else {
      EXPECT_EQ(count(home.trashFiles()), 1u);
      EXPECT_EQ(count(home.trashInfo()), 1u);
      ASSERT_EQ(entries.size(), 1u);
      EXPECT_FALSE(entries[0].putBackAt);
      EXPECT_EQ(readFile(entries[0].trashPath), "frames");
      EXPECT_EQ(ClearedLog::status(entries[0], places), ClearedLog::Status::inTrash);
    }
  }

  void reset() {
    fs::remove_all(home / ".local");
    fs::remove_all(home / "Downloads");
    writeFile(item, "frames");
  }
};

TEST_F(CrashTest, AClearKilledOrFailingAtAnyStepLosesNoRecordAndLeavesNoOrphan) {
  int step = 0;
  for (; step < 100; ++step) {
    bool finished = finishedBeforeKill(step, [&] { clear(); });
    expectWhole(false, "killed at step " + std::to_string(step));
    reset();
    if (finished) break;
  }
  EXPECT_GT(step, 8);  // the steps were really there to be killed at
  EXPECT_LT(step, 100);

  // Each step failing instead: the clear goes on as far as it can, the next start completes it.
  for (int failing = 0; failing < step; ++failing) {
    int calls = 0;
    sys::setFaultHook([&](sys::Step, const std::string&) { return calls++ == failing ? EIO : 0; });
    try {
      clear();
    } catch (const std::system_error&) {
    }
    sys::setFaultHook({});
    expectWhole(false, "failed at step " + std::to_string(failing));
    reset();
  }
}

TEST_F(CrashTest, APutBackKilledOrFailingAtAnyStepLosesNoRecordAndLeavesNoOrphan) {
  int step = 0;
  for (; step < 100; ++step) {
    clear();
    ClearedLog::Entry entry = ClearedLog::load(places).at(0);
    bool finished = finishedBeforeKill(step, [&] { ClearedLog::putBack(entry, places); });
    expectWhole(true, "killed at step " + std::to_string(step));
    reset();
    if (finished) break;
  }
  EXPECT_GT(step, 4);
  for (int failing = 0; failing < step; ++failing) {
    clear();
    ClearedLog::Entry entry = ClearedLog::load(places).at(0);
    int calls = 0;
    sys::setFaultHook([&](sys::Step, const std::string&) { return calls++ == failing ? EIO : 0; });
    try {
      ClearedLog::putBack(entry, places);
    } catch (const std::exception&) {
    }
    sys::setFaultHook({});
    expectWhole(true, "failed at step " + std::to_string(failing));
    reset();
  }
}

TEST_F(CrashTest, RecoveryKeepsARecordThatNoRecentIntentOfOursWrote) {
  // Another program's record of the same item, and an old record of ours: neither is named in
  // a recent intent of this program, so recovery keeps them.
  writeFile(home.trashInfo() + "/movie.mkv.trashinfo",
            "[Trash Info]\nPath=" + item + "\nDeletionDate=2020-01-01T00:00:00\n");
  Outcome outcome;
  outcome.sessionID = "0E984725-C51C-4BF4-9960-E1C80E27ABA0";
  ASSERT_FALSE(moveOne(listed(item, 6, "file", "movie.mkv"), places, outcome));
  EXPECT_EQ(outcome.entries.at(0).trashPath, home.trashFiles() + "/movie 2.mkv");
  ClearedLog::recover(places);
  EXPECT_TRUE(exists(home.trashInfo() + "/movie.mkv.trashinfo"));
  EXPECT_EQ(ClearedLog::load(places).size(), 1u);
}

// Between the check and the move a folder is swapped for a link to a folder outside the home.
struct SwapTest : CrashTest {
  // At the first call of this step, folder becomes folder + ".real" and a link to outside.
  void swapAt(sys::Step when, const std::string& folder) {
    sys::setFaultHook(
        [this, when, folder, done = false](sys::Step step, const std::string&) mutable {
          if (step == when && !done) {
            done = true;
            fs::rename(folder, folder + ".real");
            fs::create_directory_symlink(outside.path(), folder);
          }
          return 0;
        });
  }
};

TEST_F(SwapTest, AFolderSwappedForALinkNeverRedirectsAClearOrAPutBack) {
  const auto empty = snapshot(outside.path());
  Outcome outcome;
  outcome.sessionID = "0E984725-C51C-4BF4-9960-E1C80E27ABA0";

  // The item's folder, after it was opened: the item moves from the folder that was checked.
  swapAt(sys::Step::rename, home / "Downloads");
  EXPECT_FALSE(moveOne(listed(item, 6, "file", "movie.mkv"), places, outcome));
  EXPECT_EQ(readFile(home.trashFiles() + "/movie.mkv"), "frames");
  EXPECT_EQ(snapshot(outside.path()), empty);

  // Before it was opened: refused, nothing moves.
  fs::remove(home / "Downloads");
  fs::remove(home / "Downloads.real");
  writeFile(item, "frames");
  swapAt(sys::Step::openFolder, home / "Downloads");
  std::optional<MoveFailure> refused =
      moveOne(listed(item, 6, "file", "movie.mkv"), places, outcome);
  ASSERT_TRUE(refused);
  EXPECT_EQ(readFile(home / "Downloads.real/movie.mkv"), "frames");
  EXPECT_EQ(snapshot(outside.path()), empty);
  fs::remove(home / "Downloads");
  fs::rename(home / "Downloads.real", home / "Downloads");

  // The Trash's files folder: the item lands in the Trash that was checked.
  swapAt(sys::Step::rename, home.trashFiles());
  EXPECT_FALSE(moveOne(listed(item, 6, "file", "movie.mkv"), places, outcome));
  EXPECT_EQ(readFile(home.trashFiles() + ".real/movie 2.mkv"), "frames");
  EXPECT_EQ(snapshot(outside.path()), empty);
  fs::remove(home.trashFiles());
  fs::rename(home.trashFiles() + ".real", home.trashFiles());
  sys::setFaultHook({});
  ClearedLog::append(outcome.entries, places);

  // Put Back: the folder to return to is swapped after it was opened; the item goes back into
  // the folder that was checked, never outside the home.
  ClearedLog::Entry first = ClearedLog::load(places).back();
  swapAt(sys::Step::rename, home / "Downloads");
  ClearedLog::putBack(first, places);
  EXPECT_EQ(readFile(home / "Downloads.real/movie.mkv"), "frames");
  EXPECT_EQ(snapshot(outside.path()), empty);
}

// The names in the log's folder that start with prefix.
std::vector<std::string> named(const std::string& folder, const std::string& prefix) {
  std::vector<std::string> found;
  for (const auto& e : fs::directory_iterator(folder)) {
    std::string name = e.path().filename();
    if (name.starts_with(prefix)) found.push_back(e.path());
  }
  return found;
}

TEST_F(CrashTest, AJournalThatCannotBeReadIsKeptUntilItCanBeMerged) {
  // A move left its journal, and the journal cannot be read by its user now (its permissions
  // taken away, or restored from a backup under another owner). Everything else is the user's.
  Outcome outcome;
  outcome.sessionID = "0E984725-C51C-4BF4-9960-E1C80E27ABA0";
  ASSERT_FALSE(moveOne(listed(item, 6, "file", "movie.mkv"), places, outcome));
  const std::string folder = fs::path(places.logFile).parent_path();
  const std::string bytes = readFile(journal);
  ::chown(home.path().c_str(), kNobodyUid, kNobodyUid);
  for (const auto& e : fs::recursive_directory_iterator(home.path()))
    ::lchown(e.path().c_str(), kNobodyUid, kNobodyUid);
  ASSERT_EQ(::chmod(journal.c_str(), 0), 0);
  auto recoverAsUser = [&] {
    return runAsNobody([&] {
      ClearedLog::recover(places);
      std::string notes;
      for (const std::string& note : ClearedLog::read(places).journalNotes)
        notes += note + "\n";
      return notes;
    });
  };

  auto seen = recoverAsUser();
  ASSERT_TRUE(seen) << "the user's recovery failed";
  EXPECT_FALSE(exists(journal));
  std::vector<std::string> kept = named(folder, "cleared.journal.unread-");
  ASSERT_EQ(kept.size(), 1u) << "the journal was dropped unread";
  ASSERT_EQ(::chmod(kept[0].c_str(), 0600), 0);
  EXPECT_EQ(readFile(kept[0]), bytes);
  ASSERT_EQ(::chmod(kept[0].c_str(), 0), 0);
  EXPECT_EQ(*seen, "A journal of moves that could not be read is kept beside the log as " +
                       kept[0] + "; it is merged once it can be read.\n");

  // Once it can be read, the next start merges it, and only then does it go.
  ASSERT_EQ(::chmod(kept[0].c_str(), 0600), 0);
  EXPECT_EQ(recoverAsUser(), "");
  ASSERT_EQ(ClearedLog::load(places).size(), 1u);
  EXPECT_EQ(ClearedLog::load(places)[0].originalPath, item);
  EXPECT_FALSE(exists(kept[0]));
}

TEST_F(CrashTest, AJournalCutInsideARecordLosesNothingReadable) {
  // Two moves, each with its intent and result; then the end of the journal is lost inside the
  // second intent (after its entry, before the record's own end) and a cut line sits between.
  Outcome outcome;
  outcome.sessionID = "0E984725-C51C-4BF4-9960-E1C80E27ABA0";
  std::string second = home / "Downloads/show.mkv";
  writeFile(second, "more frames");
  ASSERT_FALSE(moveOne(listed(item, 6, "file", "movie.mkv"), places, outcome));
  ASSERT_FALSE(moveOne(listed(second, 11, "file", "show.mkv"), places, outcome));
  std::vector<std::string> lines;
  std::string text = readFile(journal);
  for (size_t at = 0; at < text.size();) {
    size_t end = text.find('\n', at);
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  ASSERT_EQ(lines.size(), 4u);
  ASSERT_TRUE(lines[2].ends_with("}}"));
  std::string cut = lines[0] + "\n" + lines[1] + "\n{\"op\":\"moved\",\"id\n" +
                    lines[2].substr(0, lines[2].size() - 1);
  writeFile(journal, cut);

  ClearedLog::recover(places);
  std::vector<ClearedLog::Entry> entries = ClearedLog::load(places);
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].originalPath, second);
  EXPECT_EQ(entries[0].bytes, 11);
  EXPECT_EQ(ClearedLog::status(entries[0], places), ClearedLog::Status::inTrash);
  EXPECT_EQ(entries[1].originalPath, item);
  // What could not be read whole is kept as it was, and history says where.
  EXPECT_FALSE(exists(journal));
  const std::string folder = fs::path(places.logFile).parent_path();
  std::vector<std::string> kept = named(folder, "cleared.journal.damaged-");
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(readFile(kept[0]), cut);
  ASSERT_EQ(ClearedLog::read(places).journalNotes.size(), 1u);
  EXPECT_EQ(ClearedLog::read(places).journalNotes[0],
            "Part of a journal of moves could not be read; its bytes are kept beside the log as " +
                kept[0] + ".");

  // The text readers: a cut record is read only when every member it needs came before the cut,
  // and never from a number that may itself be cut.
  EXPECT_EQ(ClearedLog::readJournalText(cut).records, 3);
  EXPECT_EQ(ClearedLog::readJournalText(cut).unreadable, 2);
  // "date":812345.6 or cut short? (The item's mark follows the date.)
  std::string date = lines[2].substr(0, lines[2].find("\"date\":") + 9);
  EXPECT_EQ(ClearedLog::readJournalText(date).records, 0);
  EXPECT_EQ(ClearedLog::readJournalText(lines[1].substr(0, lines[1].size() - 1)).records, 1);
}

TEST_F(CrashTest, ACopyOfTheLogLeftByAKillIsCleanedAtTheNextStart) {
  clear();  // a log to replace
  std::string second = home / "Downloads/show.mkv";
  writeFile(second, "more frames");
  bool finished = finishedBeforeKill(0, [&] {
    int calls = 0;
    sys::setFaultHook([&calls](sys::Step step, const std::string&) {
      if (step == sys::Step::replaceLog) ::_exit(kKilled);
      return calls++, 0;
    });
    Outcome outcome;
    outcome.sessionID = "0E984725-C51C-4BF4-9960-E1C80E27ABA0";
    moveOne(listed(second, 11, "file", "show.mkv"), places, outcome);
    ClearedLog::append(outcome.entries, places);
  });
  EXPECT_FALSE(finished);
  const std::string folder = fs::path(places.logFile).parent_path();
  std::vector<std::string> copies = named(folder, ".cleared.json.");
  ASSERT_EQ(copies.size(), 1u) << "the kill came while the new log was being put in place";
  // Names that are not mkostemp's, or a file of another user's, are nobody's business here.
  std::string shorter = folder + "/.cleared.json.abc";
  std::string others = folder + "/.cleared.json.Xy12Zq";
  writeFile(shorter, "x");
  writeFile(others, "y");
  ::chown(others.c_str(), kNobodyUid, kNobodyUid);

  ClearedLog::recover(places);
  EXPECT_FALSE(exists(copies[0]));
  EXPECT_TRUE(exists(shorter) && exists(others));
  std::vector<ClearedLog::Entry> entries = ClearedLog::load(places);
  ASSERT_EQ(entries.size(), 2u) << "the journal still held the second move";
  EXPECT_EQ(entries[0].originalPath, second);
}

TEST_F(CrashTest, OwnGroundNeverMoves) {
  ClearedLog::append({}, places);
  clear();  // the log and its folder exist now
  const std::string data = fs::path(places.logFile).parent_path();
  Outcome outcome;
  for (const std::string& own :
       {places.logFile, data, home / ".local/share", home.trashFiles(),
        home.trashFiles() + "/movie.mkv", home.trashInfo(), home / ".local", places.defaultsFile}) {
    writeFile(places.defaultsFile, "{}");
    std::optional<MoveFailure> refused = moveOne(listed(own, 1, "cache", "own"), places, outcome);
    ASSERT_TRUE(refused) << own;
    EXPECT_EQ(refused->reason, kNoLongerAllowed);
    EXPECT_TRUE(exists(own)) << own;
  }
  EXPECT_TRUE(outcome.entries.empty());
  EXPECT_FALSE(OwnGround::excludes(home / "Downloads", places));
}

}  // namespace
}  // namespace dw::Clearing

#endif  // __linux__
