// The duplicates command end to end: the listing, its JSON, and a clear that leaves exactly one
// copy of each file and logs the rest.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "base/json.h"
#include "support/command.h"
#include "support/home_builder.h"
#include "support/mounts.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using ::testing::HasSubstr;

class DuplicatesCli : public ::testing::Test {
 protected:
  void SetUp() override {
    test::writeSized(a1 = mac.inHome("Downloads/a.bin"), 2 * kMiB, 'a');
    test::writeSized(a2 = mac.inHome("Pictures/a.bin"), 2 * kMiB, 'a');
    test::writeSized(a3 = mac.inHome("Movies/old a.bin"), 2 * kMiB, 'a');
    test::writeSized(b1 = mac.inHome("Music/b.bin"), kMiB, 'b');
    test::writeSized(b2 = mac.inHome("Downloads/b.bin"), kMiB, 'b');
    date(a1, 3000);
    date(a2, 2000);
    date(a3, 1000);
    date(b1, 2000);
    date(b2, 1000);
    before = test::snapshot(mac.home());
  }
  static void date(const std::string& path, std::int64_t seconds) {
    struct timespec times[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  }
  test::CommandResult run(std::vector<std::string> extra = {}) {
    return test::dustwhaleOn(mac, "duplicates", std::move(extra));
  }

  static constexpr std::int64_t kMiB = 1'048'576;
  test::TempHome trashHome;
  test::ScopedEnv utc{"TZ", "UTC"};  // dates are shown in local time
  test::HomeBuilder mac;
  std::string a1, a2, a3, b1, b2;
  std::vector<std::string> before;
};

TEST_F(DuplicatesCli, ListsGroupsAsTextAndJson) {
  auto text = run();
  ASSERT_EQ(text.status, 0) << text.err;
  // The copy in Movies, Music or Pictures stays over one in Downloads, the oldest first.
  EXPECT_EQ(text.out, "2 MB · 3 copies\n  kept  1970-01-01 00:16:40  " + a3 +
                          "\n        1970-01-01 00:33:20  " + a2 +
                          "\n        1970-01-01 00:50:00  " + a1 +
                          "\n1 MB · 2 copies\n  kept  1970-01-01 00:33:20  " + b1 +
                          "\n        1970-01-01 00:16:40  " + b2 +
                          "\nUp to 5 MB in extra copies. At least one copy of each file stays.\n");
  EXPECT_EQ(text.err, "");  // progress only on a terminal

  auto out = run({"--json", "--scope", "downloads,pictures"});
  ASSERT_EQ(out.status, 0) << out.err;
  auto value = json::parse(out.out);
  ASSERT_TRUE(value && value->isObject()) << out.out;
  const auto& groups = value->find("groups")->array();
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_EQ(groups[0].find("hashHex")->string(),
            test::runCommand({"sha256sum", a1}).out.substr(0, 64));
  EXPECT_EQ(groups[0].find("bytes")->integer(), 2 * kMiB);
  const auto& files = groups[0].find("files")->array();
  ASSERT_EQ(files.size(), 2u);
  EXPECT_EQ(files[0].find("path")->string(), a2);
  EXPECT_EQ(files[0].find("bytes")->integer(), 2 * kMiB);
  EXPECT_EQ(files[0].find("modified")->string(), "1970-01-01T00:33:20Z");
  EXPECT_TRUE(value->find("skipped")->array().empty());
  EXPECT_EQ(value->find("message")->string(),
            "Up to 2 MB in extra copies. At least one copy of each file stays.");

  EXPECT_EQ(run({"--scope", "desktop"}).status, 2);
  EXPECT_EQ(run({"--json", "--clear"}).status, 2);
  EXPECT_EQ(test::snapshot(mac.home()), before);
}

TEST_F(DuplicatesCli, ClearLeavesOneCopyOfEachAndLogsTheRest) {
  // Without a terminal to ask on, nothing moves unless --yes says so; a dry run moves nothing.
  auto refused = run({"--clear"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, HasSubstr("nothing was moved"));
  auto dry = run({"--clear", "--keep", "oldest", "--dry-run"});
  EXPECT_EQ(dry.status, 0);
  EXPECT_THAT(dry.out, HasSubstr("To move to the Trash: 3 copies · 5 MB\n  keep  " + a3 +
                                 "\n  move  " + a2 + "\n  move  " + a1 + "\n"));
  EXPECT_EQ(test::snapshot(mac.home()), before);

  auto clear = run({"--clear", "--keep", "oldest", "--yes"});
  ASSERT_EQ(clear.status, 0) << clear.out << clear.err;
  EXPECT_THAT(clear.out, HasSubstr("Up to 5 MB moved to the Trash. Empty the Trash to get the "
                                   "space back. Copies on APFS may free less.\n"));
  EXPECT_TRUE(test::exists(a3));
  EXPECT_TRUE(test::exists(b2));
  for (const auto& gone : {a1, a2, b1})
    EXPECT_FALSE(test::exists(gone)) << gone;
  auto again = run();
  EXPECT_THAT(again.out, HasSubstr("No duplicates found in the chosen folders."));

  auto history = json::parse(test::dustwhale({"history", "--json"}).out);
  ASSERT_TRUE(history && history->isArray());
  ASSERT_EQ(history->array().size(), 3u);
  for (const auto& e : history->array())
    EXPECT_EQ(e.find("kind")->string(), "duplicate");
}

// Which copy stays: by default the one in Movies, Music or Pictures over Downloads (the album's
// copy in Downloads is older, yet the one in Music stays), else what --keep names: the newest, the
// oldest, or the one in a folder (by name or path; a group with none there keeps its default).
TEST_F(DuplicatesCli, KeepNamesTheCopyThatStays) {
  auto kept = [&](std::vector<std::string> keep) {
    std::vector<std::string> args{"--clear", "--dry-run"};
    args.insert(args.end(), keep.begin(), keep.end());
    auto r = run(args);
    EXPECT_EQ(r.status, 0) << r.err;
    std::vector<std::string> paths;
    for (size_t at = 0; (at = r.out.find("  keep  ", at)) != std::string::npos;) {
      size_t end = r.out.find('\n', at);
      paths.push_back(r.out.substr(at + 8, end - at - 8));
      at = end;
    }
    return paths;
  };
  EXPECT_THAT(kept({}), ::testing::ElementsAre(a3, b1));
  EXPECT_THAT(kept({"--keep", "newest"}), ::testing::ElementsAre(a1, b1));
  EXPECT_THAT(kept({"--keep", "oldest"}), ::testing::ElementsAre(a3, b2));
  EXPECT_THAT(kept({"--keep", "downloads"}), ::testing::ElementsAre(a1, b2));
  EXPECT_THAT(kept({"--keep", mac.inHome("Pictures")}), ::testing::ElementsAre(a2, b1));
  EXPECT_EQ(run({"--clear", "--dry-run", "--keep", mac.inHome("nowhere")}).status, 2);
  EXPECT_EQ(run({"--keep", "newest"}).status, 2);  // only with --clear or --share
  EXPECT_EQ(test::snapshot(mac.home()), before);

  // The clear itself: the library stays whole, the copies in Downloads go.
  auto clear = run({"--clear", "--yes"});
  ASSERT_EQ(clear.status, 0) << clear.out << clear.err;
  for (const auto& stays : {a3, b1})
    EXPECT_TRUE(test::exists(stays)) << stays;
  for (const auto& gone : {a1, a2, b2})
    EXPECT_FALSE(test::exists(gone)) << gone;
}

// One file reached by two paths is one file: through a Pictures that is a link to Downloads or
// a bind mount of it, a Music folder that user-dirs.dirs puts inside Downloads, a hard link. It
// is never listed as a copy of itself, and a clear leaves it where it is; a real copy beside it
// makes a group of two, counted once.
TEST(DuplicatesIdentityCli, AFileIsNeverACopyOfItself) {
  constexpr std::int64_t kMiB = 1'048'576;
  test::TempHome trashHome;
  for (Locations::Layout layout : {Locations::Layout::macos, Locations::Layout::linux}) {
    test::HomeBuilder tree(layout);
    const bool mac = layout == Locations::Layout::macos;
    auto run = [&](std::vector<std::string> extra) {
      std::vector<std::string> args{
          "duplicates",           "--root", tree.root(), "--home", tree.home(), "--layout",
          mac ? "macos" : "linux"};
      args.insert(args.end(), extra.begin(), extra.end());
      return test::dustwhale(args);
    };
    auto groups = [&] {
      auto out = json::parse(run({"--json"}).out);
      return out ? out->find("groups")->array().size() : 99u;
    };
    const std::string downloads = tree.inHome("Downloads");
    test::writeSized(downloads + "/only.bin", 2 * kMiB, 'o');
    test::writeSized(downloads + "/Music/song.flac", 2 * kMiB, 's');
    test::writeSized(downloads + "/linked.bin", 2 * kMiB, 'l');
    ASSERT_EQ(::link((downloads + "/linked.bin").c_str(), (downloads + "/linked too.bin").c_str()),
              0);
    std::filesystem::remove_all(tree.inHome("Pictures"));
    std::filesystem::remove_all(tree.inHome("Music"));
    if (mac) {
      tree.symlink(downloads, tree.inHome("Pictures"));
      tree.symlink(downloads + "/Music", tree.inHome("Music"));
    } else {
      tree.userDirs({{"PICTURES", "$HOME/Downloads"}, {"MUSIC", "$HOME/Downloads/Music"}});
    }
    const auto before = test::snapshot(tree.root());
    SCOPED_TRACE(mac ? "macos" : "linux");
    EXPECT_EQ(groups(), 0u);
    auto clear = run({"--clear", "--yes"});
    EXPECT_EQ(clear.status, 0) << clear.err;
    EXPECT_EQ(clear.out, "No duplicates found in the chosen folders.\n");
    EXPECT_EQ(test::snapshot(tree.root()), before);

    // Pictures as a bind mount of Downloads: the same folder by another path.
    if (mac) {
      std::filesystem::remove(tree.inHome("Pictures"));
      tree.folder(tree.inHome("Pictures"));
      test::ScopedBindMount bind(downloads, tree.inHome("Pictures"));
      if (bind.mounted()) {
        EXPECT_EQ(groups(), 0u);
        EXPECT_EQ(run({"--clear", "--yes"}).out, "No duplicates found in the chosen folders.\n");
        EXPECT_EQ(test::snapshot(downloads), test::snapshot(tree.inHome("Pictures")));
      }
    }

    // A real copy beside the hard-linked file: two copies, one of them to move.
    test::writeSized(tree.inHome("Videos/linked copy.bin"), 2 * kMiB, 'l');
    test::writeSized(tree.inHome("Movies/linked copy.bin"), 2 * kMiB, 'l');
    auto listed = json::parse(run({"--json"}).out);
    ASSERT_TRUE(listed);
    ASSERT_EQ(listed->find("groups")->array().size(), 1u);
    EXPECT_EQ(listed->find("groups")->array()[0].find("files")->array().size(), 2u);
    EXPECT_THAT(run({"--clear", "--dry-run"}).out,
                HasSubstr("To move to the Trash: 1 copy · 2 MB"));
  }
}

TEST_F(DuplicatesCli, ShareKeepsEveryFileInPlaceAndLogsOneShare) {
  // The home on ext4: nothing there shares blocks, so nothing is offered.
  auto none = run({"--share", "--yes"});
  EXPECT_EQ(none.status, 1);
  EXPECT_THAT(none.err, HasSubstr("nothing can be shared"));
  EXPECT_EQ(test::snapshot(mac.home()), before);

  // Downloads on Btrfs: three copies of one file there, and one left in Pictures.
  test::ScopedLoopMount btrfs(test::ScopedLoopMount::Kind::btrfs, mac.inHome("Downloads"));
  if (!btrfs.mounted()) GTEST_SKIP() << btrfs.error();
  const std::string d1 = mac.inHome("Downloads/c.bin"), d2 = mac.inHome("Downloads/old/c.bin"),
                    d3 = mac.inHome("Downloads/c copy.bin");
  for (const auto& p : {d1, d2, d3})
    test::writeSized(p, 3 * kMiB, 'c');
  date(d1, 1000);
  date(d2, 2000);
  date(d3, 3000);
  struct stat copy {};
  ASSERT_EQ(::stat(d3.c_str(), &copy), 0);
  const std::vector<std::string> files = test::snapshot(mac.home());

  auto refused = run({"--share"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, HasSubstr("nothing was shared"));
  auto dry = run({"--share", "--dry-run", "--scope", "downloads"});
  EXPECT_EQ(dry.status, 0) << dry.err;
  EXPECT_EQ(dry.out, "To share: 2 copies · about 6 MB can come back at once\n  keep   " + d1 +
                         "\n  share  " + d2 + "\n  share  " + d3 +
                         "\nDry run: nothing was shared.\n");

  auto shared = run({"--share", "--yes"});
  ASSERT_EQ(shared.status, 0) << shared.out << shared.err;
  EXPECT_THAT(shared.out, HasSubstr("  stays  " + a2 + " (its file system cannot share blocks)"));
  EXPECT_THAT(shared.out,
              HasSubstr("Sharing freed 6 MB: 2 copies now use the blocks of an identical file, "
                        "and every file stays where it was."));
  // Every file is where it was, with its bytes and its date.
  EXPECT_EQ(test::snapshot(mac.home()), files);
  struct stat now {};
  ASSERT_EQ(::stat(d3.c_str(), &now), 0);
  EXPECT_EQ(now.st_mtim.tv_sec, copy.st_mtim.tv_sec);
  EXPECT_EQ(now.st_ino, copy.st_ino);

  // One record, of its own kind, with nothing to put back.
  auto history = json::parse(test::dustwhale({"history", "--json"}).out);
  ASSERT_TRUE(history && history->isArray());
  ASSERT_EQ(history->array().size(), 1u);
  const json::Value& e = history->array()[0];
  EXPECT_EQ(e.find("kind")->string(), "share");
  EXPECT_EQ(e.find("status")->string(), "Shared in place");
  EXPECT_EQ(e.find("originalPath")->string(), mac.inHome("Downloads"));
  EXPECT_EQ(e.find("bytes")->integer(), 2 * 3 * kMiB);
  auto back = test::dustwhale({"put-back", "--root", mac.root(), "--home", mac.home(), "--layout",
                               "macos", e.find("id")->string()});
  EXPECT_EQ(back.status, 1);
  EXPECT_THAT(back.err, HasSubstr("there is nothing to put back"));

  // Shared already: nothing more to do.
  auto again = run({"--share", "--yes", "--scope", "downloads"});
  EXPECT_EQ(again.status, 0);
  EXPECT_THAT(again.out, HasSubstr("stays  " + d2 + " (already shares its blocks)"));
  EXPECT_THAT(again.out, HasSubstr("Nothing can be shared.\n"));
  EXPECT_EQ(run({"--json", "--share"}).status, 2);
  EXPECT_EQ(run({"--clear", "--share"}).status, 2);
  EXPECT_EQ(run({"--yes"}).status, 2);
}

}  // namespace
}  // namespace dw
