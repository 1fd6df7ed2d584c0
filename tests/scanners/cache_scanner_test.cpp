#include "scanners/caches/cache_scanner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/home_builder.h"

namespace dw {
namespace {

using namespace std::chrono_literals;
using test::HomeBuilder;

constexpr std::int64_t MB = 1024 * 1024;
constexpr std::string_view kLibraryNote =
    "Temporary files this app can recreate. Documents, projects, and build folders stay.";
constexpr std::string_view kQuitNote = "Quit Chrome to clear its cache.";

const CacheFinding* named(const std::vector<CacheFinding>& findings, std::string_view name) {
  auto it = std::find_if(findings.begin(), findings.end(),
                         [&](const CacheFinding& f) { return f.name == name; });
  return it == findings.end() ? nullptr : &*it;
}

std::vector<std::string> namesOf(const std::vector<CacheFinding>& findings) {
  std::vector<std::string> names;
  for (const auto& f : findings)
    names.push_back(f.name);
  return names;
}

TEST(CacheScanner, SizeThresholdsDecideListingAndSelection) {
  HomeBuilder b;
  Locations places = b.locations();
  std::string path = b.folder(b.inHome("Library/Caches/com.example.tool"));
  auto at = [&](std::int64_t bytes) {
    return CacheScanner::libraryCacheFinding(path, {bytes, std::nullopt}, false, places);
  };
  EXPECT_FALSE(at(10'485'759));
  ASSERT_TRUE(at(10'485'760));
  EXPECT_FALSE(at(10'485'760)->suggested);
  EXPECT_TRUE(at(10'485'760)->removable);
  EXPECT_FALSE(at(52'428'799)->suggested);
  EXPECT_TRUE(at(52'428'800)->suggested);

  // The same on disk, with the nearest allocated sizes a real folder can have.
  b.cache("Below", 10 * MB - 4096);
  b.cache("com.example.tool", 10 * MB);
  b.cache("Big", 50 * MB);
  b.cache("com.apple.Safari", 60 * MB);
  b.cache("COM.APPLE.Mail", 60 * MB);
  b.file(b.inHome("Library/Caches/Homebrew/downloads/bottle.tar"), 12 * MB);

  SharedMeasurer measurer({});
  auto found = CacheScanner::scanLibraryCaches(places, false, measurer);
  EXPECT_EQ(namesOf(found), (std::vector<std::string>{"Big", "Homebrew downloads", "tool"}));

  const CacheFinding* tool = named(found, "tool");
  ASSERT_TRUE(tool);
  EXPECT_EQ(tool->id, b.inHome("Library/Caches/com.example.tool"));
  EXPECT_EQ(tool->path, "~/Library/Caches/com.example.tool");
  EXPECT_EQ(tool->bytes, 10 * MB);
  EXPECT_EQ(tool->note, kLibraryNote);
  EXPECT_EQ(tool->kind, CacheFinding::Kind::cache);
  EXPECT_FALSE(tool->suggested);
  EXPECT_TRUE(tool->removable);
  EXPECT_TRUE(tool->contentModified);
  EXPECT_TRUE(named(found, "Big")->suggested);
}

TEST(CacheScanner, SafeLocationFollowsLinksAndRefusesUserFolders) {
  HomeBuilder b;
  Locations places = b.locations();
  auto safe = [&](const std::string& p) { return CacheScanner::isSafeCacheLocation(p, places); };

  std::string documentsFolder = b.folderOfSize(b.inHome("Documents/Thesis"), 20 * MB);
  b.symlink(documentsFolder, b.inHome("Library/Caches/Thesis"));
  b.symlink(b.inHome("Documents"), b.inHome("Library/Caches/Docs"));
  b.cache("Real", 12 * MB);

  EXPECT_TRUE(safe(b.inHome("Library/Caches/Real")));
  EXPECT_FALSE(safe(b.inHome("Library/Caches/Thesis"))) << "resolves into Documents";
  EXPECT_FALSE(safe(b.inHome("Library/Caches/Docs")));
  EXPECT_FALSE(safe(b.inHome("Library/Caches"))) << "only what lies inside it";
  EXPECT_FALSE(safe(b.inHome("Library/Caches/../../Documents/x")));
  EXPECT_FALSE(safe(b.inHome("Library/Caches/build/objects")));
  EXPECT_FALSE(safe(b.inHome("Library/Caches/com.apple.Safari")));
  EXPECT_FALSE(safe(b.inHome("Library/Application Support/Slack")));
  EXPECT_TRUE(safe(b.inHome(".npm/_npx/1a2b")));
  EXPECT_FALSE(safe(b.inHome(".gradle")));

  SharedMeasurer measurer({});
  EXPECT_EQ(namesOf(CacheScanner::scanLibraryCaches(places, false, measurer)),
            std::vector<std::string>{"Real"});

  // The home reached through a link: the same folders, the same answers.
  std::string linkedHome = b.symlink(b.home(), b.inRoot("home-link"));
  Locations viaLink = Locations::macos(b.root(), linkedHome);
  EXPECT_TRUE(CacheScanner::isSafeCacheLocation(linkedHome + "/Library/Caches/Real", viaLink));
  EXPECT_FALSE(CacheScanner::isSafeCacheLocation(linkedHome + "/Library/Caches/Thesis", viaLink));
  SharedMeasurer again({});
  auto found = CacheScanner::scanLibraryCaches(viaLink, false, again);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].path, "~/Library/Caches/Real");

