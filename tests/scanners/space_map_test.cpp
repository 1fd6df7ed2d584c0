#include "scanners/spacemap/space_map.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fcntl.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <map>
#include <sstream>

#include "base/core.h"
#include "scanners/spacemap/space_map_labels.h"
#include "support/command.h"
#include "support/home_builder.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using SpaceMap::Node;
using test::TempDir;
using test::writeSized;

std::int64_t blocksOf(const std::string& path) {
  struct stat s {};
  EXPECT_EQ(::lstat(path.c_str(), &s), 0) << path;
  return static_cast<std::int64_t>(s.st_blocks) * 512;
}

// The same pruned walk, done by find: every entry down to three levels, links of a file once.
std::int64_t prunedFind(const std::string& root) {
  std::string out =
      test::runCommand({"find", root, "-xdev", "-maxdepth", "3", "-printf", "%b %n %i %y\n"}).out;
  std::int64_t total = 0;
  std::set<std::string> seen;
  std::istringstream lines(out);
  std::int64_t blocks;
  int links;
  std::string inode, type;
  while (lines >> blocks >> links >> inode >> type) {
    if (type != "d" && links > 1 && !seen.insert(inode).second) continue;
    total += blocks * 512;
  }
  return total;
}

const Node* child(const Node& node, const std::string& name) {
  for (const Node& c : node.children)
    if (c.name == name) return &c;
  return nullptr;
}

TEST(SpaceMap, TwentyFoldersFoldIntoSixteenAndOther) {
  TempDir t;
  const std::string home = t / "me";
  for (int i = 1; i <= 20; ++i)
    writeSized(home + "/folder" + std::to_string(i) + "/data", i * 40960);
  Node root = SpaceMap::build(home);
  EXPECT_EQ(root.name, "me");
  EXPECT_EQ(root.path, home);
  EXPECT_EQ(root.bytes, prunedFind(home));
  ASSERT_EQ(root.children.size(), 17u);
  for (size_t i = 0; i < 16; ++i) {
    EXPECT_EQ(root.children[i].name, "folder" + std::to_string(20 - i));
    EXPECT_EQ(root.children[i].path, home + "/folder" + std::to_string(20 - i));
  }
  const Node& other = root.children[16];
  EXPECT_EQ(other.name, "Other");
  EXPECT_EQ(other.path, home + "/.other");
  EXPECT_TRUE(other.children.empty());
  std::int64_t smallest = 0;
  for (int i = 1; i <= 4; ++i)
    smallest += SpaceMap::build(home + "/folder" + std::to_string(i)).bytes;
  EXPECT_EQ(other.bytes, smallest);
  // Each folder holds its file: the tree goes on below the top level.
  ASSERT_EQ(root.children[0].children.size(), 1u);
  EXPECT_EQ(root.children[0].children[0].path, home + "/folder20/data");
}

TEST(SpaceMap, ThreeLevelsCountedAndNothingBelow) {
  TempDir t;
  const std::string home = t / "me";
  writeSized(home + "/a/b/c/deep", 1 << 20);  // four levels down: counts nothing
  writeSized(home + "/a/b/shallow", 8192);    // three levels down: counts
  writeSized(home + "/a/b/twin-source", 65536);
  ASSERT_EQ(::link((home + "/a/b/twin-source").c_str(), (home + "/a/twin").c_str()), 0);
  ASSERT_EQ(::link((home + "/a/b/twin-source").c_str(), (home + "/top-twin").c_str()), 0);
  test::makeDirs(home + "/hollow/x");  // entries of 0 bytes; still nodes
  test::writeFile(home + "/hollow/empty-file", "");
  ASSERT_EQ(::symlink("/nowhere", (home + "/a/dangling").c_str()), 0);

  Node root = SpaceMap::build(home);
  EXPECT_EQ(root.bytes, prunedFind(home));
  const Node* a = child(root, "a");
  ASSERT_TRUE(a);
  const Node* b = child(*a, "b");
  ASSERT_TRUE(b);
  const Node* c = child(*b, "c");
  ASSERT_TRUE(c);
  // The third level counts only its own directory entry, and shows no children.
  EXPECT_EQ(c->bytes, blocksOf(home + "/a/b/c"));
  EXPECT_TRUE(c->children.empty());
  // The hard-linked file counts once, under the name the walk met first: one of the three.
  int twins = (child(*b, "twin-source") != nullptr) + (child(*a, "twin") != nullptr) +
              (child(root, "top-twin") != nullptr);
  EXPECT_EQ(twins, 1);
  const Node* hollow = child(root, "hollow");
  ASSERT_TRUE(hollow);
  EXPECT_EQ(hollow->bytes, blocksOf(home + "/hollow") + blocksOf(home + "/hollow/x"));
  EXPECT_TRUE(child(*hollow, "x"));
  EXPECT_FALSE(child(*hollow, "empty-file")) << "a file of 0 bytes is no node";
  // Sizes add up: every node is its own entry plus its children.
  std::function<void(const Node&)> check = [&](const Node& n) {
    std::int64_t sum = 0;
    for (const Node& k : n.children) {
      EXPECT_GE(k.bytes, 0);
      sum += k.bytes;
      check(k);
    }
    if (!n.children.empty()) {
      EXPECT_EQ(n.bytes - sum, blocksOf(n.path)) << n.path;
    }
  };
  check(root);

  // The same tree from one thread and from two, and from a root that cannot be opened.
  EXPECT_EQ(SpaceMap::build(home, 3, 16, {}, 1), root);
  Node none = SpaceMap::build(t / "missing");
  EXPECT_EQ(none, (Node{"missing", t / "missing", 0, {}}));
}

