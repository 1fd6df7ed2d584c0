// Items of ours that another Trash program (the file manager's Restore, trash-restore) put back:
// known again by the item's own mark, not by its name.
#ifdef __linux__

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "base/paths.h"
#include "clearing/cleared_log.h"
#include "clearing/clearing.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"
#include "texts/cleared.h"

namespace dw::ClearedLog {
namespace {

using namespace dw::test;
using Kind = PutBackError::Kind;

struct RestoredTest : ::testing::Test {
  HomeBuilder tree{Locations::Layout::linux};
  // The home is the user's own: its Trash is ~/.local/share/Trash.
  ScopedEnv homeVariable{"HOME", tree.home()}, data{"XDG_DATA_HOME", tree.home() + "/.local/share"};
  Locations places = tree.locations();

  // Clears the folder as a clear does: listed by its identity, moved, logged.
  Entry cleared(const std::string& path) {
    struct stat s {};
    EXPECT_EQ(::lstat(path.c_str(), &s), 0) << path;
    Clearing::Outcome outcome;
    auto failure =
        Clearing::moveOne({path, 8192, "cache", "pip", identityOf(s), {}}, places, outcome);
    EXPECT_FALSE(failure) << failure->reason;
    EXPECT_EQ(outcome.entries.size(), 1u);
    append(outcome.entries, places);
    return load(places).front();
  }

  // What a Trash program's Restore does: the item back by a rename, its record dropped.
  void restoreByAnotherProgram(const Entry& e) {
    ASSERT_EQ(std::rename(e.trashPath.c_str(), e.originalPath.c_str()), 0);
    const std::string info = tree.home() + "/.local/share/Trash/info/" +
                             std::string(paths::lastComponent(e.trashPath)) + ".trashinfo";
    ASSERT_EQ(::unlink(info.c_str()), 0);
  }

  std::string putBackRefusal(const Entry& e, Kind kind) {
    auto before = snapshot(tree.home());
    try {
      putBack(e, places);
      ADD_FAILURE() << "put back";
    } catch (const PutBackError& error) {
      EXPECT_EQ(error.kind(), kind);
      EXPECT_EQ(snapshot(tree.home()), before);
      return error.what();
    }
    return {};
  }
};

TEST_F(RestoredTest, AnItemAnotherProgramPutBackIsPutBackAndAlreadyInPlace) {
  const std::string pip = tree.cache("pip", 8192);
  Entry e = cleared(pip);
  ASSERT_TRUE(e.item);
  EXPECT_EQ(status(e, places), Status::inTrash);

  restoreByAnotherProgram(e);
  EXPECT_EQ(status(e, places), Status::putBack);
  EXPECT_EQ(texts::cleared::statusText(status(e, places), ""), "Already put back");
  EXPECT_EQ(putBackRefusal(e, Kind::alreadyInPlace),
            "pip is already back in its original location.");

  // The log says nothing of another program's Restore: it is read from the item each time.
  EXPECT_FALSE(load(places).front().putBackAt);
  // A file system that keeps no birth time: the identity alone tells.
  Entry noBirth = e;
  noBirth.item->bornNs.reset();
  EXPECT_EQ(status(noBirth, places), Status::putBack);
  // The same inode number, made later (the number used again after the Trash was emptied).
  Entry reused = e;
  if (reused.item->bornNs) {
    *reused.item->bornNs += 1;
    EXPECT_EQ(status(reused, places), Status::trashEmptied);
  }

  // Another folder of the same name where it was (the app made its cache again): the Trash was
  // emptied, whatever the name says.
  ASSERT_EQ(std::rename(pip.c_str(), (pip + ".kept").c_str()), 0);
  tree.cache("pip", 8192);
  EXPECT_EQ(status(e, places), Status::trashEmptied);
  EXPECT_EQ(putBackRefusal(e, Kind::notInTrash),
            "pip is no longer in the Trash (it may have been emptied).");
}

TEST_F(RestoredTest, TheMarkIsAKeyEveryReaderOfTheLogPassesOver) {
  Entry e = cleared(tree.cache("pip", 8192));
  ASSERT_TRUE(e.item);
  struct stat s {};
  ASSERT_EQ(::lstat(e.trashPath.c_str(), &s), 0);
  EXPECT_EQ(e.item->identity, identityOf(s));

  // The nine fields as they always were, and one more key after them.
  const std::string text = readFile(places.logFile);
  const std::string key = R"(,"item":{"device":)" + std::to_string(s.st_dev) + R"(,"inode":)" +
                          std::to_string(s.st_ino);
  const size_t at = text.find(key);
  ASSERT_NE(at, std::string::npos) << text;
  // Without the key (what a reader that knows only the nine fields takes from the record), the
  // entry is the one it always was, and with no mark it is never taken for put back.
  std::string plain = text;
  plain.erase(at, plain.find('}', at) + 1 - at);
  Entry seen = e;
  seen.item.reset();
  EXPECT_EQ(decode(plain), std::vector<Entry>{seen});
  EXPECT_EQ(decode(text), std::vector<Entry>{e});

  // A mark that does not read as one: the record is kept byte for byte.
  std::string odd = text;
  odd.replace(at, key.size(), R"(,"item":{"device":"x","inode":)" + std::to_string(s.st_ino));
  writeFile(places.logFile, odd);
  EXPECT_EQ(read(places).unreadable, 1);
  append({}, places);
  EXPECT_EQ(readFile(places.logFile), odd);
}

}  // namespace
}  // namespace dw::ClearedLog

#endif
