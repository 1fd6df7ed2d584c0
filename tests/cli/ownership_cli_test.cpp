// Whose items move: only the user's own, only from places of the user's, never in another
// user's home (root with that user's HOME); what moved from a linked Downloads comes back the
// same way, never through a link put there since; and every name reaches the terminal escaped.
#ifdef __linux__

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <set>

#include "base/json.h"
#include "support/command.h"
#include "support/home_builder.h"
#include "support/linux_apps.h"
#include "support/mounts.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr uid_t kNobody = 65534;
constexpr std::int64_t kMiB = 1'048'576;
constexpr std::int64_t k200MB = 209'715'200;

// Gives the item and everything below it to the user.
void giveTo(const std::string& path, uid_t user) {
  ASSERT_EQ(::lchown(path.c_str(), user, user), 0) << path;
  if (!fs::is_directory(fs::symlink_status(path))) return;
  for (const auto& entry : fs::recursive_directory_iterator(path))
    ASSERT_EQ(::lchown(entry.path().c_str(), user, user), 0) << entry.path();
}

// The ids of a `scan --json`'s findings.
std::set<std::string> findingIds(const test::CommandResult& scan) {
  std::set<std::string> ids;
  auto doc = json::parse(scan.out);
  EXPECT_TRUE(doc) << scan.out << scan.err;
  if (!doc) return ids;
  for (const json::Value& f : doc->find("findings")->array())
    ids.insert(f.find("id")->string());
  return ids;
}

std::vector<std::string> placed(const test::HomeBuilder& tree, const char* layout,
                                std::vector<std::string> args) {
  std::vector<std::string> all{"--root", tree.root(), "--home", tree.home(), "--layout", layout};
  args.insert(args.begin() + 1, all.begin(), all.end());
  return args;
}

// The command as the unprivileged user nobody, with this process's environment.
test::CommandResult asNobody(std::vector<std::string> args) {
  args.insert(args.begin(),
              {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", DUSTWHALE_BINARY});
  return test::runCommand(args);
}

TEST(OwnershipCli, AnotherUsersItemsAreNeverOfferedNorMoved) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give files to another user";
  test::TempHome trashHome;
  test::HomeBuilder mac;
  auto run = [&](std::vector<std::string> args) {
    return test::dustwhale(placed(mac, "macos", std::move(args)));
  };
  // In the user's own Downloads, caches and media folders, items of the user nobody.
  std::string mine = mac.sparseFile(mac.inHome("Downloads/mine.iso"), k200MB);
  std::string theirs = mac.sparseFile(mac.inHome("Downloads/theirs.iso"), k200MB);
  std::string myCache = mac.cache("com.example.mine", 60 * kMiB);
  std::string theirCache = mac.cache("com.example.theirs", 60 * kMiB);
  test::writeSized(mac.inHome("Downloads/a.bin"), 2 * kMiB, 'a');
  test::writeSized(mac.inHome("Pictures/a.bin"), 2 * kMiB, 'a');
  test::writeSized(mac.inHome("Downloads/b.bin"), 2 * kMiB, 'b');
  test::writeSized(mac.inHome("Pictures/b.bin"), 2 * kMiB, 'b');
  for (const std::string& path : {theirs, theirCache, mac.inHome("Pictures/b.bin")})
    giveTo(path, kNobody);

  std::set<std::string> ids = findingIds(run({"scan", "--json"}));
  EXPECT_TRUE(ids.contains(mine) && ids.contains(myCache));
  EXPECT_FALSE(ids.contains(theirs));
  EXPECT_FALSE(ids.contains(theirCache));
  auto copies = json::parse(run({"duplicates", "--json"}).out);
  ASSERT_TRUE(copies);
  ASSERT_EQ(copies->find("groups")->array().size(), 1u);  // a.bin; b.bin has one copy of the user's
  EXPECT_THAT(run({"duplicates"}).out, Not(HasSubstr("b.bin")));

  auto before = test::snapshot(mac.home());
  auto refused = run({"clear", "--id", theirs, "--yes"});
  EXPECT_EQ(refused.status, 2);
  EXPECT_EQ(test::snapshot(mac.home()), before);
  auto clear = run({"clear", "--suggested", "--yes"});
  EXPECT_EQ(clear.status, 0) << clear.err;
  EXPECT_FALSE(test::exists(myCache));
  EXPECT_TRUE(test::exists(theirCache));
  auto duplicates = run({"duplicates", "--clear", "--yes"});
  EXPECT_EQ(duplicates.status, 0) << duplicates.err;
  EXPECT_TRUE(test::exists(mac.inHome("Downloads/b.bin")) &&
              test::exists(mac.inHome("Pictures/b.bin")));
}

TEST(OwnershipCli, AnotherUsersAppImageIsListedButNeverMoved) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give files to another user";
  test::TempHome trashHome;
  test::HomeBuilder tree(Locations::Layout::linux);
  // ~/Applications is a link to another user's folder of AppImages.
  std::string apps = tree.folder(tree.inRoot("home/other/Apps"));
  std::string image = test::appImage(apps + "/Theirs.AppImage");
  giveTo(tree.inRoot("home/other"), kNobody);
  tree.symlink(apps, tree.inHome("Applications"));
  auto run = [&](std::vector<std::string> args) {
    return test::dustwhale(placed(tree, "linux", std::move(args)));
  };
  EXPECT_THAT(run({"apps"}).out, HasSubstr("Theirs"));
  auto stayed = run({"uninstall", tree.inHome("Applications/Theirs.AppImage"), "--yes"});
  EXPECT_EQ(stayed.status, 1);
  EXPECT_THAT(stayed.out, HasSubstr("Theirs needs an administrator."));
  EXPECT_TRUE(test::exists(image));
  EXPECT_FALSE(test::exists(trashHome.trashFiles() + "/Theirs.AppImage"));
}

