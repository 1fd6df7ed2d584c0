#include "scanners/caches/cache_scanner.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/home_builder.h"

namespace dw {
namespace {

using namespace std::chrono_literals;
using namespace CacheScanner;
using Findings = std::vector<Finding>;
constexpr std::int64_t MB = 1024 * 1024;
constexpr std::string_view kLibraryNote =
    "Temporary files this app can recreate. Documents, projects, and build folders stay.";
constexpr std::string_view kQuitNote = "Quit Chrome to clear its cache.";

// One finding a line: its name, then whether it is pre-selected, cannot be selected, or waits
// for Chrome to quit.
std::string summary(const Findings& findings) {
  std::string text;
  for (const auto& f : findings)
    text += f.name + (f.suggested ? " +selected" : "") + (f.removable ? "" : " +locked") +
            (f.note == kQuitNote ? " +quit" : "") + "\n";
  return text;
}

// Scans with a measurer of their own, so that each walks every folder again.
Findings libraryCaches(const Locations& places, bool chrome = false,
                       SharedMeasurer&& measurer = SharedMeasurer({})) {
  return scanLibraryCaches(places, chrome, measurer);
}

TEST(CacheScanner, ListsCachesFromTenMegabytesInSafePlacesOnly) {
  test::HomeBuilder b;
  Locations places = b.locations();
  std::string tool = b.folder(b.inHome("Library/Caches/com.example.tool"));
  auto at = [&](std::int64_t bytes) {
    return libraryCacheFinding(tool, {bytes, std::nullopt}, false, places);
  };
  EXPECT_FALSE(at(10'485'759));
  EXPECT_FALSE(at(52'428'799).value().suggested);

  // The same on disk, with the nearest allocated sizes a real folder can have, beside Apple's
  // caches and links into Documents.
  b.cache("Below", 10 * MB - 4096);
  b.cache("com.example.tool", 10 * MB);
  b.cache("Big", 50 * MB);
  b.cache("com.apple.Safari", 60 * MB);
  b.cache("COM.APPLE.Mail", 60 * MB);
  b.file(b.inHome("Library/Caches/Homebrew/downloads/bottle.tar"), 12 * MB);
  b.symlink(b.folderOfSize(b.inHome("Documents/Thesis"), 20 * MB), b.inHome("Library/Caches/T"));
  b.symlink(b.inHome("Documents"), b.inHome("Library/Caches/Docs"));
  auto found = libraryCaches(places);
  ASSERT_EQ(summary(found), "Big +selected\nHomebrew downloads\ntool\n");
  const Finding& t = found[2];
  EXPECT_EQ(std::tuple(t.id, t.path, t.bytes, t.note, t.kind, t.contentModified.has_value()),
            std::tuple(tool, "~/Library/Caches/com.example.tool", 10 * MB, kLibraryNote,
                       Finding::Kind::cache, true));
  b.folder(b.inHome(".npm/_npx/1a2b"));
  for (const char* rel : {"Library/Caches/Big", ".npm/_npx/1a2b"})
    EXPECT_TRUE(isSafeCacheLocation(b.inHome(rel), places)) << rel;
  for (const char* rel :
       {"Library/Caches/T", "Library/Caches/Docs", "Library/Caches",
        "Library/Caches/../../Documents/x", "Library/Caches/build/objects",
        "Library/Caches/com.apple.Safari", "Library/Application Support/Slack", ".gradle"})
    EXPECT_FALSE(isSafeCacheLocation(b.inHome(rel), places)) << rel;

  // The home reached through a link: the same folders, the same answers.
  std::string linkedHome = b.symlink(b.home(), b.inRoot("home-link"));
  Locations viaLink = Locations::macos(b.root(), linkedHome);
  EXPECT_EQ(summary(libraryCaches(viaLink)), summary(found));
  EXPECT_EQ(libraryCaches(viaLink)[2].path, "~/Library/Caches/com.example.tool");

  // Developer caches are pre-selected from 10 MB.
  b.folderOfSize(b.inHome(".npm/_cacache"), 20 * MB);
  b.folderOfSize(b.inHome(".npm/_npx"), 10 * MB);
  b.folderOfSize(b.inHome(".gradle/caches"), 10 * MB - 4096);
  SharedMeasurer measurer({});
  auto dev = scanDeveloperCaches(places, measurer);
  ASSERT_EQ(summary(dev), "npm cache +selected\nnpx downloads +selected\n");
  EXPECT_EQ(std::tie(dev[0].bytes, dev[0].path, dev[0].note),
            std::make_tuple(20 * MB, "~/.npm/_cacache",
                            "Downloaded packages. Project folders, including node_modules, stay."));
  EXPECT_EQ(dev[1].note, "Temporary npx packages. Your projects stay.");

  // Library/Caches itself moved into Documents: its big children are measured and refused.
  std::filesystem::rename(b.inHome("Library/Caches"), b.inHome("Documents/Caches"));
  b.symlink(b.inHome("Documents/Caches"), b.inHome("Library/Caches"));
  EXPECT_TRUE(libraryCaches(places).empty());
}

TEST(CacheScanner, RunningChromeKeepsItsCachesAndTheRuleReappliesBothWays) {
  test::HomeBuilder b;
  Locations places = b.locations();
  std::string chrome = places.chromeProfiles.at(0);
  b.cache("Google", 60 * MB);
  b.folderOfSize(b.inHome(".npm/_cacache"), 20 * MB);
  b.folderOfSize(chrome + "/Default/Cache", 12 * MB);
  b.folderOfSize(chrome + "/Default/Service Worker/CacheStorage", 11 * MB);
  b.folderOfSize(chrome + "/Default/Service Worker/Database", 11 * MB);
  b.folderOfSize(chrome + "/Default/History", 20 * MB);
  b.folderOfSize(chrome + "/Profile 1/OptGuideOnDeviceModel", 10 * MB);
  b.folderOfSize(chrome + "/Profile 1/GPUCache", 10 * MB - 4096);
  auto workspace = platform::systemWorkspace();
  auto running = [&] { return isChromeRunning(*workspace); };
  auto scanAll = [&](SharedMeasurer&& measurer = SharedMeasurer({})) {
    return scan(places, *workspace, measurer);
  };
  if (!test::eventually([&] { return !running(); }, 5s))
    GTEST_SKIP() << "a Chrome process of someone else's is running on this machine";
  Findings free = scanAll(), quit;
  {
    test::RunningProgram process("chrome");
    ASSERT_TRUE(test::eventually(running, 5s));
    quit = scanAll();
  }
  EXPECT_EQ(summary(quit),
            "Google cache +locked +quit\nnpm cache +selected\nChrome Default Cache +locked +quit\n"
            "Chrome Default Service Worker CacheStorage +locked +quit\n"
            "Chrome Profile 1 OptGuideOnDeviceModel +locked +quit\n");
  EXPECT_EQ(summary(free),
            "Google cache +selected\nnpm cache +selected\nChrome Default Cache\n"
            "Chrome Default Service Worker CacheStorage\nChrome Profile 1 OptGuideOnDeviceModel\n");
  ASSERT_EQ(free.size(), 5u);
  EXPECT_EQ(free[0].note, kLibraryNote);
  EXPECT_EQ(free[2].note, "Cache only. Bookmarks, passwords, extensions, and your files stay.");
  EXPECT_EQ(free[4].note, "Chrome downloads this again when it needs it.");
  for (size_t i = 2; i < free.size(); ++i)
    EXPECT_TRUE(isChromeFinding(free[i], places) && isListableCache(free[i].id, places)) << i;
  EXPECT_FALSE(isListableCache(chrome + "/Default/History", places));
  EXPECT_FALSE(isListableCache(chrome + "/Default/Service Worker/Database", places));
  EXPECT_TRUE(isChromeCachePath(places.chromeCaches.at(0), places));
  EXPECT_TRUE(isChromeCachePath("/private" + places.chromeCaches.at(0) + "/Chrome/x", places));
  EXPECT_FALSE(isChromeCachePath(places.chromeCaches.at(0) + "Drive", places));

  // Re-applying the rule turns one state into the other, exactly; other caches stay as they are.
  ASSERT_EQ(quit.size(), free.size());
  for (size_t i = 0; i < quit.size(); ++i) {
    Finding f = quit[i];
    applyChromeRule(f, false, places);
    EXPECT_EQ(f, free[i]) << f.name;
    applyChromeRule(f, true, places);
    EXPECT_EQ(f, quit[i]) << f.name;
  }
}

}  // namespace
}  // namespace dw
