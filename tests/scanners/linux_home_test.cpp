// A Linux-shaped home: ~/.cache children as caches (with the names their users know), what lives
// there without being a cache left out, a cache a running program holds open or owns, Chrome and
// Chromium, the developers' download caches, and the XDG user folders of user-dirs.dirs.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "findings/folder_names.h"
#include "platform/open_files.h"
#include "scanners/caches/cache_scanner.h"
#include "scanners/duplicates/duplicate_scanner.h"
#include "scanners/largefiles/large_files_scanner.h"
#include "support/home_builder.h"
#include "support/linux_tools.h"
#include "support/temp_dir.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Findings = std::vector<Finding>;
constexpr std::int64_t MB = 1024 * 1024;
constexpr auto kLinux = Locations::Layout::linux;
constexpr std::string_view kLibraryNote =
    "Temporary files this app can recreate. Documents, projects, and build folders stay.";

// One finding a line: name, size in MB, and whether it is pre-selected or locked.
std::string lines(const Findings& findings) {
  std::string text;
  for (const auto& f : findings)
    text += f.name + " " + std::to_string(f.bytes / MB) + (f.suggested ? " +selected" : "") +
            (f.removable ? "" : " +locked") + "\n";
  return text;
}

Findings scanAll(const Locations& places, const platform::Workspace& workspace) {
  SharedMeasurer measurer({});
  // Gathered as the model gathers it: one look at the processes for the whole scan.
  return CacheScanner::scan(places, workspace, CacheScanner::cachesInUse(places), measurer);
}

TEST(LinuxHome, CachesInDotCacheAreNamedMeasuredAndOnlyTheRebuildableOnesListed) {
  test::HomeBuilder b(kLinux);
  Locations places = b.locations();
  ASSERT_EQ(places.caches, b.inHome(".cache"));
  b.cache("mozilla/firefox/abcd.default-release/cache2", 60 * MB);
  b.cache("pip", 20 * MB);
  b.cache("go-build", 10 * MB);
  b.cache("an-app-of-mine", 10 * MB - 4096);            // below the minimum
  b.cache("com.apple.notes-on-linux", 12 * MB);         // no Apple rule here
  b.cache("sessions", 80 * MB);                         // the desktop's saved sessions
  b.cache("nvim", 40 * MB);                             // swap files: unsaved edits
  b.cache("pypoetry/virtualenvs/app-py3.11", 90 * MB);  // a project's environment
  b.cache("pypoetry/cache", 30 * MB);
  b.cache("Dustwhale/qmlcache", 30 * MB);  // our own

  test::TestWorkspace workspace;
  Findings found = scanAll(places, workspace);
  EXPECT_EQ(lines(found),
            "Firefox cache 60 +selected\n"
            "Poetry downloads 30\n"
            "pip downloads 20\n"
            "notes-on-linux 12\n"
            "Go build cache 10\n");
  const Finding& firefox = found[0];
  EXPECT_EQ(firefox.id, b.inHome(".cache/mozilla"));
  EXPECT_EQ(firefox.path, "~/.cache/mozilla");
  EXPECT_EQ(firefox.note, kLibraryNote);
  EXPECT_EQ(found[1].id, b.inHome(".cache/pypoetry/cache"));

  // The move's re-check refuses the same places the listing leaves out.
  for (const char* kept : {"sessions", "nvim", "pypoetry", "pypoetry/virtualenvs",
                           "pypoetry/virtualenvs/app-py3.11"}) {
    EXPECT_FALSE(CacheScanner::isListableCache(b.inHome(".cache/") + kept, places)) << kept;
  }
  for (const Finding& f : found)
    EXPECT_TRUE(CacheScanner::isListableCache(f.id, places)) << f.id;

  // A cache folder set to the home folder itself (or one holding the user's folders) offers
  // nothing: its children are the user's folders, not caches.
  Locations wide = places;
  wide.caches = b.home();
  SharedMeasurer measurer({});
  EXPECT_THAT(CacheScanner::scanLibraryCaches(wide, false, measurer), IsEmpty());
  EXPECT_FALSE(CacheScanner::isListableCache(b.inHome("Music"), wide));
  wide.caches = b.inHome(".config/..");
  EXPECT_THAT(CacheScanner::scanLibraryCaches(wide, false, measurer), IsEmpty());
}