TEST(OwnershipCli, PlacesOutsideTheHomeAreSearchedOnlyWhenTheyAreTheUsersOwn) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give folders to another user";
  test::TempHome trashHome;
  test::HomeBuilder tree(Locations::Layout::linux);
  auto scan = [&] {
    return findingIds(test::dustwhale(placed(tree, "linux", {"scan", "--json"})));
  };
  // Another user's folder beside this home, holding a file of theirs and one of this user's.
  std::string other = tree.folder(tree.inRoot("home/other/Downloads"));
  std::string theirs = tree.sparseFile(other + "/theirs.iso", k200MB);
  std::string mine = tree.sparseFile(other + "/mine.iso", k200MB);
  giveTo(tree.inRoot("home/other"), kNobody);
  ASSERT_EQ(::lchown(mine.c_str(), 0, 0), 0);
  ASSERT_TRUE(scan().empty());

  // Downloads aimed at that folder, and at the folder above the home.
  for (const std::string& downloads : {other, std::string("$HOME/..")}) {
    SCOPED_TRACE(downloads);
    tree.userDirs({{"DOWNLOAD", downloads}});
    EXPECT_THAT(scan(), Not(::testing::Contains(theirs)));
    EXPECT_THAT(scan(), Not(::testing::Contains(mine)));
    auto copies = json::parse(test::dustwhale(placed(tree, "linux", {"duplicates", "--json"})).out);
    ASSERT_TRUE(copies);
    EXPECT_TRUE(copies->find("groups")->array().empty());
  }

  // $XDG_CACHE_HOME (read for the user's own home only) aimed at a system folder: root owns it,
  // yet it is no cache folder of root's; the home's own ~/.cache is used instead.
  tree.userDirs({});
  std::string system = tree.folderOfSize(tree.inRoot("usr/lib"), 60 * kMiB);
  std::string own = tree.cache("thumbnails", 60 * kMiB);
  test::ScopedEnv home("HOME", tree.home()), config("XDG_CONFIG_HOME", std::nullopt),
      cache("XDG_CACHE_HOME", tree.inRoot("usr"));
  std::set<std::string> ids = scan();
  EXPECT_FALSE(ids.contains(system));
  EXPECT_TRUE(ids.contains(own));
}

