// What a Linux app keeps in the home: a Flatpak app's folder left behind says what it holds and
// whose it was, and every listed app (package, Flatpak, AppImage) shows its own folders with
// their sizes, which no uninstall moves.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "clearing/uninstalling.h"
#include "findings/notes.h"
#include "scanners/leftovers/leftover_scanner.h"
#include "scanners/uninstaller/app_uninstaller.h"
#include "scanners/uninstaller/user_folders.h"
#include "support/home_builder.h"
#include "support/linux_apps.h"
#include "support/temp_dir.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

using AppUninstaller::AppRecord;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Strings = std::vector<std::string>;
constexpr std::int64_t MB = 1024 * 1024;
constexpr auto kLinux = Locations::Layout::linux;

const AppRecord* named(const std::vector<AppRecord>& apps, std::string_view name) {
  for (const auto& a : apps)
    if (a.name == name) return &a;
  return nullptr;
}

TEST(LinuxAppData, AFlatpakLeftoverSaysItHoldsTheAppsDataAndShowsItsLargestFiles) {
  test::HomeBuilder b(kLinux);
  // A music app's folder: its downloads, its settings, a playlist the user made.
  std::string spotify = test::flatpakData(b, "com.spotify.Client", 30 * MB);
  b.file(spotify + "/config/spotify/prefs", 4096);
  b.file(spotify + "/data/playlists/road trip.m3u", 2 * MB);
  test::flatpakData(b, "org.telegram.desktop", MB);
  Locations places = b.locations();

  SharedMeasurer measurer({});
  test::TestWorkspace nothingRuns;
  auto result = LeftoverScanner::scan(places, nothingRuns, measurer);
  ASSERT_EQ(result.findings.size(), 2u);
  Finding f = LeftoverScanner::toFinding(result.findings[0], places);
  EXPECT_EQ(f.name, "Spotify") << "the identifier's meaningful word, not \"Client\"";
  EXPECT_EQ(LeftoverScanner::toFinding(result.findings[1], places).name, "Telegram");
  EXPECT_FALSE(f.suggested);
  EXPECT_TRUE(f.removable);

  // It tells the truth about what is inside, and shows the biggest files even below 100 MB.
  std::string why = notes::whySafe(f);
  EXPECT_THAT(why, ::testing::Not(HasSubstr("Your documents are not in this folder")));
  EXPECT_THAT(why, HasSubstr("data and settings"));
  EXPECT_THAT(why, HasSubstr("things you made in it"));
  EXPECT_TRUE(notes::isFlatpakData(f));
  ASSERT_EQ(f.leftoverLargestFiles.size(), 3u);
  EXPECT_EQ(f.leftoverLargestFiles[0], (LeftoverFilePeek{"state.bin", 30 * MB}));
  EXPECT_EQ(f.leftoverLargestFiles[1], (LeftoverFilePeek{"road trip.m3u", 2 * MB}));
  EXPECT_EQ(notes::largestFilesText(f), "state.bin (30 MB), road trip.m3u (2 MB), prefs (0 MB)");
  EXPECT_EQ(notes::badge(f), "Review");

  // A Mac leftover keeps its own words.
  Finding mac = f;
  mac.leftoverPaths = {b.inHome("Library/Application Support/com.example.gone")};
  EXPECT_EQ(notes::whySafe(mac),
            "The app that created this is no longer installed. Your documents are not in this "
            "folder.");

  // Names from identifiers.
  for (auto [id, name] :
       std::vector<std::pair<std::string, std::string>>{{"com.spotify.Client", "Spotify"},
                                                        {"org.gimp.GIMP", "GIMP"},
                                                        {"org.kde.krita", "Krita"},
                                                        {"com.valvesoftware.Steam", "Steam"},
                                                        {"org.telegram.desktop", "Telegram"},
                                                        {"io.github.shiftey.Desktop", "Shiftey"},
                                                        {"com.github.tchx84.Flatseal", "Flatseal"},
                                                        {"org.example.my_app", "My app"},
                                                        {"org.example.App", "Example"}}) {
    EXPECT_EQ(LeftoverScanner::flatpakAppName(id), name) << id;
  }
}