TEST(SpaceMap, OneOrTwoThreadsGiveOneTreeAndCancellationStopsIt) {
  TempDir t;
  const std::string home = t / "me";
  for (int i = 0; i < 6000; ++i) {
    std::string dir = home + "/d" + std::to_string(i % 7) + "/e" + std::to_string(i % 23);
    test::writeFile(dir + "/f" + std::to_string(i),
                    std::string(static_cast<size_t>(i % 5000), 'z'));
  }
  writeSized(home + "/d1/e1/linked", 40960);
  for (int i = 2; i < 7; ++i)
    ASSERT_EQ(::link((home + "/d1/e1/linked").c_str(),
                     (home + "/d" + std::to_string(i) + "/e3/linked").c_str()),
              0);
  Node one = SpaceMap::build(home, 3, 16, {}, 1);
  EXPECT_EQ(one.bytes, prunedFind(home));
  for (int round = 0; round < 4; ++round)
    EXPECT_EQ(SpaceMap::build(home, 3, 16, {}, 2), one) << "round " << round;

  std::stop_source source;
  source.request_stop();
  EXPECT_THROW(SpaceMap::build(home, 3, 16, source.get_token()), Cancelled);
}

// du's own sums, one walk of the whole tree (-a: every entry with everything under it, a file
// of several names once, under the name its walk meets first, as ours).
std::map<std::string, std::int64_t> duAll(const std::string& root) {
  std::string out = test::runCommand({"du", "-B1", "-x", "-a", root}).out;
  std::map<std::string, std::int64_t> sums;
  std::istringstream lines(out);
  std::string line;
  while (std::getline(lines, line)) {
    size_t tab = line.find('\t');
    sums[line.substr(tab + 1)] = std::stoll(line.substr(0, tab));
  }
  return sums;
}