TEST(OwnershipCli, AUsersCacheFolderOutsideTheHomeOffersOnlyTheirOwnCaches) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to run as another user";
  test::TempHome trashHome;
  test::HomeBuilder tree(Locations::Layout::linux);
  // $XDG_CACHE_HOME on a scratch disk, the user's own; in it a folder of another user's.
  const std::string cache = tree.folder(tree.inRoot("scratch/me/cache"));
  const std::string mine = tree.folderOfSize(cache + "/mine", 60 * kMiB);
  const std::string theirs = tree.folderOfSize(cache + "/theirs", 60 * kMiB);
  giveTo(tree.root(), kNobody);
  giveTo(theirs, 0);
  ASSERT_EQ(::chmod(tree.root().c_str(), 0755), 0);
  test::ScopedEnv home("HOME", tree.home()), variable("XDG_CACHE_HOME", cache),
      config("XDG_CONFIG_HOME", std::nullopt);
  std::set<std::string> ids = findingIds(asNobody(placed(tree, "linux", {"scan", "--json"})));
  EXPECT_TRUE(ids.contains(mine));
  EXPECT_FALSE(ids.contains(theirs));
}

TEST(OwnershipCli, RootNeverMovesAnythingInAnotherUsersHome) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to act on another user's home";
  test::TempHome trashHome;
  test::HomeBuilder alice(Locations::Layout::linux);
  std::string cache = alice.cache("thumbnails", 60 * kMiB);
  test::writeSized(alice.inHome("Downloads/a.bin"), 2 * kMiB, 'a');
  test::writeSized(alice.inHome("Pictures/a.bin"), 2 * kMiB, 'a');
  giveTo(alice.home(), kNobody);
  const auto before = test::snapshot(alice.root());
  const std::string refusal = " belongs to nobody. Run Dustwhale as nobody";

  // --home another user's home: nothing moves, nothing is made, not even in root's own Trash.
  for (std::vector<std::string> args : {std::vector<std::string>{"clear", "--suggested", "--yes"},
                                        {"duplicates", "--clear", "--yes"},
                                        {"uninstall", "Foo", "--yes"},
                                        {"put-back", "0E984725-C51C-4BF4-9960-E1C80E27ABA0"}}) {
    SCOPED_TRACE(args[0]);
    auto refused = test::dustwhale(placed(alice, "linux", args));
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr(alice.home() + refusal));
    EXPECT_EQ(refused.out, "");
  }
  EXPECT_EQ(test::snapshot(alice.root()), before);
  EXPECT_FALSE(test::exists(trashHome.path() + "/.local"));

  // As `sudo -E` leaves it: HOME is the other user's, and so would be the Trash and the log.
  test::ScopedEnv home("HOME", alice.home()), data("XDG_DATA_HOME", std::nullopt),
      config("XDG_CONFIG_HOME", std::nullopt);
  auto refused = test::dustwhale({"clear", "--suggested", "--yes"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, HasSubstr(alice.home() + refusal));
  EXPECT_TRUE(test::exists(cache));
  // A scan only reads, and may (what it finds there is not root's to offer).
  auto scan = test::dustwhale({"scan", "--json"});
  EXPECT_EQ(scan.status, 0) << scan.err;
  EXPECT_FALSE(findingIds(scan).contains(cache));
  EXPECT_EQ(test::snapshot(alice.root()), before);
}

