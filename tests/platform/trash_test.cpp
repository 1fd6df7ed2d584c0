// The Linux Trash (freedesktop.org); on the Mac the system keeps the Trash.
#ifdef __linux__

#include "platform/trash.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <future>
#include <map>
#include <regex>

#include "platform/linux/syscalls.h"
#include "support/mounts.h"
#include "support/temp_dir.h"

namespace dw::platform {
namespace {

using namespace dw::test;
namespace fs = std::filesystem;

const std::string kUid = std::to_string(::getuid());

// Writes a file in the folder and returns its path.
std::string put(const std::string& folder, const std::string& name, const std::string& text = "x") {
  writeFile(folder + "/" + name, text);
  return folder + "/" + name;
}

// The Path= value of the item's .trashinfo, once the whole record is found in its exact form.
std::string pathLine(const std::string& item) {
  auto info = readFile(std::regex_replace(item, std::regex("files/([^/]+)$"), "info/$1.trashinfo"));
  std::smatch m;
  std::regex shape(
      "\\[Trash Info\\]\nPath=(.*)\nDeletionDate=\\d{4}(-\\d\\d){2}T\\d\\d(:\\d\\d){2}\n");
  return std::regex_match(info, m, shape) ? m[1].str() : "malformed: " + info;
}

// An original place as Put Back is handed it: the folder and the item's name in it.
Placement placed(const std::string& path) {
  return {fs::path(path).parent_path(), fs::path(path).filename()};
}

size_t entries(const std::string& folder) {
  return exists(folder) ? std::distance(fs::directory_iterator(folder), {}) : 0;
}

// Makes these steps fail with these errors, the first `times` times.
void inject(std::map<sys::Step, int> errors, int times = 1 << 30) {
  sys::setFaultHook([errors, times](sys::Step at, const std::string&) mutable {
    return errors.contains(at) && times-- > 0 ? errors[at] : 0;
  });
}

TEST(Trash, HomeTrashTakesItemsWithExactRecordsAndNeverReplacesAnything) {
  TempHome home;
  const std::string h = home.path(), files = home.trashFiles();
  // The record keeps every byte of the path: spaces, %, +, UTF-8 and a byte that is not UTF-8.
  const std::string original = put(h + "/my docs", "a b%c+d \xC3\xA9\xFF.txt", "exact");
  TrashMove moved = moveToTrash(original);
  EXPECT_EQ(pathLine(moved.trashPath), h + "/my%20docs/a%20b%25c%2Bd%20%C3%A9%FF.txt");
  EXPECT_TRUE(trashItemMatches(moved.trashPath, original));
  EXPECT_EQ(moveOutOfTrash(moved.trashPath, placed(original)), "");
  EXPECT_EQ(readFile(original), "exact");
  EXPECT_EQ(entries(files) + entries(home.trashInfo()), 0u);

  TrashMove first = moveToTrash(put(h + "/Documents", "report.pdf", "one"));
  EXPECT_EQ(first.trashPath, files + "/report.pdf") << first.error;
  EXPECT_FALSE(exists(h + "/Documents/report.pdf"));
  EXPECT_EQ(pathLine(first.trashPath), h + "/Documents/report.pdf");
  EXPECT_EQ(fs::status(files).permissions(), fs::perms::owner_all);
  // A clash takes a new name; the first item is not touched.
  EXPECT_EQ(moveToTrash(put(h + "/Desktop", "report.pdf")).trashPath, files + "/report 2.pdf");
  EXPECT_EQ(readFile(first.trashPath), "one");
  put(h + "/Projects/app", "main.cpp", "code");
  EXPECT_EQ(readFile(moveToTrash(h + "/Projects/app").trashPath + "/main.cpp"), "code");
  EXPECT_EQ(moveToTrash(h + "/missing").error, "No such file or directory");
  // The Trash, what is in it and what holds it stay put.
  for (std::string inside : {first.trashPath, files, h + "/.local"})
    EXPECT_TRUE(moveToTrash(inside).error == "Invalid argument" && exists(inside)) << inside;

  // Only items of a real Trash's files folder count as trashed: a folder shaped like a
  // top-directory Trash that is not at the top of its mount is no Trash at all.
  const std::string usb = "/media/usb/.Trash";
  makeDirs(h + "/deep/.Trash-" + kUid + "/files/a");
  makeDirs(h + "/deep/.Trash-" + kUid + "/info");
  EXPECT_TRUE(isInTrashFolder(files + "/a", h));
  for (std::string p :
       {files, files + "/a/b", home.trashInfo() + "/a.trashinfo", h + "/.Trash/a",
        usb + "-" + kUid + "/files/a", usb + "/" + kUid + "/files/a", usb + "-" + kUid + "/files",
        usb + "-" + kUid + "/info/a.trashinfo", usb + "-4321/files/a", usb + "/4321/files/a",
        std::string("/tmp/a"), h + "/deep/.Trash-" + kUid + "/files/a"})
    EXPECT_FALSE(isInTrashFolder(p, h)) << p;
  // A reused name: the record beside it names another item; a bare item matches nothing.
  put(home.trashInfo(), "notes.txt.trashinfo",
      "[Trash Info]\nPath=" + h + "/other.txt\nDeletionDate=2026-01-01T00:00:00\n");
  EXPECT_FALSE(trashItemMatches(put(files, "notes.txt"), h + "/notes.txt"));
  EXPECT_TRUE(trashItemMatches(files + "/notes.txt", h + "/other.txt"));
  EXPECT_FALSE(trashItemMatches(put(files, "bare.txt"), h + "/bare.txt"));

  // Links move as links.
  fs::create_symlink(put(h, "target.txt", "target"), h + "/link");
  fs::create_symlink(h + "/nowhere", h + "/dangling");
  for (const char* link : {"/link", "/dangling"})
    EXPECT_TRUE(fs::is_symlink(moveToTrash(h + link).trashPath)) << link;
  EXPECT_EQ(readFile(h + "/target.txt"), "target");

  // Twenty threads trashing items of one name: each gets an entry whose record names it.
  auto nth = [&](int i) { return h + "/f" + std::to_string(i); };
  std::vector<std::future<TrashMove>> runs;
  for (int i = 0; i < 20; ++i)
    runs.push_back(std::async(std::launch::async, [=] { return moveToTrash(put(nth(i), "a")); }));
  for (int i = 0; i < 20; ++i)
    EXPECT_TRUE(trashItemMatches(runs[i].get().trashPath, nth(i) + "/a")) << i;

  // A 255-byte name does not fit beside ".trashinfo": shortened in the Trash, on a character
  // boundary, keeping the extension; the record keeps the full path.
  std::string e125 = std::regex_replace(std::string(125, 'e'), std::regex("e"), "\xC3\xA9");
  const std::string longName = put(h, e125 + "x.txt", "long");
  TrashMove shortened = moveToTrash(longName);
  EXPECT_EQ(shortened.trashPath, files + "/" + e125.substr(0, 240) + ".txt");
  EXPECT_TRUE(trashItemMatches(shortened.trashPath, longName));
  EXPECT_EQ(moveOutOfTrash(shortened.trashPath, placed(longName)), "");
  EXPECT_EQ(readFile(longName), "long");

  // Putting back onto anything that exists is refused with both untouched.
  TrashMove back = moveToTrash(put(h, "back.txt", "in trash"));
  put(h, "back.txt", "new one");
  EXPECT_EQ(moveOutOfTrash(back.trashPath, placed(h + "/back.txt")), "File exists");
  EXPECT_EQ(readFile(h + "/back.txt") + "|" + readFile(back.trashPath), "new one|in trash");
  EXPECT_TRUE(trashItemMatches(back.trashPath, h + "/back.txt"));

  // XDG_DATA_HOME is read at each call.
  ScopedEnv data("XDG_DATA_HOME", h + "/elsewhere");
  EXPECT_EQ(moveToTrash(put(h, "later.txt")).trashPath, h + "/elsewhere/Trash/files/later.txt");

  // A folder whose entries cannot change: the move is refused and nothing changes.
  put(h + "/locked", "keep.txt", "keep");
  ScopedImmutable locked(h + "/locked");
  if (!locked.set()) GTEST_SKIP() << locked.error();
  auto before = snapshot(h);
  TrashMove refused = moveToTrash(h + "/locked/keep.txt");
  EXPECT_TRUE(refused.error == "Operation not permitted" && refused.permissionDenied);
  EXPECT_EQ(snapshot(h), before);
}

TEST(Trash, OtherFileSystemsUseTheirTopDirectoryTrashOrRefuse) {
  TempHome home;
  TempDir volume;
  ScopedTmpfs mount(volume.path());
  if (!mount.mounted()) GTEST_SKIP() << mount.error();
  const std::string top = volume.path(), own = top + "/.Trash-" + kUid;
  TrashMove moved = moveToTrash(put(top + "/media", "clip.mov"));
  EXPECT_EQ(moved.trashPath, own + "/files/clip.mov");
  EXPECT_EQ(pathLine(moved.trashPath), "media/clip.mov");
  EXPECT_TRUE(trashItemMatches(moved.trashPath, top + "/media/clip.mov"));

  // A shared .Trash is used only when it is a sticky real directory.
  fs::create_directory(top + "/shared");
  ::chmod((top + "/shared").c_str(), 01777);
  fs::create_directory_symlink(top + "/shared", top + "/.Trash");
  EXPECT_EQ(moveToTrash(put(top, "a.txt")).trashPath, own + "/files/a.txt");
  fs::remove(top + "/.Trash");
  fs::create_directory(top + "/.Trash");
  EXPECT_EQ(moveToTrash(put(top, "b.txt")).trashPath, own + "/files/b.txt");
  ::chmod((top + "/.Trash").c_str(), 01777);
  TrashMove shared = moveToTrash(put(top, "c.txt"));
  EXPECT_EQ(shared.trashPath, top + "/.Trash/" + kUid + "/files/c.txt");
  EXPECT_TRUE(trashItemMatches(shared.trashPath, top + "/c.txt"));
  // Both are real Trash folders at the top of their mount; the same shape one folder down is
  // not, even with a record that names the item.
  EXPECT_TRUE(isInTrashFolder(shared.trashPath, home.path()));
  EXPECT_TRUE(isInTrashFolder(moved.trashPath, home.path()));
  const std::string forged = top + "/media/.Trash-" + kUid;
  put(forged + "/files", "clip.mov");
  put(forged + "/info", "clip.mov.trashinfo", "[Trash Info]\nPath=clip.mov\n");
  EXPECT_FALSE(isInTrashFolder(forged + "/files/clip.mov", home.path()));
  EXPECT_FALSE(trashItemMatches(forged + "/files/clip.mov", top + "/media/clip.mov"));
  EXPECT_NE(moveOutOfTrash(forged + "/files/clip.mov", placed(top + "/media/clip.mov")), "");
  fs::remove_all(forged);

  // No usable Trash at all: the move is refused and the volume stays as it was.
  auto refused = [&](const std::string& why) {
    auto before = snapshot(top);
    EXPECT_EQ(moveToTrash(top + "/media").error, "This volume has no Trash") << why;
    EXPECT_EQ(snapshot(top), before) << why;
  };
  fs::remove_all(top + "/.Trash");
  fs::rename(own, top + "/decoy");
  fs::create_directory_symlink(top + "/decoy", own);
  refused(".Trash-uid is a symbolic link");
  fs::remove(own);
  fs::create_directory(own);
  ASSERT_EQ(::chown(own.c_str(), 4321, 4321), 0);
  refused(".Trash-uid belongs to someone else");
  fs::create_directory(top + "/.Trash");
  ::chmod((top + "/.Trash").c_str(), 01777);
  fs::create_directory_symlink(top + "/decoy", top + "/.Trash/" + kUid);
  refused(".Trash/uid is a symbolic link");
}

TEST(Trash, InjectedFaultsNeverLoseAnItem) {
  // Clears the hook however the test ends (a shared_ptr runs its deleter even on null).
  std::shared_ptr<void> reset(nullptr, [](void*) { sys::setFaultHook({}); });
  using enum sys::Step;
  for (sys::Step step : {makeFolder, reserveInfo, writeInfo, syncInfo, rename}) {
    TempHome home;
    const std::string item = put(home.path(), "item.txt", "data");
    inject({{step, EIO}});
    EXPECT_EQ(moveToTrash(item).error, "Input/output error") << static_cast<int>(step);
    // The item is where it was, and the Trash holds no stray entry or record.
    EXPECT_TRUE(readFile(item) == "data" &&
                entries(home.trashFiles()) + entries(home.trashInfo()) == 0)
        << int(step);
  }

  // A file system without RENAME_NOREPLACE: files move by link and unlink, folders stay.
  TempHome home;
  const std::string h = home.path(), files = home.trashFiles();
  put(h + "/dir", "inner.txt", "i");
  inject({{rename, EINVAL}});
  TrashMove file = moveToTrash(put(h, "file.txt", "f"));
  EXPECT_TRUE(readFile(file.trashPath) == "f" && !exists(h + "/file.txt")) << file.error;
  EXPECT_TRUE(!moveToTrash(h + "/dir").ok() && readFile(h + "/dir/inner.txt") == "i");
  EXPECT_EQ(entries(home.trashInfo()), 1u);

  // The old name cannot go after the link: the item has both names and keeps its record.
  inject({{rename, EINVAL}, {unlink, EPERM}});
  EXPECT_FALSE(moveToTrash(put(h, "twice.txt", "t")).ok());
  EXPECT_EQ(readFile(h + "/twice.txt") + readFile(files + "/twice.txt"), "tt");
  EXPECT_TRUE(trashItemMatches(files + "/twice.txt", h + "/twice.txt"));

  // Moving back fails: the item stays in the Trash with its record.
  inject({{rename, EIO}});
  EXPECT_EQ(moveOutOfTrash(file.trashPath, placed(h + "/file.txt")), "Input/output error");
  EXPECT_TRUE(trashItemMatches(file.trashPath, h + "/file.txt") && !exists(h + "/file.txt"));

  // Names already reserved by others are skipped, never reused.
  inject({{reserveInfo, EEXIST}}, 3);
  EXPECT_EQ(moveToTrash(put(h, "busy.txt")).trashPath, files + "/busy 4.txt");
}

TEST(Trash, AMoveRefusedForLackOfRightsSaysSo) {
  std::shared_ptr<void> reset(nullptr, [](void*) { sys::setFaultHook({}); });
  TempHome home;
  const std::string h = home.path();
  // The system refusing the rename for lack of rights is a rights question; any other failure
  // is not.
  inject({{sys::Step::rename, EACCES}});
  TrashMove refused = moveToTrash(put(h, "a.txt"));
  EXPECT_TRUE(!refused.ok() && refused.permissionDenied) << refused.error;
  inject({{sys::Step::rename, EIO}});
  EXPECT_FALSE(moveToTrash(put(h, "c.txt")).permissionDenied);
  sys::setFaultHook({});

  // A folder the user may not write, and a folder whose own ".." the move must change.
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to run the child as another user";
  TempDir shared;
  const std::string locked = shared / "locked", closed = shared / "closed";
  put(locked, "item.txt");
  put(closed + "/app", "inner.txt");
  ::chmod(locked.c_str(), 0555);
  ::chmod((closed + "/app").c_str(), 0555);
  for (const std::string& path : {shared.path(), locked, locked + "/item.txt", closed})
    ::chown(path.c_str(), 65534, 65534);
  ::chown((closed + "/app").c_str(), 65534, 65534);
  pid_t child = ::fork();
  if (child == 0) {
    if (::setgroups(0, nullptr) != 0 || ::setresgid(65534, 65534, 65534) != 0 ||
        ::setresuid(65534, 65534, 65534) != 0)
      ::_exit(2);
    ::setenv("XDG_DATA_HOME", (shared.path() + "/data").c_str(), 1);
    TrashMove file = moveToTrash(locked + "/item.txt");
    TrashMove folder = moveToTrash(closed + "/app");
    ::_exit(!file.ok() && file.permissionDenied && !folder.ok() && folder.permissionDenied ? 0 : 1);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_TRUE(exists(locked + "/item.txt") && exists(closed + "/app/inner.txt"));
}

}  // namespace
}  // namespace dw::platform

#endif  // __linux__