// The full map: every node is everything under it, exactly what du counts (allocated bytes,
// hard links once, sparse files by their blocks, links not followed), however deep; the tree
// keeps its shape (three levels, sixteen children and Other, largest first) by those sizes; one
// thread or two give one tree.
TEST(SpaceMap, FullSizesAreDuOfEveryNode) {
  TempDir t;
  const std::string home = t / "me";
  writeSized(home + "/Projects/app/src/deep/er/still/file", 3 << 20);
  writeSized(home + "/Projects/app/src/main.c", 20000);
  writeSized(home + "/Projects/app/build/out.o", 70000);
  writeSized(home + "/.cache/tool/v1/objects/aa/blob", 5 << 20);
  for (int i = 0; i < 40; ++i)
    writeSized(home + "/.cache/tool/v1/objects/f" + std::to_string(i) + "/x/y", 4096 * (i + 1));
  // Hard links below the third level, within one folder and across the top-level folders.
  writeSized(home + "/Photos/2024/trip/raw/a.raw", 1 << 20);
  ASSERT_EQ(::link((home + "/Photos/2024/trip/raw/a.raw").c_str(),
                   (home + "/Photos/2024/trip/raw/a-link.raw").c_str()),
            0);
  test::makeDirs(home + "/Backup/photos/2024/raw");
  ASSERT_EQ(::link((home + "/Photos/2024/trip/raw/a.raw").c_str(),
                   (home + "/Backup/photos/2024/raw/a.raw").c_str()),
            0);
  // A sparse disk image: long, but only two blocks on disk.
  test::makeDirs(home + "/VMs/disks/old/images");
  {
    const std::string image = home + "/VMs/disks/old/images/disk.img";
    test::writeFile(image, "head");
    ASSERT_EQ(::truncate(image.c_str(), 8LL << 30), 0);
    int fd = ::open(image.c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::pwrite(fd, "tail", 4, (8LL << 30) - 4), 4);
    ::close(fd);
  }
  ASSERT_EQ(::symlink("/usr", (home + "/VMs/disks/old/images/usr").c_str()), 0);
  for (int i = 0; i < 20; ++i)
    writeSized(home + "/Many/m" + std::to_string(i) + "/a/b/c", 8192 * (i + 1));

  Node full = SpaceMap::buildFull(home, 3, 16, {}, 1);
  std::map<std::string, std::int64_t> du = duAll(home);
  EXPECT_EQ(full.bytes, std::stoll(test::runCommand({"du", "-B1", "-sx", home}).out));
  EXPECT_EQ(full.bytes, du.at(home));
  size_t nodes = 0;
  std::function<void(const Node&, int)> check = [&](const Node& n, int depth) {
    ++nodes;
    EXPECT_LE(depth, 3);
    std::int64_t previous = INT64_MAX;
    for (const Node& k : n.children) {
      if (k.name == "Other") {
        // The folded children: the sum of what du says of each child past the sixteenth.
        std::int64_t folded = du.at(n.path);
        for (const Node& shown : n.children) {
          if (&shown != &k) folded -= du.at(shown.path);
        }
        folded -= blocksOf(n.path);
        EXPECT_EQ(k.bytes, folded) << n.path;
        continue;
      }
      EXPECT_LE(k.bytes, previous) << "largest first: " << k.path;
      previous = k.bytes;
      check(k, depth + 1);
    }
    if (n.name != "Other") {
      EXPECT_EQ(n.bytes, du.at(n.path)) << n.path;
    }
  };
  check(full, 0);
  EXPECT_GT(nodes, 30u);
  const Node* many = child(full, "Many");
  ASSERT_TRUE(many);
  EXPECT_EQ(many->children.size(), 17u);
  EXPECT_EQ(many->children.front().name, "m19");
  // Below the third level is counted now; the quick map counted nothing there.
  const Node* vms = child(full, "VMs");
  ASSERT_TRUE(vms);
  EXPECT_EQ(vms->bytes, du.at(home + "/VMs"));
  EXPECT_LT(vms->bytes, 1 << 20) << "a sparse file counts its blocks, not its length";
  Node quick = SpaceMap::build(home);
  EXPECT_LT(quick.bytes, full.bytes);
  EXPECT_EQ(quick.bytes, prunedFind(home));

  for (int round = 0; round < 3; ++round)
    EXPECT_EQ(SpaceMap::buildFull(home, 3, 16, {}, 2), full) << "round " << round;
  std::stop_source source;
  source.request_stop();
  EXPECT_THROW(SpaceMap::buildFull(home, 3, 16, source.get_token()), Cancelled);
}

TEST(SpaceMap, RowLayout) {
  Node parent{"p", "/p", 0, {}};
  parent.children = {
      {"big", "/p/big", 999'000, {}}, {"tiny", "/p/tiny", 1'000, {}}, {"none", "/p/none", 0, {}}};
  std::vector<SpaceMap::Cell> row = SpaceMap::layoutRow(parent, 600);
  ASSERT_EQ(row.size(), 2u) << "a child of 0 bytes gets no cell";
  EXPECT_EQ(row[0].node, &parent.children[0]);
  EXPECT_DOUBLE_EQ(row[0].width, 600 * 0.999);
  EXPECT_DOUBLE_EQ(row[1].width, 36) << "one thousandth still gets the minimum";
  EXPECT_DOUBLE_EQ(row[1].x, 600 * 0.999 + 3);  // not scaled back: wider than the area

  Node single{"s", "/s", 5, {{"only", "/s/only", 5, {}}}};
  row = SpaceMap::layoutRow(single, 420);
  ASSERT_EQ(row.size(), 1u);
  EXPECT_DOUBLE_EQ(row[0].x, 0);
  EXPECT_DOUBLE_EQ(row[0].width, 420);
  EXPECT_TRUE(SpaceMap::layoutRow(Node{"e", "/e", 0, {{"z", "/e/z", 0, {}}}}, 100).empty());
}