TEST(LinuxHome, ACacheARunningProgramHoldsOpenIsListedButNotChosen) {
  test::HomeBuilder b(kLinux);
  std::string thumbs = b.cache("thumbnails", 60 * MB);
  std::string held = b.cache("ms-playwright/chromium-1134", 70 * MB) + "/filler.bin";
  std::string cargo = b.folderOfSize(b.inHome(".cargo/registry/cache"), 60 * MB);
  Locations places = b.locations();

  test::RunningProgram firefox("firefox-esr", held);
  test::RunningProgram tool("cachewriter", cargo + "/filler.bin");
  auto programs = [&] {
    std::set<std::string> seen;
    for (const auto& file : platform::filesHeldOpen(CacheScanner::heldOpenFolders(places)))
      seen.insert(file.program + " " + file.path);
    return seen;
  };
  // Both have started (and run the named program) once /proc shows it under that name.
  ASSERT_TRUE(test::eventually(
      [&] {
        return programs() ==
               std::set<std::string>{"Firefox " + held, "cachewriter " + cargo + "/filler.bin"};
      },
      5s))
      << ::testing::PrintToString(programs());

  test::TestWorkspace workspace;
  Findings found = scanAll(places, workspace);
  EXPECT_EQ(lines(found),
            "Playwright browsers 70\n"
            "Thumbnails 60 +selected\n"
            "Cargo downloads 60\n");
  EXPECT_EQ(found[0].note, "In use by Firefox. Quit it before clearing this cache.");
  EXPECT_TRUE(found[0].removable) << "the user may still choose it";
  EXPECT_EQ(found[2].note, "In use by cachewriter. Quit it before clearing this cache.");

  // Once the programs quit, a new scan chooses them as any other cache.
  firefox.stop();
  tool.stop();
  found = scanAll(places, workspace);
  EXPECT_EQ(lines(found),
            "Playwright browsers 70 +selected\n"
            "Thumbnails 60 +selected\n"
            "Cargo downloads 60 +selected\n");
  EXPECT_EQ(found[0].note, kLibraryNote);
}

TEST(LinuxHome, ACacheOfARunningBrowserOrToolIsNotChosenEvenWithNothingHeldOpen) {
  test::HomeBuilder b(kLinux);
  b.cache("mozilla/firefox/abcd.default-release/cache2", 60 * MB);
  b.cache("vscode-cpptools/ipch", 55 * MB);
  b.cache("thunderbird", 52 * MB);
  test::electronApp(b, "Slack", {{"Cache", 30 * MB}});
  test::steamShaders(b, b.inHome(".local/share/Steam/steamapps/shadercache"), 20 * MB);
  Locations places = b.locations();
  test::TestWorkspace workspace;
  auto inUseNotes = [&](const Findings& found) {
    std::string notes;
    for (const Finding& f : found)
      notes += f.note.starts_with("In use by ") ? f.note + "\n" : "";
    return notes;
  };
  Findings before = scanAll(places, workspace);
  ASSERT_EQ(lines(before),
            "Firefox cache 60 +selected\nVS Code C/C++ index 55 +selected\n"
            "Thunderbird cache 52 +selected\nSlack web cache 30\nSteam shader cache 20\n");
  ASSERT_EQ(inUseNotes(before), "");

  // Firefox, VS Code, Slack and Steam run and hold nothing of their caches open at this moment.
  test::RunningProgram firefox("firefox-esr");
  test::RunningProgram code("code");
  test::RunningProgram slack("slack");
  test::RunningProgram steam("steam");
  auto inUse = [&] {
    std::set<std::string> programs;
    for (const auto& held : CacheScanner::cachesInUse(places))
      programs.insert(held.program);
    return programs;
  };
  ASSERT_TRUE(test::eventually(
      [&] {
        return inUse() == std::set<std::string>{"Firefox", "Visual Studio Code", "Slack", "Steam"};
      },
      5s))
      << ::testing::PrintToString(inUse());
  Findings found = scanAll(places, workspace);
  EXPECT_EQ(lines(found),
            "Firefox cache 60\nVS Code C/C++ index 55\n"
            "Thunderbird cache 52 +selected\nSlack web cache 30\nSteam shader cache 20\n");
  EXPECT_EQ(inUseNotes(found),
            "In use by Firefox. Quit it before clearing this cache.\n"
            "In use by Visual Studio Code. Quit it before clearing this cache.\n"
            "In use by Slack. Quit it before clearing this cache.\n"
            "In use by Steam. Quit it before clearing this cache.\n");
  EXPECT_TRUE(found[0].removable) << "the user may still choose it";

  // The same programs on a Mac-shaped home: their caches under their identifiers, named after
  // the programs.
  test::HomeBuilder mac;
  mac.cache("org.mozilla.firefox", 60 * MB);
  mac.cache("com.microsoft.VSCode.ShipIt", 55 * MB);
  mac.cache("com.example.other", 52 * MB);
  EXPECT_EQ(lines(scanAll(mac.locations(), workspace)),
            "Firefox cache 60\nVisual Studio Code cache 55\nother 52 +selected\n");
}