  // Library/Caches itself moved into Documents: its big children are measured and refused.
  b.folderOfSize(b.inHome("Documents/Caches/Big"), 12 * MB);
  std::filesystem::rename(b.inHome("Library/Caches"), b.inHome("Library/OldCaches"));
  b.symlink(b.inHome("Documents/Caches"), b.inHome("Library/Caches"));
  SharedMeasurer third({});
  EXPECT_TRUE(CacheScanner::scanLibraryCaches(places, false, third).empty());
}

TEST(CacheScanner, DeveloperCachesAreSelectedFromTenMegabytes) {
  HomeBuilder b;
  b.folderOfSize(b.inHome(".npm/_cacache"), 20 * MB);
  b.folderOfSize(b.inHome(".npm/_npx"), 10 * MB);
  b.folderOfSize(b.inHome(".gradle/caches"), 10 * MB - 4096);
  SharedMeasurer measurer({});
  auto found = CacheScanner::scanDeveloperCaches(b.locations(), measurer);
  ASSERT_EQ(namesOf(found), (std::vector<std::string>{"npm cache", "npx downloads"}));
  EXPECT_EQ(found[0].bytes, 20 * MB);
  EXPECT_EQ(found[0].path, "~/.npm/_cacache");
  EXPECT_EQ(found[0].note, "Downloaded packages. Project folders, including node_modules, stay.");
  EXPECT_EQ(found[1].note, "Temporary npx packages. Your projects stay.");
  for (const auto& f : found) {
    EXPECT_TRUE(f.suggested) << "developer caches are selected below 50 MB too";
    EXPECT_TRUE(f.removable);
  }
}