TEST(SpaceMapLabels, TheTableItsOrderAndTheFallbacks) {
  const std::string home = "/Users/me";
  auto title = [&](const std::string& relative) {
    return SpaceMapLabels::advice(home + relative, home).title;
  };
  SpaceMapLabels::Advice caches = SpaceMapLabels::advice(home + "/Library/Caches/com.x.y", home);
  EXPECT_EQ(caches, (SpaceMapLabels::Advice{"Caches", "Unused caches can be reviewed.", "review"}));
  EXPECT_EQ(title("/Library/Developer/Xcode/DerivedData/App-abc"), "Xcode build data");
  EXPECT_EQ(SpaceMapLabels::advice(home + "/Library/Developer/Xcode/DerivedData", home).detail,
            "Xcode recreates this. Dustwhale does not remove project builds.");
  SpaceMapLabels::Advice archives =
      SpaceMapLabels::advice(home + "/Library/Developer/Xcode/Archives", home);
  EXPECT_EQ(archives, (SpaceMapLabels::Advice{
                          "Developer files",
                          "Tools such as Xcode keep build data here. Dustwhale does not remove "
                          "project builds.",
                          std::nullopt}));
  EXPECT_EQ(title("/Library/Developer/CoreSimulator/Devices"), "Xcode simulators");
  EXPECT_EQ(title("/Pictures/Photos Library.photoslibrary/originals"), "Photos library");
  EXPECT_EQ(title("/Pictures/Photos Library.photoslibrary-old"), "Photos library");
  EXPECT_EQ(title("/Pictures/Other.photoslibrary"), "Pictures");
  EXPECT_EQ(title("/Backup/Other.photoslibrary"), "Photos library");
  EXPECT_EQ(
      SpaceMapLabels::advice(home + "/Library", home),
      (SpaceMapLabels::Advice{"Library", "App data and settings. Mostly managed by apps and macOS.",
                              std::nullopt}));
  SpaceMapLabels::Advice unknown = SpaceMapLabels::advice(home + "/Library/Preferences", home);
  EXPECT_EQ(unknown, (SpaceMapLabels::Advice{
                         "Not identified",
                         "Dustwhale does not remove this. Reveal in Finder to look yourself.",
                         std::nullopt}));
  EXPECT_EQ(SpaceMapLabels::advice(home, home), unknown);
  EXPECT_EQ(SpaceMapLabels::advice(home + "/.other", home), unknown);
  EXPECT_EQ(title("/Library/Caches/.other"), "Caches");
  EXPECT_EQ(
      SpaceMapLabels::advice(home + "/Documents/report.pdf", home),
      (SpaceMapLabels::Advice{"Documents", "Your documents. Dustwhale never moves anything here.",
                              std::nullopt}));
  EXPECT_EQ(SpaceMapLabels::advice(home + "/Library/Application Support/Old", home).linkedPage,
            "leftovers");
  EXPECT_EQ(title("/Downloads"), "Downloads");
  EXPECT_EQ(title("/Movies/clip.mov"), "Movies");
  // The button beside the advice: Downloads and Movies hold large files, not caches.
  auto opens = [&](const std::string& relative) {
    return SpaceMapLabels::pageToOpen(SpaceMapLabels::advice(home + relative, home));
  };
  EXPECT_EQ(opens("/Downloads"), "largeFiles");
  EXPECT_EQ(opens("/Movies"), "largeFiles");
  EXPECT_EQ(opens("/Library/Caches/com.x.y"), "review");
  EXPECT_EQ(opens("/Library/Application Support/Old"), "leftovers");
  EXPECT_EQ(opens("/Documents"), std::nullopt);
  EXPECT_EQ(title("/Music"), "Music");
  EXPECT_EQ(title("/Desktop/x"), "Desktop");
  EXPECT_EQ(title("/Library/Mail/V10"), "Mail downloads");
  EXPECT_EQ(title("/Library/Containers/com.a.b"), "App containers");
  EXPECT_EQ(title("/Downloadsextra"), "Not identified") << "a row matches a whole name only";
  // A plain prefix: a sibling whose name begins like the home's is made "relative" too.
  EXPECT_EQ(SpaceMapLabels::advice("/Users/meg/Movies", home).title, "Not identified");
  EXPECT_EQ(SpaceMapLabels::advice("/Users/me2/Movies", "/Users/me2").title, "Movies");
}

