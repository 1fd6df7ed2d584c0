// The desktop around the program: the Full Disk Access settings it opens, and the Trash that
// Recently Cleared shows.

#include "platform/desktop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "platform/trash.h"
#include "support/home_builder.h"
#include "support/mounts.h"
#include "support/temp_dir.h"
#include "texts/cleared.h"

namespace dw {
namespace {

TEST(Desktop, FullDiskAccessSettingsAreTriedInOrder) {
  std::vector<std::string> tried;
  auto opener = [&](bool opensFirst) {
    return [&tried, opensFirst](const std::string& url) {
      tried.push_back(url);
      return opensFirst && tried.size() == 1;
    };
  };
  platform::openFullDiskAccessSettings(opener(true));
  ASSERT_EQ(tried.size(), 1u);  // the first opened: the others are not tried
  EXPECT_EQ(tried[0], platform::kFullDiskAccessUrls[0]);
  tried.clear();
  platform::openFullDiskAccessSettings(opener(false));
  ASSERT_EQ(tried.size(), 3u);
  EXPECT_EQ(tried[2], "x-apple.systempreferences:com.apple.preference.security");
}

#ifdef __linux__
// The Trash shown is the one the moves went to: the desktop's own Trash view for the user's home
// Trash wherever XDG_DATA_HOME puts it, never a Trash folder made up from the scanned home.
TEST(Desktop, ShowTrashOpensTheTrashTheMovesWentTo) {
  test::TempHome user;
  test::HomeBuilder tree(Locations::Layout::linux);  // a home given with --home
  const std::string home = tree.home();
  const std::string kView = "trash:///";
  EXPECT_EQ(platform::trashToShow("", home), kView) << "nothing moved yet: the user's Trash";

  // Moves go to the user's home Trash ($XDG_DATA_HOME/Trash), not to the scanned home's.
  test::ScopedEnv data("XDG_DATA_HOME", user.path() + "/data");
  platform::TrashMove moved = platform::moveToTrash(tree.file(home + "/.cache/a/blob", 4096));
  ASSERT_TRUE(moved.ok()) << moved.error;
  EXPECT_EQ(moved.trashPath, user.path() + "/data/Trash/files/blob");
  ClearedLog::Entry newest, older, share;
  newest.trashPath = moved.trashPath;
  older.trashPath = home + "/.local/share/Trash/files/old";
  share.kind = std::string(ClearedLog::kShareKind);
  EXPECT_EQ(texts::cleared::newestTrashPath({share, newest, older}), moved.trashPath);
  EXPECT_EQ(texts::cleared::newestTrashPath({share}), "");
  EXPECT_EQ(platform::trashToShow(moved.trashPath, home), kView);
  // A Trash that is not the user's own home Trash opens as the folder it is (the old home Trash
  // once XDG_DATA_HOME moved, the Trash at the top of another volume).
  EXPECT_EQ(platform::trashToShow(older.trashPath, home),
            "file://" + home + "/.local/share/Trash/files");
  EXPECT_EQ(platform::trashToShow(user.path() + "/.local/share/Trash/files/x", home),
            "file://" + user.path() + "/.local/share/Trash/files");

  test::TempDir volume;
  test::ScopedTmpfs mount(volume.path());
  if (!mount.mounted()) GTEST_SKIP() << mount.error();
  test::writeFile(volume.path() + "/clip.mov", "clip");
  platform::TrashMove away = platform::moveToTrash(volume.path() + "/clip.mov");
  ASSERT_TRUE(away.ok()) << away.error;
  EXPECT_EQ(platform::trashToShow(away.trashPath, home),
            "file://" + volume.path() + "/.Trash-" + std::to_string(::getuid()) + "/files");
}
#endif

}  // namespace
}  // namespace dw