TEST(LinuxAppData, EveryAppShowsItsFoldersInTheHomeAndNoneOfThemMoves) {
  test::TempHome trashHome;  // the Trash and the log the uninstall below writes to
  test::HomeBuilder b(kLinux);
  // The distribution's Firefox ESR and Chromium, as Debian installs them.
  std::string shared = b.inRoot("usr/share/applications");
  test::launcher(shared + "/firefox-esr.desktop", "Firefox ESR",
                 "/usr/lib/firefox-esr/firefox-esr %u", "firefox-esr",
                 "StartupWMClass=firefox-esr\n");
  test::launcher(shared + "/chromium.desktop", "Chromium", "/usr/bin/chromium %U", "chromium");
  test::dpkgPackage(b, "firefox-esr", 250 * 1024, {"/usr/share/applications/firefox-esr.desktop"});
  test::dpkgPackage(b, "chromium", 300 * 1024, {"/usr/share/applications/chromium.desktop"});
  std::string mozilla = b.folderOfSize(b.inHome(".mozilla"), 30 * MB);
  std::string mozillaCache = b.cache("mozilla", 20 * MB);
  std::string chromiumCache = b.cache("chromium", 12 * MB);
  std::string chromiumConfig = b.folderOfSize(b.inHome(".config/chromium"), 5 * MB);
  // Not theirs: a similar name, a user folder, a link to elsewhere.
  b.folderOfSize(b.inHome(".config/firefox-notes"), 4 * MB);
  b.folderOfSize(b.inHome("Documents/chromium"), 4 * MB);
  b.symlink(b.inHome("Documents"), b.inHome(".local/share/chromium"));
  // A Flatpak app with its folder, and an AppImage with a launcher and its settings.
  test::flatpakInstall(b, b.inRoot("var/lib/flatpak"), "org.example.Notes", "Notes");
  std::string notesData = test::flatpakData(b, "org.example.Notes", 8 * MB);
  std::string image = test::appImage(b.inHome("Applications/Obsidian-1.5.3.AppImage"));
  std::string launcher =
      test::launcher(b.inHome(".local/share/applications/obsidian.desktop"), "Obsidian",
                     b.inHome("Applications/Obsidian-1.5.3.AppImage"));
  std::string obsidian = b.folderOfSize(b.inHome(".config/obsidian"), 3 * MB);
  Locations places = b.locations();

  SharedMeasurer measurer({});
  test::TestWorkspace nothingRuns;
  auto apps = AppUninstaller::listApps(places, nothingRuns, measurer);
  const AppRecord* firefox = named(apps, "Firefox ESR");
  const AppRecord* chromium = named(apps, "Chromium");
  const AppRecord* notes = named(apps, "Notes");
  const AppRecord* appImage = named(apps, "Obsidian");
  ASSERT_TRUE(firefox && chromium && notes && appImage);
  EXPECT_EQ(firefox->userFolders, (Strings{mozillaCache, mozilla}));
  EXPECT_EQ(firefox->userFolderSizes,
            (std::vector<std::int64_t>{DiskSizer::measure(mozillaCache).bytes,
                                       DiskSizer::measure(mozilla).bytes}));
  EXPECT_EQ(AppUninstaller::dataBytes(*firefox), 50 * MB);
  EXPECT_EQ(chromium->userFolders, (Strings{chromiumConfig, chromiumCache}));
  EXPECT_EQ(notes->userFolders, Strings{notesData});
  EXPECT_EQ(appImage->userFolders, Strings{obsidian});
  EXPECT_EQ(appImage->related, Strings{launcher});
  // The list sorts by all an app takes; what an uninstall moves leaves the folders out.
  EXPECT_EQ(AppUninstaller::totalBytes(*firefox), 250 * MB + AppUninstaller::dataBytes(*firefox));
  EXPECT_EQ(AppUninstaller::movedBytes(*appImage), appImage->bundleBytes + appImage->relatedBytes);

  // The software manager's apps still never move; an AppImage goes without its folder.
  EXPECT_EQ(AppUninstaller::refusal(*firefox, false, places),
            "Remove Firefox ESR with the software manager.");
  auto outcome = Clearing::uninstallApp(*appImage, places);
  EXPECT_TRUE(outcome.bundleMoved);
  EXPECT_FALSE(test::exists(image));
  EXPECT_FALSE(test::exists(launcher));
  EXPECT_TRUE(test::exists(obsidian));
  EXPECT_FALSE(AppUninstaller::stillRelatedTo(obsidian, *appImage, places));

  // The names each kind is known by.
  EXPECT_THAT(AppUninstaller::userFolderNames(*firefox, places),
              ElementsAre("firefox-esr", "mozilla"));
  EXPECT_THAT(AppUninstaller::userFolderNames(*chromium, places), ElementsAre("chromium"));
}

}  // namespace
}  // namespace dw