// The Mac's table, word for word as it always was: each row's title, detail and page.
TEST(SpaceMapLabels, TheMacTableIsUnchangedThroughTheLayoutsLookup) {
  test::HomeBuilder tree;
  const Locations places = tree.locations();
  const std::string& home = places.home;
  auto said = [&](const std::string& relative) {
    SpaceMapLabels::Advice a = SpaceMapLabels::advice(home + relative, places);
    EXPECT_EQ(a, SpaceMapLabels::advice(home + relative, home)) << relative;
    return a.title + " | " + a.detail + " | " + a.linkedPage.value_or("-") + " | " +
           SpaceMapLabels::pageToOpen(a).value_or("-");
  };
  std::vector<std::string> rows;
  for (const char* relative :
       {"/Library/Developer/CoreSimulator", "/Library/Developer/Xcode/DerivedData",
        "/Pictures/Photos Library.photoslibrary", "/Library/Mail", "/Library/Caches", "/Downloads",
        "/Movies", "/Library/Application Support", "/Library/Containers", "/Library/Developer",
        "/Music", "/Pictures", "/Documents", "/Desktop", "/Old.photoslibrary", "/Library",
        "/.cache", "/Videos"})
    rows.push_back(said(relative));
  EXPECT_EQ(
      rows,
      (std::vector<std::string>{
          "Xcode simulators | Remove old ones in Xcode. | - | -",
          "Xcode build data | Xcode recreates this. Dustwhale does not remove project builds. | - "
          "| -",
          "Photos library | Keep; manage in Photos. | - | -",
          "Mail downloads | Mail stores messages here. Dustwhale does not remove them. | - | -",
          "Caches | Unused caches can be reviewed. | review | review",
          "Downloads | Large files and duplicates can be reviewed. | review | largeFiles",
          "Movies | Large files can be reviewed. | review | largeFiles",
          "Application Support | Leftovers from removed apps can be reviewed. | leftovers | "
          "leftovers",
          "App containers | Sandboxed app data. Apps manage this. Dustwhale does not remove it "
          "from the map. | - | -",
          "Developer files | Tools such as Xcode keep build data here. Dustwhale does not remove "
          "project builds. | - | -",
          "Music | Music files. Dustwhale does not remove this folder. Extra copies can be "
          "reviewed separately. | - | -",
          "Pictures | Photos and images. The Photos library stays. Dustwhale does not remove this "
          "folder. | - | -",
          "Documents | Your documents. Dustwhale never moves anything here. | - | -",
          "Desktop | Files on the Desktop stay. Dustwhale does not remove this folder. | - | -",
          "Photos library | Keep; manage in Photos. | - | -",
          "Library | App data and settings. Mostly managed by apps and macOS. | - | -",
          "Not identified | Dustwhale does not remove this. Reveal in Finder to look yourself. | "
          "- | -",
          "Not identified | Dustwhale does not remove this. Reveal in Finder to look yourself. | "
          "- | -",
      }));
}