TEST(LinuxHome, ChromeAndChromiumProfilesAndCachesFollowTheChromeRule) {
  test::HomeBuilder b(kLinux);
  std::string cache = b.chromeProfileCache("google-chrome", "Default", "Cache", 20 * MB);
  std::string code = b.chromeProfileCache("chromium", "Profile 1", "Code Cache", 15 * MB);
  b.chromeProfileCache("chromium", "Profile 1", "History", 30 * MB);  // never a cache
  std::string chromeCache = b.cache("google-chrome", 60 * MB);
  std::string chromiumCache = b.cache("chromium", 12 * MB);
  Locations places = b.locations();

  test::TestWorkspace workspace;
  Findings found = scanAll(places, workspace);
  EXPECT_EQ(lines(found),
            "Chrome cache 60 +selected\n"
            "Chrome Default Cache 20\n"
            "Chrome Profile 1 Code Cache 15\n"
            "Chromium cache 12\n");
  EXPECT_EQ(found[1].id, cache);
  EXPECT_EQ(found[1].note, "Cache only. Bookmarks, passwords, extensions, and your files stay.");
  EXPECT_EQ(found[2].id, code);
  for (const std::string& path : {chromeCache, chromiumCache, chromiumCache + "/Default/Cache"})
    EXPECT_TRUE(CacheScanner::isChromeCachePath(path, places)) << path;
  EXPECT_FALSE(CacheScanner::isChromeCachePath(b.inHome(".cache/google-chrome-beta"), places));

  workspace.setRunning(std::string(CacheScanner::kChromeBundleID), true);
  EXPECT_EQ(lines(scanAll(places, workspace)),
            "Chrome cache 60 +locked\n"
            "Chrome Default Cache 20 +locked\n"
            "Chrome Profile 1 Code Cache 15 +locked\n"
            "Chromium cache 12 +locked\n");
}

TEST(LinuxHome, DeveloperDownloadCachesAreListedAndToolchainsNever) {
  test::HomeBuilder b(kLinux);
  b.folderOfSize(b.inHome(".cargo/registry/cache"), 30 * MB);
  b.folderOfSize(b.inHome(".cargo/git/db"), 12 * MB);
  b.folderOfSize(b.inHome("go/pkg/mod/cache/download"), 25 * MB);
  b.folderOfSize(b.inHome(".npm/_cacache"), 11 * MB);
  b.folderOfSize(b.inHome(".cargo/bin"), 90 * MB);                    // installed tools
  b.folderOfSize(b.inHome(".rustup/toolchains"), 90 * MB);            // a toolchain
  b.folderOfSize(b.inHome("go/pkg/mod/github.com/x/y@v1"), 90 * MB);  // modules a build reads
  b.folderOfSize(b.inHome(".m2/repository"), 90 * MB);                // holds `mvn install` output
  Locations places = b.locations();

  SharedMeasurer measurer({});
  Findings found = CacheScanner::scanDeveloperCaches(places, measurer);
  EXPECT_EQ(lines(found),
            "Cargo downloads 30 +selected\n"
            "Go module downloads 25 +selected\n"
            "Cargo git dependencies 12 +selected\n"
            "npm cache 11 +selected\n");
  EXPECT_EQ(found[0].note,
            "Downloaded crates. Cargo fetches them again on the next build. Your projects stay.");
  for (const char* never : {".cargo/bin", ".rustup/toolchains", "go/pkg/mod/github.com",
                            ".m2/repository", "go/pkg/mod"}) {
    EXPECT_FALSE(CacheScanner::isListableCache(b.inHome(never), places)) << never;
  }
  // A Mac home has no such rows.
  EXPECT_THAT(CacheScanner::scanDeveloperCaches(Locations::macos(b.root(), b.home()), measurer),
              ElementsAre(::testing::Field(&Finding::name, "npm cache")));
}

