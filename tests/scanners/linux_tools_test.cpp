// The caches Linux tools and apps write outside ~/.cache and in snaps' own ~/.cache: each listed
// with its own explanation where its tool puts it and only while it looks like that tool's, and
// never what holds the user's work beside it (a JetBrains IDE's local history, Spotify's
// downloads in a snap, a project's links into pnpm's store).

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

#include "findings/notes.h"
#include "platform/open_files.h"
#include "scanners/caches/cache_scanner.h"
#include "scanners/caches/tool_caches.h"
#include "support/home_builder.h"
#include "support/linux_tools.h"
#include "support/temp_dir.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

using namespace std::chrono_literals;
using Findings = std::vector<Finding>;
constexpr std::int64_t MB = 1024 * 1024;
constexpr auto kLinux = Locations::Layout::linux;
constexpr std::string_view kGeneric = "The app recreates this folder when it needs it.";

std::string lines(const Findings& findings) {
  std::string text;
  for (const auto& f : findings)
    text += f.name + " " + std::to_string(f.bytes / MB) + (f.suggested ? " +selected" : "") +
            (f.removable ? "" : " +locked") + "\n";
  return text;
}

Findings scanAll(const Locations& places) {
  SharedMeasurer measurer({});
  test::TestWorkspace workspace;
  auto held = platform::filesHeldOpen(CacheScanner::heldOpenFolders(places));
  return CacheScanner::scan(places, workspace, held, measurer);
}

const Finding* named(const Findings& findings, std::string_view name) {
  for (const auto& f : findings)
    if (f.name == name) return &f;
  return nullptr;
}