// A Linux home's own table: its folders where this home keeps them, the user folders by the
// names of its user-dirs.dirs, and never a word of the Mac's.
TEST(SpaceMapLabels, ALinuxHomeHasItsOwnTableInLinuxWords) {
  test::HomeBuilder tree(Locations::Layout::linux);
  tree.userDirs({{"VIDEOS", "$HOME/Vidéos"},
                 {"DOWNLOAD", "$HOME/Téléchargements"},
                 {"PICTURES", "$HOME/Bilder"},
                 {"MUSIC", "$HOME/Musik"},
                 {"DOCUMENTS", "$HOME/Dokumente"},
                 {"DESKTOP", "$HOME/Schreibtisch"}});
  const Locations places = tree.locations();
  const std::string home = places.home;
  struct Expected {
    std::string relative, title;
    std::optional<std::string> opens;
  };
  const std::vector<Expected> rows = {
      {".cache", "Caches", "review"},
      {".cache/pip/http", "Caches", "review"},
      {".local/share", "App data", "review"},
      {".local/share/Trash", "Trash", std::nullopt},
      {".local/share/Trash/files/old.iso", "Trash", std::nullopt},
      {".local/share/pnpm/store", "pnpm store", "review"},
      {".local/share/Steam/steamapps", "Steam", "review"},
      {".local/share/flatpak", "Flatpak apps", std::nullopt},
      {".config", "Settings", "review"},
      {".config/Slack/Cache", "Settings", "review"},
      {".var/app", "Flatpak app data", "leftovers"},
      {".var/app/com.spotify.Client", "Flatpak app data", "leftovers"},
      {".var", "Flatpak app data", "leftovers"},
      {"snap", "Snap app data", "review"},
      {".local", "Local data and programs", "review"},
      {".local/bin/Krita.AppImage", "Your programs", std::nullopt},
      {".yarn/berry/cache", "Yarn", "review"},
      {".nuget/packages", "NuGet packages", "review"},
      {".bun", "Bun", "review"},
      {".mozilla/firefox", "Firefox profiles", std::nullopt},
      {"Vidéos", "Vidéos", "largeFiles"},
      {"Téléchargements/big.iso", "Téléchargements", "largeFiles"},
      {"Bilder", "Bilder", std::nullopt},
      {"Musik", "Musik", std::nullopt},
      {"Dokumente", "Dokumente", std::nullopt},
      {"Schreibtisch", "Schreibtisch", std::nullopt},
      {".npm", "npm cache", "review"},
      {".cargo", "Cargo", "review"},
      {".rustup", "Rust toolchains", std::nullopt},
      {"go", "Go", "review"},
      {".m2", "Maven repository", std::nullopt},
      {".gradle", "Gradle", "review"},
      {".steam", "Steam", "review"},
      {"Videos", "Not identified", std::nullopt},  // not this home's videos folder
      {"gone", "Not identified", std::nullopt},
      {".cachet", "Not identified", std::nullopt},  // a row matches a whole name only
      {"", "Not identified", std::nullopt},
  };
  for (const Expected& row : rows) {
    const std::string path = row.relative.empty() ? home : home + "/" + row.relative;
    SpaceMapLabels::Advice a = SpaceMapLabels::advice(path, places);
    EXPECT_EQ(a.title, row.title) << row.relative;
    EXPECT_EQ(SpaceMapLabels::pageToOpen(a), row.opens) << row.relative;
    EXPECT_FALSE(a.detail.empty()) << row.relative;
    // Not a word of the Mac's, in any row or the fallback.
    for (const char* mac : {"Finder", "Photos", "Library", "macOS", "Xcode", "Movies"}) {
      EXPECT_EQ(a.title.find(mac), std::string::npos) << row.relative << ": " << a.title;
      EXPECT_EQ(a.detail.find(mac), std::string::npos) << row.relative << ": " << a.detail;
    }
  }
  EXPECT_EQ(SpaceMapLabels::advice(home + "/gone", places).detail,
            "Dustwhale does not remove this. Show in Folder to look yourself.");
  EXPECT_EQ(SpaceMapLabels::advice(home + "/Bilder", places).detail,
            "Images and photographs. Dustwhale does not remove this folder.");
  EXPECT_EQ(SpaceMapLabels::advice(home + "/.local/share/Trash", places).detail,
            "What was moved to the Trash, by you or by Dustwhale. Empty Trash in the file manager "
            "gives the space back; Dustwhale never empties it.");
  EXPECT_EQ(SpaceMapLabels::advice(home + "/.var/app/org.gimp.GIMP", places).detail,
            "Each Flatpak app's data and settings, and what you made in it. Data of removed apps "
            "can be reviewed.");

  // The XDG folders where the user's own variables put them.
  {
    test::ScopedEnv cache("XDG_CACHE_HOME", home + "/.mycache");
    test::ScopedEnv data("XDG_DATA_HOME", home + "/data");
    test::ScopedEnv realHome("HOME", home);
    tree.folder(home + "/.mycache");
    tree.folder(home + "/data");
    const Locations own = tree.locations();
    EXPECT_EQ(SpaceMapLabels::advice(home + "/.mycache/thumbnails", own).title, "Caches");
    EXPECT_EQ(SpaceMapLabels::advice(home + "/data/Trash", own).title, "Trash");
    EXPECT_EQ(SpaceMapLabels::advice(home + "/.cache", own).title, "Not identified");
  }
}

}  // namespace
}  // namespace dw