// ~/Downloads is a link to a folder of the user's on a data disk, a common setup: what a clear
// moved from it goes back there, and never through a link put in its place since.
TEST(OwnershipCli, PutBackReturnsWhatMovedFromALinkedDownloadsNeverThroughANewLink) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to run as another user";
  test::TempHome home;
  test::TempDir disk;
  const std::string data = disk / "data/dl";
  test::makeDirs(data + "/sub");
  fs::create_directory_symlink(data, home / "Downloads");
  test::makeDirs(home / "Documents");
  test::HomeBuilder files;  // only for its sparse files
  std::string big = files.sparseFile(data + "/big.iso", k200MB);
  std::string deep = files.sparseFile(data + "/sub/deep.iso", k200MB);
  giveTo(home.path(), kNobody);
  giveTo(disk.path(), kNobody);

  auto clear = asNobody(
      {"clear", "--id", "~/Downloads/big.iso", "--id", "~/Downloads/sub/deep.iso", "--yes"});
  ASSERT_EQ(clear.status, 0) << clear.out << clear.err;
  ASSERT_FALSE(test::exists(big) || test::exists(deep));
  auto history = json::parse(asNobody({"history", "--json"}).out);
  ASSERT_TRUE(history && history->array().size() == 2u);
  std::map<std::string, std::string> ids;
  for (const auto& e : history->array()) {
    EXPECT_EQ(e.find("status")->string(), "In the Trash");
    ids[e.find("name")->string()] = e.find("id")->string();
  }
  auto back = asNobody({"put-back", ids["big.iso"]});
  EXPECT_EQ(back.status, 0) << back.err;
  EXPECT_EQ(back.out, "big.iso was put back.\n");
  EXPECT_EQ(fs::file_size(big), static_cast<std::uintmax_t>(k200MB));

  // The folder it came from is now a link into Documents: no longer where it was.
  fs::rename(data + "/sub", data + "/sub.old");
  fs::create_directory_symlink(home / "Documents", data + "/sub");
  auto status = json::parse(asNobody({"history", "--json"}).out);
  ASSERT_TRUE(status);
  for (const auto& e : status->array()) {
    if (e.find("name")->string() == "deep.iso") {
      EXPECT_EQ(e.find("status")->string(), "In the Trash; put back by hand");
    }
  }
  auto refused = asNobody({"put-back", ids["deep.iso"]});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, HasSubstr("deep.iso cannot be put back: "));
  EXPECT_FALSE(test::exists(home / "Documents/deep.iso"));
}

TEST(OwnershipCli, NamesReachTheTerminalEscaped) {
  test::TempHome trashHome;
  test::HomeBuilder mac;
  auto run = [&](std::vector<std::string> args) {
    return test::dustwhale(placed(mac, "macos", std::move(args)));
  };
  const std::string clears = "clear\x1b[2J.iso", shown = "clear\\x1B[2J.iso";
  mac.sparseFile(mac.inHome("Downloads/" + clears), k200MB);
  ASSERT_EQ(run({"clear", "--id", "~/Downloads/" + clears, "--yes"}).status, 0);
  auto history = json::parse(run({"history", "--json"}).out);
  ASSERT_TRUE(history && history->array().size() == 1u);
  auto back = run({"put-back", history->array()[0].find("id")->string()});
  EXPECT_EQ(back.out, shown + " was put back.\n");

  // A move the system refuses names the item, escaped.
  const std::string title = "\x1b]0;title\x07.iso";
  std::string locked = mac.folder(mac.inHome("Downloads/locked"));
  mac.sparseFile(locked + "/" + title, k200MB);
  {
    test::ScopedImmutable immutable(locked);
    if (immutable.set()) {
      auto stayed = run({"clear", "--id", locked + "/" + title, "--yes"});
      EXPECT_EQ(stayed.status, 1);
      EXPECT_THAT(stayed.out, HasSubstr("Some items stayed in place: \\x1B]0;title\\x07.iso ("));
      EXPECT_THAT(stayed.out, Not(HasSubstr("\x1b")));
    }
  }

  // A refused uninstall prints the refusal alone, escaped.
  std::string app = mac.app(mac.inRoot("Applications/Sys\x1b[2Jtem.app"), "com.apple.system");
  auto refused = run({"uninstall", app, "--yes"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(refused.err, "Sys\\x1B[2Jtem cannot be uninstalled.\n");
}

}  // namespace
}  // namespace dw

#endif  // __linux__