TEST(LinuxTools, TheCachesToolsWriteAreListedEachWithItsOwnExplanation) {
  test::HomeBuilder b(kLinux);
  // pnpm: 30 MB nobody links to, 20 MB a project still uses through its hard links.
  std::string store = b.inHome(".local/share/pnpm/store");
  test::pnpmStore(b, store, 30 * MB);
  std::string used = b.file(store + "/v10/files/ab/7cdee50042b9252491463a992c3ff664", 20 * MB);
  test::pnpmProject(b.inHome("code/site"), used);
  test::yarnCache(b, b.inHome(".yarn/berry/cache"), 25 * MB);
  test::pipxCache(b, b.inHome(".local/pipx/.cache"), 12 * MB);
  // Steam's folder, and the link Steam keeps to it: one cache.
  test::steamShaders(b, b.inHome(".local/share/Steam/steamapps/shadercache"), 40 * MB);
  b.symlink(b.inHome(".local/share/Steam"), b.inHome(".steam/steam"));
  test::electronApp(b, "Slack", {{"Cache", 30 * MB}, {"Code Cache", 15 * MB}, {"GPUCache", MB}});
  test::electronApp(b, "discord", {{"Cache", 20 * MB}});
  test::electronApp(b, "Code", {{"GPUCache", 11 * MB}});
  // A "Cache" folder that is no Chromium cache, in an app folder like an Electron app's.
  test::electronApp(b, "Notebook", {});
  b.file(b.inHome(".config/Notebook/Cache/my notes.md"), 30 * MB);
  // A JetBrains IDE: its indexes are rebuilt, its local history and file contents are not.
  b.folderOfSize(b.inHome(".cache/JetBrains/PyCharm2024.1/index"), 20 * MB);
  b.folderOfSize(b.inHome(".cache/JetBrains/PyCharm2024.1/LocalHistory"), 30 * MB);
  b.folderOfSize(b.inHome(".cache/JetBrains/PyCharm2024.1/caches"), 40 * MB);
  // Snaps: each one's ~/.cache read like ~/.cache, its own exceptions included.
  b.folderOfSize(test::snap(b, "firefox") + "/mozilla", 22 * MB);
  b.folderOfSize(test::snap(b, "spotify") + "/spotify", 50 * MB);      // downloads beside the cache
  b.folderOfSize(b.inHome("snap/notasnap/common/.cache/x"), 30 * MB);  // snapd made no link
  Locations places = b.locations();

  Findings found = scanAll(places);
  EXPECT_EQ(lines(found),
            "Steam shader cache 40\n"
            "pnpm store 30 +selected\n"
            "Slack web cache 30\n"
            "Yarn cache 25\n"
            "Firefox cache (firefox snap) 22\n"
            "Discord web cache 20\n"
            "PyCharm2024.1 indexes 20\n"
            "Slack code cache 15\n"
            "pipx run environments 12 +selected\n"
            "VS Code GPU cache 11\n");
  EXPECT_EQ(named(found, "Steam shader cache")->id,
            b.inHome(".local/share/Steam/steamapps/shadercache"));
  EXPECT_EQ(named(found, "pnpm store")->id, store);
  EXPECT_EQ(named(found, "Slack web cache")->path, "~/.config/Slack/Cache");
  EXPECT_EQ(named(found, "Firefox cache (firefox snap)")->id,
            b.inHome("snap/firefox/common/.cache/mozilla"));

  // Each row says what comes back and what stays, in its own words.
  std::set<std::string> explanations;
  for (const Finding& f : found) {
    std::string why = notes::whySafe(f);
    EXPECT_NE(why, kGeneric) << f.name;
    EXPECT_THAT(why, ::testing::HasSubstr(" stay")) << f.name;
    explanations.insert(why);
    // The move's re-check accepts what the listing offers.
    EXPECT_TRUE(CacheScanner::isListableCache(f.id, places)) << f.id;
  }
  EXPECT_EQ(explanations.size(), found.size() - 1) << "Slack's two caches share Slack's text";
  EXPECT_THAT(notes::whySafe(*named(found, "Yarn cache")), ::testing::HasSubstr("Plug'n'Play"));
  EXPECT_THAT(notes::whySafe(*named(found, "pnpm store")), ::testing::HasSubstr("still link to"));

  // What holds the user's work, or is not the tool's, never moves either.
  for (const char* kept :
       {".cache/JetBrains", ".cache/JetBrains/PyCharm2024.1",
        ".cache/JetBrains/PyCharm2024.1/LocalHistory", ".cache/JetBrains/PyCharm2024.1/caches",
        "snap/spotify/common/.cache/spotify", "snap/notasnap/common/.cache/x",
        "snap/firefox/common/.cache", ".config/Notebook/Cache", ".config/Slack",
        ".config/Slack/Local Storage", "code/site/node_modules", ".local/share/Steam"}) {
    EXPECT_FALSE(CacheScanner::isListableCache(b.inHome(kept), places)) << kept;
  }

  // A Mac home has none of these rows.
  EXPECT_TRUE(ToolCaches::list(Locations::macos(b.root(), b.home())).empty());
}