TEST(CacheScanner, ChromeRuleAppliesBothWays) {
  HomeBuilder b;
  Locations places = b.locations();
  b.cache("Google", 60 * MB);
  std::string chrome = places.chromeProfiles;
  b.folderOfSize(chrome + "/Default/Cache", 12 * MB);
  b.folderOfSize(chrome + "/Default/Service Worker/CacheStorage", 11 * MB);
  b.folderOfSize(chrome + "/Default/Service Worker/Database", 11 * MB);
  b.folderOfSize(chrome + "/Default/History", 20 * MB);
  b.folderOfSize(chrome + "/Profile 1/OptGuideOnDeviceModel", 10 * MB);
  b.folderOfSize(chrome + "/Profile 1/GPUCache", 10 * MB - 4096);

  SharedMeasurer measurer({});
  auto quitLib = CacheScanner::scanLibraryCaches(places, true, measurer);
  auto freeLib = CacheScanner::scanLibraryCaches(places, false, measurer);
  ASSERT_EQ(quitLib.size(), 1u);
  ASSERT_EQ(freeLib.size(), 1u);
  EXPECT_EQ(quitLib[0].name, "Google cache");
  EXPECT_EQ(quitLib[0].note, kQuitNote);
  EXPECT_FALSE(quitLib[0].suggested);
  EXPECT_FALSE(quitLib[0].removable);
  EXPECT_EQ(freeLib[0].note, kLibraryNote);
  EXPECT_TRUE(freeLib[0].suggested);
  EXPECT_TRUE(freeLib[0].removable);

  auto quitProfiles = CacheScanner::scanChromeCaches(places, true, measurer);
  auto freeProfiles = CacheScanner::scanChromeCaches(places, false, measurer);
  EXPECT_EQ(namesOf(freeProfiles),
            (std::vector<std::string>{"Chrome Default Cache",
                                      "Chrome Default Service Worker CacheStorage",
                                      "Chrome Profile 1 OptGuideOnDeviceModel"}));
  for (const auto& f : freeProfiles) {
    EXPECT_FALSE(f.suggested) << f.name;
    EXPECT_TRUE(f.removable) << f.name;
    EXPECT_TRUE(CacheScanner::isChromeFinding(f, places)) << f.name;
    EXPECT_TRUE(CacheScanner::isListableCache(f.id, places)) << f.name;
  }
  EXPECT_EQ(named(freeProfiles, "Chrome Default Cache")->note,
            "Cache only. Bookmarks, passwords, extensions, and your files stay.");
  EXPECT_EQ(named(freeProfiles, "Chrome Profile 1 OptGuideOnDeviceModel")->note,
            "Chrome downloads this again when it needs it.");
  ASSERT_EQ(quitProfiles.size(), 3u);
  for (const auto& f : quitProfiles) {
    EXPECT_EQ(f.note, kQuitNote);
    EXPECT_FALSE(f.removable);
  }

  // Re-applying the rule turns one state into the other, exactly.
  for (auto [from, to] : {std::pair{&quitLib, &freeLib}, {&quitProfiles, &freeProfiles}}) {
    for (size_t i = 0; i < from->size(); ++i) {
      CacheFinding f = (*from)[i];
      CacheScanner::applyChromeRule(f, false, places);
      EXPECT_EQ(f, (*to)[i]) << f.name;
      CacheScanner::applyChromeRule(f, true, places);
      EXPECT_EQ(f, (*from)[i]) << f.name;
    }
  }
  CacheFinding other{.id = b.inHome("Library/Caches/Slack"),
                     .name = "Slack",
                     .note = "n",
                     .suggested = true,
                     .removable = true};
  CacheFinding before = other;
  CacheScanner::applyChromeRule(other, true, places);
  EXPECT_EQ(other, before) << "other caches are not Chrome's to govern";

  EXPECT_TRUE(CacheScanner::isChromeCachePath(places.chromeCaches, places));
  EXPECT_TRUE(
      CacheScanner::isChromeCachePath("/private" + places.chromeCaches + "/Chrome/x", places));
  EXPECT_FALSE(CacheScanner::isChromeCachePath(places.chromeCaches + "Drive", places));
  EXPECT_FALSE(CacheScanner::isListableCache(chrome + "/Default/History", places));
  EXPECT_FALSE(CacheScanner::isListableCache(chrome + "/Default/Service Worker/Database", places));
}

TEST(CacheScanner, RunningChromeProcessKeepsItsCache) {
  HomeBuilder b;
  Locations places = b.locations();
  b.cache("Google", 60 * MB);
  b.folderOfSize(places.chromeProfiles + "/Default/Code Cache", 10 * MB);
  b.folderOfSize(b.inHome(".npm/_cacache"), 20 * MB);
  auto workspace = platform::systemWorkspace();
  if (!test::eventually([&] { return !CacheScanner::isChromeRunning(*workspace); }, 5s)) {
    GTEST_SKIP() << "a Chrome process of someone else's is running on this machine";
  }

  std::vector<CacheFinding> whileOpen;
  {
    test::RunningProgram chrome("chrome");
    ASSERT_TRUE(test::eventually([&] { return CacheScanner::isChromeRunning(*workspace); }, 5s));
    SharedMeasurer measurer({});
    whileOpen = CacheScanner::scan(places, *workspace, measurer);
  }
  ASSERT_TRUE(test::eventually([&] { return !CacheScanner::isChromeRunning(*workspace); }, 5s));
  SharedMeasurer measurer({});
  auto afterQuit = CacheScanner::scan(places, *workspace, measurer);

  EXPECT_EQ(namesOf(whileOpen),
            (std::vector<std::string>{"Google cache", "npm cache", "Chrome Default Code Cache"}));
  EXPECT_EQ(named(whileOpen, "Google cache")->note, kQuitNote);
  EXPECT_FALSE(named(whileOpen, "Google cache")->removable);
  EXPECT_EQ(named(whileOpen, "Chrome Default Code Cache")->note, kQuitNote);
  EXPECT_TRUE(named(whileOpen, "npm cache")->removable);
  EXPECT_EQ(named(afterQuit, "Google cache")->note, kLibraryNote);
  EXPECT_TRUE(named(afterQuit, "Google cache")->removable);
  EXPECT_TRUE(named(afterQuit, "Google cache")->suggested);
}

}  // namespace
}  // namespace dw