TEST(LinuxHome, TheToolsOwnVariablesMoveTheirCachesButNeverOutOfTheHome) {
  test::HomeBuilder b(kLinux);
  // The scanned home is the user's own: only then are the variables read.
  test::ScopedEnv home("HOME", b.home()), cacheHome("XDG_CACHE_HOME", std::nullopt),
      configHome("XDG_CONFIG_HOME", std::nullopt);
  test::ScopedEnv cargo("CARGO_HOME", b.inHome("tools/cargo")),
      goModules("GOMODCACHE", b.inHome(".cache/gomod")), goPath("GOPATH", b.inHome("code/go")),
      gradle("GRADLE_USER_HOME", b.inRoot("shared/gradle")),  // outside the home: not followed
      npm("npm_config_cache", b.home()),                      // the home itself: not followed
      nuget("NUGET_PACKAGES", b.inHome("Downloads")),         // followed, but never listed
      bun("BUN_INSTALL", b.inHome("tools/bun")), bunCache("BUN_INSTALL_CACHE_DIR", std::nullopt);
  b.toolCache("cargo", b.inHome("tools/cargo/registry/cache"), 30 * MB);
  b.folderOfSize(b.inHome(".cargo/registry/cache"), 90 * MB);  // no longer Cargo's
  b.folderOfSize(b.inHome(".cache/gomod/cache/download"), 25 * MB);
  b.folderOfSize(b.inHome("code/go/pkg/mod/cache/download"), 90 * MB);  // GOMODCACHE wins
  b.folderOfSize(b.inRoot("shared/gradle/caches"), 90 * MB);
  b.folderOfSize(b.inHome(".gradle/caches"), 14 * MB);
  b.toolCache("bun", b.inHome("tools/bun/install/cache"), 12 * MB);
  Locations places = b.locations();
  EXPECT_EQ(places.cargoRegistryCache, b.inHome("tools/cargo/registry/cache"));
  EXPECT_EQ(places.npmCache, b.inHome(".npm/_cacache"));
  b.folderOfSize(b.inHome("Downloads/installer"), 40 * MB);

  test::TestWorkspace workspace;
  // The Go cache moved into ~/.cache is that folder's child and counted once, there.
  EXPECT_EQ(lines(scanAll(places, workspace)),
            "Cargo downloads 30 +selected\n"
            "gomod 25\n"
            "Gradle cache 14 +selected\n"
            "Bun cache 12 +selected\n");
  EXPECT_FALSE(CacheScanner::isListableCache(b.inRoot("shared/gradle/caches"), places));
  // A user folder is never a cache, whatever a variable says.
  EXPECT_FALSE(CacheScanner::isListableCache(b.inHome("Downloads"), places));
}

TEST(LinuxHome, AToolsVariableNamingAFolderOfWorkOffersNothing) {
  test::HomeBuilder b(kLinux);
  test::ScopedEnv home("HOME", b.home()), cacheHome("XDG_CACHE_HOME", std::nullopt),
      configHome("XDG_CONFIG_HOME", std::nullopt);
  // A folder of projects, named by two tools' variables.
  std::string work = b.folderOfSize(b.inHome("work"), 57 * MB);
  b.file(b.inHome("work/thesis/thesis.tex"), 4096);
  b.folder(b.inHome("work/scanner-app/.git"));
  test::TestWorkspace workspace;
  {
    test::ScopedEnv nuget("NUGET_PACKAGES", work), bun("BUN_INSTALL_CACHE_DIR", work);
    Locations places = b.locations();
    ASSERT_EQ(places.nugetPackages, work);
    EXPECT_EQ(lines(scanAll(places, workspace)), "");
    EXPECT_FALSE(CacheScanner::isListableCache(work, places));
    EXPECT_FALSE(CacheScanner::isListableCache(b.inHome("work/thesis"), places));
  }
  // The same variables naming the tools' own caches: listed as they would be by default.
  std::string nuget = b.toolCache("nuget", b.inHome("dotnet/packages"), 20 * MB);
  std::string bun = b.toolCache("bun", b.inHome("js/bun-cache"), 15 * MB);
  {
    test::ScopedEnv nugetVariable("NUGET_PACKAGES", nuget),
        bunVariable("BUN_INSTALL_CACHE_DIR", bun);
    Locations places = b.locations();
    EXPECT_EQ(lines(scanAll(places, workspace)),
              "NuGet packages 20 +selected\nBun cache 15 +selected\n");
    EXPECT_TRUE(CacheScanner::isListableCache(nuget, places));
    // Work put among the packages since: that folder is no longer only a cache.
    b.file(nuget + "/notes.txt", 4096);
    b.folder(bun + "/my-project");
    EXPECT_FALSE(CacheScanner::isListableCache(nuget, places));
    EXPECT_EQ(lines(scanAll(places, workspace)), "");
  }
  // At the tools' own defaults the caches are trusted as they are.
  b.folderOfSize(b.inHome(".nuget/packages"), 11 * MB);
  EXPECT_EQ(lines(scanAll(b.locations(), workspace)), "NuGet packages 11 +selected\n");
}