TEST(LinuxTools, AFolderThatIsNotTheToolsOwnOffersNothing) {
  test::HomeBuilder b(kLinux);
  // The scanned home is the user's own: only then are the variables read.
  test::ScopedEnv home("HOME", b.home()), data("XDG_DATA_HOME", std::nullopt),
      config("XDG_CONFIG_HOME", std::nullopt), cache("XDG_CACHE_HOME", std::nullopt);
  // Variables naming the user's work, a user folder and a folder outside the home.
  test::ScopedEnv yarn("YARN_GLOBAL_FOLDER", b.inHome("work")),
      pipx("PIPX_HOME", b.inHome("projects/tool")),
      pnpm("npm_config_store_dir", b.inHome("Downloads")), pnpmHome("PNPM_HOME", std::nullopt);
  b.file(b.inHome("work/cache/thesis.pdf"), 30 * MB);
  b.file(b.inHome("work/cache/figures.zip"), 30 * MB);
  b.file(b.inHome("projects/tool/.cache/results.csv"), 30 * MB);  // no cache directory tag
  // A pipe where pipx's tag would be: never waited on, and no tag.
  b.file(b.inHome(".local/share/pipx/.cache/0a1b2c3d/env.bin"), 30 * MB);
  ASSERT_EQ(::mkfifo(b.inHome(".local/share/pipx/.cache/CACHEDIR.TAG").c_str(), 0600), 0);
  test::pnpmStore(b, b.inHome("Downloads"), 30 * MB);
  // Steam's link aimed outside the home, and a shader folder holding something else.
  test::steamShaders(b, b.inRoot("shared/steam/steamapps/shadercache"), 30 * MB);
  b.symlink(b.inRoot("shared/steam"), b.inHome(".steam/steam"));
  test::steamShaders(b, b.inHome(".steam/debian-installation/steamapps/shadercache"), 30 * MB);
  b.file(b.inHome(".steam/debian-installation/steamapps/shadercache/my mods/mod.pak"), MB);
  // The tools' own places, each holding one thing that is not the tool's.
  test::pnpmStore(b, b.inHome(".local/share/pnpm/store"), 30 * MB);
  b.file(b.inHome(".local/share/pnpm/store/notes.txt"), 4096);
  test::yarnCache(b, b.inHome(".yarn/berry/cache"), 30 * MB);
  b.file(b.inHome(".yarn/berry/cache/README.md"), 4096);
  Locations places = b.locations();
  ASSERT_EQ(places.yarnBerryCache, b.inHome("work/cache"));
  ASSERT_EQ(places.pnpmStore, b.inHome("Downloads"));

  EXPECT_EQ(lines(scanAll(places)), "");
  for (const char* never : {"work/cache", "projects/tool/.cache", "Downloads",
                            ".steam/debian-installation/steamapps/shadercache"}) {
    EXPECT_FALSE(CacheScanner::isListableCache(b.inHome(never), places)) << never;
  }
  EXPECT_FALSE(
      CacheScanner::isListableCache(b.inRoot("shared/steam/steamapps/shadercache"), places));

  // Once only the tool's own is there, its place is offered again.
  std::filesystem::remove(b.inHome(".local/share/pnpm/store/notes.txt"));
  std::filesystem::remove(
      b.inHome(".steam/debian-installation/steamapps/shadercache/my mods/mod.pak"));
  std::filesystem::remove(b.inHome(".steam/debian-installation/steamapps/shadercache/my mods"));
  test::ScopedEnv noStore("npm_config_store_dir", std::nullopt);
  EXPECT_EQ(lines(scanAll(b.locations())),
            "pnpm store 30 +selected\n"
            "Steam shader cache 30\n");
}

TEST(LinuxTools, AnAppCacheARunningAppHoldsOpenIsListedButNotChosen) {
  test::HomeBuilder b(kLinux);
  test::electronApp(b, "Slack", {{"Cache", 30 * MB}});
  std::string index = b.inHome(".config/Slack/Cache/Cache_Data/data_1");
  std::string pipxEnv = test::pipxCache(b, b.inHome(".local/pipx/.cache"), 12 * MB);
  Locations places = b.locations();
  test::RunningProgram slack("slack", index);
  // Until its exec, the child is a copy of the test holding the file: wait for Slack's name.
  ASSERT_TRUE(test::eventually(
      [&] {
        auto held = platform::filesHeldOpen(CacheScanner::heldOpenFolders(places));
        return !held.empty() && held.front().program == "Slack";
      },
      5s));
  Findings found = scanAll(places);
  EXPECT_EQ(lines(found),
            "Slack web cache 30\n"
            "pipx run environments 12 +selected\n");
  EXPECT_EQ(found[0].note, "In use by Slack. Quit it before clearing this cache.");
  EXPECT_TRUE(found[0].removable);
  EXPECT_EQ(found[1].note,
            "Environments of tools run once with pipx run. Tools you installed stay.");
}

}  // namespace
}  // namespace dw
