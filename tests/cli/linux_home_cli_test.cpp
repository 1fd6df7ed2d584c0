// dustwhale scan and apps on a Linux home filled as its tools fill it: pnpm's store, Yarn's
// cache and an Electron app's caches listed; a Flatpak app's folder left behind named after the
// app, with what it holds; the distribution's apps with the folders they keep.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/json.h"
#include "support/command.h"
#include "support/home_builder.h"
#include "support/linux_apps.h"
#include "support/linux_tools.h"
#include "support/temp_dir.h"

namespace dw {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
constexpr std::int64_t MB = 1024 * 1024;

struct LinuxHome {
  test::TempHome trashHome;
  test::HomeBuilder b{Locations::Layout::linux};
  test::CommandResult run(std::vector<std::string> args) {
    args.insert(args.end(), {"--root", b.root(), "--home", b.home(), "--layout", "linux"});
    return test::dustwhale(args);
  }
};

TEST(LinuxHomeCli, ScanListsTheCachesOfPnpmYarnAndAnElectronApp) {
  LinuxHome h;
  test::pnpmStore(h.b, h.b.inHome(".local/share/pnpm/store"), 42 * MB);
  test::yarnCache(h.b, h.b.inHome(".yarn/berry/cache"), 24 * MB);
  test::electronApp(h.b, "Slack", {{"Cache", 31 * MB}, {"Code Cache", 12 * MB}});

  auto scan = h.run({"scan"});
  ASSERT_EQ(scan.status, 0) << scan.err;
  EXPECT_THAT(scan.out, HasSubstr("[x] pnpm store · 42 MB · Safe to clear\n"));
  EXPECT_THAT(scan.out, HasSubstr("      ~/.local/share/pnpm/store\n"));
  EXPECT_THAT(scan.out, HasSubstr("[ ] Slack web cache · 31 MB · Safe to clear\n"));
  EXPECT_THAT(scan.out, HasSubstr("[ ] Yarn cache · 24 MB · Safe to clear\n"));
  EXPECT_THAT(scan.out, HasSubstr("      ~/.yarn/berry/cache\n"));
  EXPECT_THAT(scan.out, HasSubstr("[ ] Slack code cache · 12 MB · Safe to clear\n"));
}

TEST(LinuxHomeCli, AFlatpakLeftoverIsNamedAfterItsAppAndShowsWhatItHolds) {
  LinuxHome h;
  std::string folder = test::flatpakData(h.b, "com.spotify.Client", 12 * MB);
  h.b.file(folder + "/data/playlists/road trip.m3u", MB);

  auto scan = h.run({"scan"});
  ASSERT_EQ(scan.status, 0) << scan.err;
  EXPECT_THAT(scan.out, HasSubstr("[ ] Spotify · 13 MB · Review\n"));
  EXPECT_THAT(scan.out, HasSubstr("Largest files: state.bin (12 MB), road trip.m3u (1 MB)\n"));

  auto json = h.run({"scan", "--json"});
  ASSERT_EQ(json.status, 0) << json.err;
  auto doc = json::parse(json.out);
  ASSERT_TRUE(doc && doc->find("findings")) << json.out;
  const json::Value* spotify = nullptr;
  for (const json::Value& f : doc->find("findings")->array()) {
    if (f.find("kind")->string() == "leftover") spotify = &f;
  }
  ASSERT_TRUE(spotify) << json.out;
  EXPECT_EQ(spotify->find("name")->string(), "Spotify");
  EXPECT_FALSE(spotify->find("suggested")->boolean());
  EXPECT_THAT(spotify->find("whySafe")->string(), Not(HasSubstr("Your documents are not")));
  EXPECT_THAT(spotify->find("whySafe")->string(), HasSubstr("data and settings"));
}

TEST(LinuxHomeCli, AppsShowTheDistributionsAppsWithTheirData) {
  LinuxHome h;
  std::string shared = h.b.inRoot("usr/share/applications");
  test::launcher(shared + "/firefox-esr.desktop", "Firefox ESR",
                 "/usr/lib/firefox-esr/firefox-esr %u", "firefox-esr");
  test::launcher(shared + "/chromium.desktop", "Chromium", "/usr/bin/chromium %U", "chromium");
  test::dpkgPackage(h.b, "firefox-esr", 250 * 1024,
                    {"/usr/share/applications/firefox-esr.desktop"});
  test::dpkgPackage(h.b, "chromium", 300 * 1024, {"/usr/share/applications/chromium.desktop"});
  h.b.folderOfSize(h.b.inHome(".mozilla"), 30 * MB);
  h.b.cache("mozilla", 20 * MB);
  h.b.cache("chromium", 12 * MB);

  auto apps = h.run({"apps"});
  ASSERT_EQ(apps.status, 0) << apps.err;
  EXPECT_THAT(apps.out, HasSubstr("Chromium · 300 MB app · 12 MB data · 312 MB in all"));
  EXPECT_THAT(apps.out, HasSubstr("Firefox ESR · 250 MB app · 50 MB data · 300 MB in all"));

  auto json = h.run({"apps", "--json"});
  ASSERT_EQ(json.status, 0) << json.err;
  EXPECT_THAT(json.out, HasSubstr(h.b.inHome(".mozilla")));
  EXPECT_THAT(json.out, HasSubstr(h.b.inHome(".cache/chromium")));

  // Still the software manager's: refused by name, nothing listed to move.
  auto refused = h.run({"uninstall", "Firefox ESR", "--yes"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err, "Remove Firefox ESR with the software manager.\n");
  EXPECT_TRUE(test::exists(h.b.inHome(".mozilla")));
}

}  // namespace
}  // namespace dw
