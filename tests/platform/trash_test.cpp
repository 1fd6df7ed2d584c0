// The Linux Trash (freedesktop.org); on the Mac the system keeps the Trash.
#ifdef __linux__

#include "platform/trash.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/syscalls.h"
#include "support/mounts.h"
#include "support/temp_dir.h"

namespace dw::platform {
namespace {

using test::exists;
using test::readFile;
using test::snapshot;
using test::writeFile;
namespace fs = std::filesystem;

const std::string kUid = std::to_string(::getuid());

std::string infoOf(const std::string& trashPath) {
  fs::path p(trashPath);
  return readFile((p.parent_path().parent_path() / "info" / p.filename()).string() + ".trashinfo");
}

std::string pathLine(const std::string& trashPath) {
  std::smatch m;
  std::string info = infoOf(trashPath);
  std::regex shape(
      "\\[Trash Info\\]\nPath=(.*)\nDeletionDate=\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n");
  return std::regex_match(info, m, shape) ? m[1].str() : "malformed: " + info;
}

size_t entries(const std::string& folder) {
  if (!exists(folder)) return 0;
  return static_cast<size_t>(std::distance(fs::directory_iterator(folder), {}));
}

struct HookGuard {
  ~HookGuard() { sys::setFaultHook({}); }
};

TEST(Trash, HomeTrashTakesItemsFromItsFileSystem) {
  test::TempHome home;
  writeFile(home / "Documents/report.pdf", "one");
  writeFile(home / "Desktop/report.pdf", "two");
  writeFile(home / "Projects/app/main.cpp", "code");

  TrashMove first = moveToTrash(home / "Documents/report.pdf");
  ASSERT_TRUE(first.ok()) << first.error;
  EXPECT_EQ(first.trashPath, home.trashFiles() + "/report.pdf");
  EXPECT_EQ(readFile(first.trashPath), "one");
  EXPECT_FALSE(exists(home / "Documents/report.pdf"));
  EXPECT_EQ(pathLine(first.trashPath), home / "Documents/report.pdf");
  struct stat s {};
  ASSERT_EQ(::stat(home.trashFiles().c_str(), &s), 0);
  EXPECT_EQ(s.st_mode & 0777, 0700u);

  // A clash takes a new name; the first item is not touched.
  TrashMove second = moveToTrash(home / "Desktop/report.pdf");
  ASSERT_TRUE(second.ok()) << second.error;
  EXPECT_EQ(second.trashPath, home.trashFiles() + "/report 2.pdf");
  EXPECT_EQ(readFile(first.trashPath), "one");

  TrashMove folder = moveToTrash(home / "Projects/app");
  ASSERT_TRUE(folder.ok()) << folder.error;
  EXPECT_EQ(readFile(folder.trashPath + "/main.cpp"), "code");

  EXPECT_EQ(moveToTrash(home / "missing").error, "No such file or directory");
  // The Trash, what is in it and what holds it stay put.
  for (std::string inside : {first.trashPath, home.trashFiles(), home / ".local"}) {
    EXPECT_EQ(moveToTrash(inside).error, "Invalid argument") << inside;
    EXPECT_TRUE(exists(inside));
  }

  // XDG_DATA_HOME is read at each call.
  test::ScopedEnv data("XDG_DATA_HOME", home / "elsewhere");
  writeFile(home / "later.txt", "x");
  EXPECT_EQ(moveToTrash(home / "later.txt").trashPath, home / "elsewhere/Trash/files/later.txt");
}

TEST(Trash, TrashInfoKeepsEveryByteOfThePath) {
  test::TempHome home;
  const std::string name = "a b%c+d \xC3\xA9\xFF.txt";
  const std::string original = home / ("my docs/" + name);
  writeFile(original, "exact");

  TrashMove moved = moveToTrash(original);
  ASSERT_TRUE(moved.ok()) << moved.error;
  EXPECT_EQ(pathLine(moved.trashPath), home / "my%20docs/a%20b%25c%2Bd%20%C3%A9%FF.txt");
  EXPECT_TRUE(trashItemMatches(moved.trashPath, original));
  EXPECT_FALSE(trashItemMatches(moved.trashPath, home / "my docs/other.txt"));

  EXPECT_EQ(moveOutOfTrash(moved.trashPath, original), "");
  EXPECT_EQ(readFile(original), "exact");
  EXPECT_EQ(entries(home.trashFiles()), 0u);
  EXPECT_EQ(entries(home.trashInfo()), 0u);
}

TEST(Trash, MovesNeverFollowLinksOrReplaceAnything) {
  test::TempHome home;
  writeFile(home / "target.txt", "target");
  fs::create_symlink(home / "target.txt", home / "link");
  fs::create_symlink(home / "nowhere", home / "dangling");
  for (const char* link : {"link", "dangling"}) {
    TrashMove moved = moveToTrash(home / link);
    ASSERT_TRUE(moved.ok()) << moved.error;
    EXPECT_TRUE(fs::is_symlink(moved.trashPath));
  }
  EXPECT_EQ(readFile(home / "target.txt"), "target");

  // Twenty threads trashing items of one name: twenty entries, each with its own record.
  std::vector<std::thread> threads;
  for (int i = 0; i < 20; ++i)
    writeFile(home / ("f" + std::to_string(i) + "/same.txt"), "x");
  std::vector<TrashMove> moves(20);
  for (int i = 0; i < 20; ++i) {
    threads.emplace_back(
        [&, i] { moves[i] = moveToTrash(home / ("f" + std::to_string(i) + "/same.txt")); });
  }
  for (auto& t : threads)
    t.join();
  std::set<std::string> names;
  for (int i = 0; i < 20; ++i) {
    ASSERT_TRUE(moves[i].ok()) << moves[i].error;
    names.insert(moves[i].trashPath);
    EXPECT_TRUE(
        trashItemMatches(moves[i].trashPath, home / ("f" + std::to_string(i) + "/same.txt")));
  }
  EXPECT_EQ(names.size(), 20u);

  // A 255-byte name does not fit beside ".trashinfo": shortened in the Trash, on a character
  // boundary, keeping the extension; the record keeps the full path.
  std::string accents;
  for (int i = 0; i < 125; ++i)
    accents += "\xC3\xA9";
  const std::string longName = accents + "x.txt";
  ASSERT_EQ(longName.size(), 255u);
  writeFile(home / longName, "long");
  TrashMove shortened = moveToTrash(home / longName);
  ASSERT_TRUE(shortened.ok()) << shortened.error;
  EXPECT_EQ(fs::path(shortened.trashPath).filename().string(), accents.substr(0, 240) + ".txt");
  EXPECT_TRUE(trashItemMatches(shortened.trashPath, home / longName));
  EXPECT_EQ(moveOutOfTrash(shortened.trashPath, home / longName), "");
  EXPECT_EQ(readFile(home / longName), "long");

  // Putting back onto anything that exists is refused with both untouched.
  writeFile(home / "back.txt", "in trash");
  TrashMove back = moveToTrash(home / "back.txt");
  writeFile(home / "back.txt", "new one");
  EXPECT_EQ(moveOutOfTrash(back.trashPath, home / "back.txt"), "File exists");
  EXPECT_EQ(readFile(home / "back.txt"), "new one");
  EXPECT_EQ(readFile(back.trashPath), "in trash");
  EXPECT_FALSE(infoOf(back.trashPath).empty());

  // A folder whose entries cannot change: the item stays and the Trash gains nothing.
  writeFile(home / "locked/keep.txt", "keep");
  test::ScopedImmutable locked(home / "locked");
  if (!locked.set()) GTEST_SKIP() << locked.error();
  size_t before = entries(home.trashInfo());
  EXPECT_EQ(moveToTrash(home / "locked/keep.txt").error, "Operation not permitted");
  EXPECT_EQ(readFile(home / "locked/keep.txt"), "keep");
  EXPECT_EQ(entries(home.trashInfo()), before);
}

TEST(Trash, OtherFileSystemsUseTheirTopDirectoryTrash) {
  test::TempHome home;
  test::TempDir volume;
  test::ScopedTmpfs mount(volume.path());
  if (!mount.mounted()) GTEST_SKIP() << mount.error();
  const std::string top = volume.path();

  writeFile(volume / "media/clip.mov", "clip");
  TrashMove moved = moveToTrash(volume / "media/clip.mov");
  ASSERT_TRUE(moved.ok()) << moved.error;
  EXPECT_EQ(moved.trashPath, top + "/.Trash-" + kUid + "/files/clip.mov");
  EXPECT_EQ(pathLine(moved.trashPath), "media/clip.mov");
  EXPECT_TRUE(trashItemMatches(moved.trashPath, volume / "media/clip.mov"));
  EXPECT_TRUE(isInTrashFolder(moved.trashPath, home.path()));
  EXPECT_EQ(entries(home.trashFiles()), 0u);

  // A shared .Trash is used only when it is a sticky real directory.
  fs::create_directory(volume / "shared");
  ::chmod((volume / "shared").c_str(), 01777);
  fs::create_directory_symlink(volume / "shared", volume / ".Trash");
  writeFile(volume / "a.txt", "a");
  EXPECT_EQ(moveToTrash(volume / "a.txt").trashPath, top + "/.Trash-" + kUid + "/files/a.txt");
  fs::remove(volume / ".Trash");
  fs::create_directory(volume / ".Trash");
  writeFile(volume / "b.txt", "b");
  EXPECT_EQ(moveToTrash(volume / "b.txt").trashPath, top + "/.Trash-" + kUid + "/files/b.txt");
  ::chmod((volume / ".Trash").c_str(), 01777);
  writeFile(volume / "c.txt", "c");
  TrashMove shared = moveToTrash(volume / "c.txt");
  EXPECT_EQ(shared.trashPath, top + "/.Trash/" + kUid + "/files/c.txt");
  EXPECT_TRUE(trashItemMatches(shared.trashPath, volume / "c.txt"));
}

TEST(Trash, VolumeWithoutAUsableTrashRefuses) {
  test::TempHome home;
  test::TempDir volume;
  test::ScopedTmpfs mount(volume.path());
  if (!mount.mounted()) GTEST_SKIP() << mount.error();
  writeFile(volume / "keep.txt", "keep");
  fs::create_directory(volume / "decoy");
  const std::string own = volume / (".Trash-" + kUid);

  auto refused = [&](const std::string& why) {
    auto before = snapshot(volume.path());
    EXPECT_EQ(moveToTrash(volume / "keep.txt").error, "This volume has no Trash") << why;
    EXPECT_EQ(snapshot(volume.path()), before) << why;
  };
  fs::create_directory_symlink(volume / "decoy", own);
  refused(".Trash-uid is a symbolic link");
  fs::remove(own);
  fs::create_directory(own);
  ASSERT_EQ(::chown(own.c_str(), 4321, 4321), 0);
  refused(".Trash-uid belongs to someone else");
  fs::create_directory(volume / ".Trash");
  ::chmod((volume / ".Trash").c_str(), 01777);
  fs::create_directory_symlink(volume / "decoy", volume / (".Trash/" + kUid));
  refused(".Trash/uid is a symbolic link");
}

TEST(Trash, InjectedFaultsNeverLoseAnItem) {
  HookGuard guard;
  for (sys::Step step : {sys::Step::makeFolder, sys::Step::reserveInfo, sys::Step::writeInfo,
                         sys::Step::syncInfo, sys::Step::rename}) {
    test::TempHome home;
    writeFile(home / "item.txt", "data");
    sys::setFaultHook([step](sys::Step at, const std::string&) { return at == step ? EIO : 0; });
    TrashMove moved = moveToTrash(home / "item.txt");
    EXPECT_EQ(moved.error, "Input/output error") << static_cast<int>(step);
    EXPECT_EQ(readFile(home / "item.txt"), "data");
    EXPECT_EQ(entries(home.trashFiles()), 0u);
    EXPECT_EQ(entries(home.trashInfo()), 0u)
        << "stray .trashinfo at step " << static_cast<int>(step);
    sys::setFaultHook({});
  }

  // A file system without RENAME_NOREPLACE: files move by link and unlink, folders stay.
  test::TempHome home;
  writeFile(home / "file.txt", "f");
  writeFile(home / "dir/inner.txt", "i");
  sys::setFaultHook(
      [](sys::Step at, const std::string&) { return at == sys::Step::rename ? EINVAL : 0; });
  TrashMove file = moveToTrash(home / "file.txt");
  ASSERT_TRUE(file.ok()) << file.error;
  EXPECT_EQ(readFile(file.trashPath), "f");
  EXPECT_FALSE(exists(home / "file.txt"));
  EXPECT_FALSE(moveToTrash(home / "dir").ok());
  EXPECT_EQ(readFile(home / "dir/inner.txt"), "i");
  EXPECT_EQ(entries(home.trashInfo()), 1u);

  // The old name cannot go after the link: the item has both names and keeps its record.
  writeFile(home / "twice.txt", "t");
  sys::setFaultHook([](sys::Step at, const std::string&) {
    return at == sys::Step::rename ? EINVAL : at == sys::Step::unlink ? EPERM : 0;
  });
  EXPECT_FALSE(moveToTrash(home / "twice.txt").ok());
  EXPECT_EQ(readFile(home / "twice.txt"), "t");
  EXPECT_EQ(readFile(home.trashFiles() + "/twice.txt"), "t");
  EXPECT_TRUE(trashItemMatches(home.trashFiles() + "/twice.txt", home / "twice.txt"));

  // Moving back fails: the item stays in the Trash with its record.
  sys::setFaultHook(
      [](sys::Step at, const std::string&) { return at == sys::Step::rename ? EIO : 0; });
  EXPECT_EQ(moveOutOfTrash(file.trashPath, home / "file.txt"), "Input/output error");
  EXPECT_TRUE(trashItemMatches(file.trashPath, home / "file.txt"));
  EXPECT_FALSE(exists(home / "file.txt"));

  // Names already reserved by others are skipped, never reused.
  sys::setFaultHook([n = 0](sys::Step at, const std::string&) mutable {
    return at == sys::Step::reserveInfo && n++ < 3 ? EEXIST : 0;
  });
  writeFile(home / "busy.txt", "b");
  EXPECT_EQ(moveToTrash(home / "busy.txt").trashPath, home.trashFiles() + "/busy 4.txt");
}

TEST(Trash, RecognisesOnlyItemsInsideTrashFolders) {
  test::TempHome home;
  const std::string h = home.path();
  const std::string files = home.trashFiles();
  fs::create_directories(files);
  EXPECT_TRUE(isInTrashFolder(files + "/a", h));
  EXPECT_TRUE(isInTrashFolder(files + "/a/b", h));
  EXPECT_FALSE(isInTrashFolder(files, h));
  EXPECT_FALSE(isInTrashFolder(home.trashInfo() + "/a.trashinfo", h));
  EXPECT_FALSE(isInTrashFolder(h + "/.Trash/a", h));
  EXPECT_TRUE(isInTrashFolder("/media/usb/.Trash-" + kUid + "/files/a", h));
  EXPECT_FALSE(isInTrashFolder("/media/usb/.Trash-" + kUid + "/files", h));
  EXPECT_FALSE(isInTrashFolder("/media/usb/.Trash-" + kUid + "/info/a.trashinfo", h));
  EXPECT_FALSE(isInTrashFolder("/media/usb/.Trash-4321/files/a", h));
  EXPECT_TRUE(isInTrashFolder("/media/usb/.Trash/" + kUid + "/files/a", h));
  EXPECT_FALSE(isInTrashFolder("/media/usb/.Trash/4321/files/a", h));
  EXPECT_FALSE(isInTrashFolder("/tmp/a", h));

  // A reused name: the record beside it names another item.
  writeFile(files + "/notes.txt", "someone else's");
  writeFile(home.trashInfo() + "/notes.txt.trashinfo",
            "[Trash Info]\nPath=" + h + "/other.txt\nDeletionDate=2026-01-01T00:00:00\n");
  EXPECT_FALSE(trashItemMatches(files + "/notes.txt", h + "/notes.txt"));
  EXPECT_TRUE(trashItemMatches(files + "/notes.txt", h + "/other.txt"));
  writeFile(files + "/bare.txt", "no record");
  EXPECT_FALSE(trashItemMatches(files + "/bare.txt", h + "/bare.txt"));
}

}  // namespace
}  // namespace dw::platform

#endif  // __linux__