TEST(LinuxHome, TheUserFoldersOfUserDirsAreSearchedAndNamedInTheTexts) {
  test::HomeBuilder b(kLinux);
  b.userDirs({{"DOWNLOAD", "$HOME/Téléchargements"},
              {"VIDEOS", "$HOME/Vidéos"},
              {"MUSIC", "$HOME/Musique"}});
  constexpr std::int64_t k200MB = 209'715'200;
  std::string film = b.sparseFile(b.inHome("Vidéos/film.mkv"), k200MB);
  std::string iso = b.sparseFile(b.inHome("Téléchargements/debian.iso"), 2 * k200MB);
  b.sparseFile(b.inHome("Videos/english.mkv"), 3 * k200MB);     // not the user's videos folder
  b.sparseFile(b.inHome("Downloads/english.iso"), 3 * k200MB);  // nor downloads
  Locations places = b.locations();
  EXPECT_EQ(folderNames(places).movies, "Vidéos");

  Findings files = LargeFilesScanner::scan(places, {});
  ASSERT_EQ(files.size(), 2u);
  EXPECT_EQ(files[0].id, iso);
  EXPECT_EQ(files[0].note,
            "In Téléchargements. Nothing is removed until you select it and confirm.");
  EXPECT_EQ(files[1].id, film);
  EXPECT_EQ(files[1].path, "~/Vidéos/film.mkv");
  EXPECT_EQ(files[1].note, "In Vidéos. Nothing is removed until you select it and confirm.");
  EXPECT_TRUE(files[1].removable);
  EXPECT_FALSE(LargeFilesScanner::isAllowedLocation(b.inHome("Videos/english.mkv"), places));

  // Duplicates: the same folders, the English ones beside them not.
  std::string song = b.inHome("Musique/song.flac"), copy = b.inHome("Vidéos/song.flac");
  for (const std::string& path :
       {song, copy, b.inHome("Videos/song.flac"), b.inHome("Music/song.flac")})
    test::writeFile(path, std::string(2 * MB, 's'));
  using DuplicateScanner::Scope;
  EXPECT_THAT(DuplicateScanner::searchRoots(places, Scope::all()),
              ElementsAre(b.inHome("Téléchargements"), b.inHome("Vidéos"), b.inHome("Musique"),
                          b.inHome("Pictures")));
  std::vector<std::string> progress;
  auto result = DuplicateScanner::scan(places, Scope::all(), {},
                                       [&](const std::string& t) { progress.push_back(t); });
  ASSERT_EQ(result.groups.size(), 1u);
  std::set<std::string> paths;
  for (const auto& file : result.groups[0].files)
    paths.insert(file.path);
  EXPECT_EQ(paths, (std::set<std::string>{song, copy}));
  EXPECT_THAT(progress, ::testing::Contains("Listing Vidéos"));
  EXPECT_TRUE(DuplicateScanner::isListableCopy(copy, 2 * MB, places, Scope::all()));
  EXPECT_FALSE(
      DuplicateScanner::isListableCopy(b.inHome("Videos/song.flac"), 2 * MB, places, Scope::all()));
}

}  // namespace
}  // namespace dw
