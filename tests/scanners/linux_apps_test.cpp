// The Linux table: Flatpak leftovers in ~/.var/app, and the apps list of AppImages with their
// launchers and icons, Flatpak apps and distribution packages, in a Linux-shaped temporary
// root and home.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "base/time.h"
#include "clearing/uninstalling.h"
#include "platform/desktop_entry.h"
#include "scanners/app_bundles.h"
#include "scanners/leftovers/leftover_scanner.h"
#include "scanners/uninstaller/app_uninstaller.h"
#include "scanners/uninstaller/linux_apps.h"
#include "support/home_builder.h"
#include "support/linux_apps.h"
#include "support/mounts.h"
#include "support/temp_dir.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

using AppUninstaller::AppRecord;
using Strings = std::vector<std::string>;
using test::AppImageShape;
using test::writeFile;
constexpr std::int64_t MB = 1024 * 1024;

const test::TestWorkspace kNothingRuns;

LeftoverScanner::Result scanLeftovers(const Locations& places,
                                      const platform::Workspace& workspace = kNothingRuns) {
  SharedMeasurer measurer({});
  return LeftoverScanner::scan(places, workspace, measurer);
}

Strings ids(const LeftoverScanner::Result& r) {
  Strings out;
  for (const auto& f : r.findings)
    out.push_back(f.bundleID);
  return out;
}

std::vector<AppRecord> listApps(const Locations& places,
                                const platform::Workspace& workspace = kNothingRuns) {
  SharedMeasurer measurer({});
  return AppUninstaller::listApps(places, workspace, measurer);
}

const AppRecord* named(const std::vector<AppRecord>& apps, std::string_view name) {
  for (const auto& a : apps)
    if (a.name == name) return &a;
  return nullptr;
}

TEST(LinuxApps, FlatpakIdentifierShape) {
  using scanners::hasFlatpakIDShape;
  for (std::string good : {"org.gimp.GIMP", "com.example.App_2", "org.example.my-app", "a.b.c",
                           "org._private.x", "io.github.user.Tool-Name", "org.example.App.Devel"})
    EXPECT_TRUE(hasFlatpakIDShape(good)) << good;
  for (std::string bad :
       {"", "org.gimp", "gimp", ".org.gimp.GIMP", "org..gimp.GIMP", "org.gimp.GIMP.", "org.gimp.",
        "org.1gimp.GIMP", "org.gimp.2GIMP", "org.my-app.Tool", "org.gimp.GI MP", "org.gimp/x.y",
        "org.gimp.GIMP!", "org.gimp.Gimpé"})
    EXPECT_FALSE(hasFlatpakIDShape(bad)) << bad;
  // At most 255 characters.
  std::string longest = "org.example." + std::string(255 - 12, 'a');
  EXPECT_TRUE(hasFlatpakIDShape(longest));
  EXPECT_FALSE(hasFlatpakIDShape(longest + "a"));
}

TEST(LinuxApps, FlatpakDataOfAnAppNoLongerInstalledIsALeftover) {
  test::HomeBuilder b{Locations::Layout::linux};
  Locations places = b.locations();
  EXPECT_EQ(places.leftoverLocations.size(), 1u);

  std::string gone = test::flatpakData(b, "org.example.Gone", 3 * MB);
  test::flatpakData(b, "org.example.UserApp");
  test::flatpakData(b, "org.example.SystemApp");
  test::flatpakData(b, "org.example.Running");
  test::flatpakData(b, "org.example.App.Plugin");  // accounted for by org.example.App
  test::flatpakData(b, "org.example");             // two elements: not an app id
  test::flatpakData(b, "org.1example.App");
  test::flatpakData(b, "com.google.Keystone.Agent");  // never reported, as everywhere
  writeFile(b.inHome(".var/app/org.example.AFile"), "a file, not an app's folder");
  b.symlink(b.inHome("Documents"), b.inHome(".var/app/org.example.Link"));
  b.folder(b.inHome("Library/Application Support/com.example.mac"));  // not a Linux place

  test::flatpakInstall(b, b.inHome(".local/share/flatpak"), "org.example.UserApp");
  test::flatpakInstall(b, b.inRoot("var/lib/flatpak"), "org.example.SystemApp");
  test::flatpakInstall(b, b.inRoot("var/lib/flatpak"), "org.example.App");
  test::TestWorkspace workspace;
  workspace.setRunning("org.example.Running", true);

  auto r = scanLeftovers(places, workspace);
  EXPECT_TRUE(r.unreadableLocations.empty());
  ASSERT_EQ(ids(r), Strings{"org.example.Gone"});
  const auto& f = r.findings.front();
  EXPECT_EQ(f.removablePaths, Strings{gone});
  EXPECT_EQ(f.evidence, Strings{"~/.var/app"});
  EXPECT_EQ(f.appName, "Gone");
  EXPECT_EQ(f.bytes, DiskSizer::measure(gone).bytes);
  EXPECT_EQ(f.largestFiles, (std::vector<LeftoverScanner::LargestFile>{{"state.bin", 3 * MB}}))
      << "an app's whole data: shown whatever its size";
  Finding c = LeftoverScanner::toFinding(f, places);
  EXPECT_EQ(c.id, "leftover:org.example.Gone");
  EXPECT_EQ(c.path, "~/.var/app/org.example.Gone");
  EXPECT_FALSE(c.suggested);
  EXPECT_EQ(c.note.rfind("Last used ", 0), 0u);

  // The re-check before a move, and the system install read under the scanned root only.
  EXPECT_TRUE(LeftoverScanner::stillBelongsTo(gone, "org.example.Gone", places));
  EXPECT_FALSE(LeftoverScanner::stillBelongsTo(gone, "org.example.Other", places));
  EXPECT_FALSE(
      LeftoverScanner::stillBelongsTo(b.inHome(".var/app/org.example"), "org.example", places));
  EXPECT_FALSE(LeftoverScanner::isAllowedPath(b.inHome("Documents/x"), places));
  std::filesystem::remove_all(b.inRoot("var/lib/flatpak/app/org.example.SystemApp"));
  EXPECT_EQ(ids(scanLeftovers(places, workspace)),
            (Strings{"org.example.Gone", "org.example.SystemApp"}));

  // An installation the system configures elsewhere counts too.
  writeFile(b.inRoot("etc/flatpak/installations.d/extra.conf"),
            "[Installation \"extra\"]\nPath=/opt/flatpak\nDisplayName=Extra\n");
  test::flatpakInstall(b, b.inRoot("opt/flatpak"), "org.example.SystemApp");
  EXPECT_EQ(ids(scanLeftovers(places, workspace)), Strings{"org.example.Gone"});

  // The same sizes as on a Mac.
  b.file(gone + "/cache/big.bin", 101 * MB);
  auto big = scanLeftovers(places, workspace);
  ASSERT_FALSE(big.findings.empty());
  EXPECT_EQ(big.findings.front().bundleID, "org.example.Gone");
  ASSERT_EQ(big.findings.front().largestFiles.size(), 2u);
  EXPECT_EQ(big.findings.front().largestFiles.front().name, "big.bin");
}

TEST(LinuxApps, AnUnreadableVarAppIsReportedWithThePermissionsText) {
  test::HomeBuilder b{Locations::Layout::linux};
  Locations places = b.locations();
  test::flatpakData(b, "org.example.Gone");
  ASSERT_EQ(::chmod(b.inHome(".var/app").c_str(), 0), 0);
  auto out = b.runUnprivileged([&] {
    auto r = scanLeftovers(places);
    std::string text = r.findings.empty() ? "" : "found ";
    for (const auto& u : r.unreadableLocations)
      text += u + ";";
    return text;
  });
  ::chmod(b.inHome(".var/app").c_str(), 0755);
  if (!out) GTEST_SKIP() << "no unprivileged user to run as";
  EXPECT_EQ(*out, "~/.var/app;");

  // An installation that cannot be read may hold the app: nothing is called a leftover.
  test::flatpakInstall(b, b.inRoot("var/lib/flatpak"), "org.example.Other");
  ASSERT_EQ(::chmod(b.inRoot("var/lib/flatpak/app").c_str(), 0), 0);
  auto hidden = b.runUnprivileged([&] {
    auto r = scanLeftovers(places);
    std::string text = r.findings.empty() ? "" : "found ";
    for (const auto& u : r.unreadableLocations)
      text += u + ";";
    bool belongs = LeftoverScanner::stillBelongsTo(b.inHome(".var/app/org.example.Gone"),
                                                   "org.example.Gone", places);
    return text + (belongs ? "belongs" : "-");
  });
  ::chmod(b.inRoot("var/lib/flatpak/app").c_str(), 0755);
  EXPECT_EQ(*hidden, b.inRoot("var/lib/flatpak/app") + ";-");
}

TEST(LinuxApps, DesktopEntriesAndTheProgramsTheyStart) {
  auto entry = platform::parseDesktopEntry(
      "# comment\n[Desktop Action new]\nName=Not this\nExec=other\n[Desktop Entry]\n"
      "Name[de]=Bearbeiter\nName = My\\sEditor\nExec=\"/opt/My Apps/ed\" --x %U\nIcon=ed\n"
      "NoDisplay=true\n[Desktop Action y]\nHidden=true\n");
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->name, "My Editor");
  EXPECT_EQ(entry->icon, "ed");
  EXPECT_TRUE(entry->noDisplay);
  EXPECT_FALSE(entry->hidden);
  EXPECT_EQ(platform::execProgram(entry->exec), "/opt/My Apps/ed");
  EXPECT_FALSE(platform::parseDesktopEntry("[Desktop Action x]\nName=y\n"));

  using Row = std::pair<const char*, const char*>;
  for (auto [exec, program] :
       {Row{"/a/b.AppImage", "/a/b.AppImage"}, Row{"\"/a b/c.AppImage\" %F", "/a b/c.AppImage"},
        Row{"%U /a/x", "/a/x"}, Row{"env FOO=1 BAR=\"a b\" /a/x %u", "/a/x"},
        Row{"/usr/bin/env -u HOME -i LANG=C \"/a/q\\\"uote\"", "/a/q\"uote"},
        Row{"FOO=1 /a/x", "/a/x"}, Row{"env -- /a/x", "/a/x"}, Row{"100%% /a", "100%"},
        Row{"env -S \"/a/x y\"", ""}, Row{"\"/a/open", ""}, Row{"", ""}, Row{"env FOO=1", ""},
        Row{"firefox %u", "firefox"}})
    EXPECT_EQ(platform::execProgram(exec), program) << exec;
  EXPECT_EQ(*platform::execArguments("a \"\" %f b%%c 'x'"), (Strings{"a", "", "b%c", "'x'"}));
}

TEST(LinuxApps, AnAppImageIsListedWithItsLaunchersAndIcons) {
  test::HomeBuilder b{Locations::Layout::linux};
  Locations places = b.locations();
  std::string editor = test::appImage(b.inHome("Applications/Editor-1.2.appimage"));
  std::string marked = test::appImage(b.inHome(".local/bin/tool"), AppImageShape::marked);
  test::appImage(b.inHome("Applications/deeper/Deep.AppImage"));     // one level only
  writeFile(b.inHome("Applications/Fake.AppImage"), "#!/bin/sh\n");  // not an ELF program
  // An ELF program named like one but without the mark is some other program.
  test::appImage(b.inHome("Applications/Plain.AppImage"), AppImageShape::unmarked);
  writeFile(b.inHome(".local/bin/script"), "#!/bin/sh\n");
  b.symlink(editor, b.inHome(".local/bin/editor"));  // a link is not a second AppImage
  EXPECT_TRUE(scanners::isAppImage(editor));
  EXPECT_FALSE(scanners::isAppImage(b.inHome(".local/bin/editor")));
  EXPECT_FALSE(scanners::isAppImage(b.inHome("Applications/Plain.AppImage")));
  Strings images;
  for (const auto& image : scanners::listAppImages(places))
    images.push_back(image.path);
  EXPECT_EQ(images, (Strings{editor, marked}));

  std::string apps = b.inHome(".local/share/applications");
  std::string icons = b.inHome(".local/share/icons");
  std::string l1 = test::launcher(apps + "/appimagekit-editor.desktop", "Editor",
                                  "env DESKTOPINTEGRATION=0 \"" + editor + "\" %U", "editor");
  std::string l2 = test::launcher(apps + "/editor-private.desktop", "Editor (private)",
                                  editor + " --private", icons + "/editor-private.svg");
  test::launcher(apps + "/other.desktop", "Other", "/usr/bin/other", "shared");
  test::launcher(apps + "/tool.desktop", "Tool", "tool %f", "shared");
  std::string png = b.file(icons + "/hicolor/256x256/apps/editor.png", 4096);
  std::string svg = b.file(icons + "/hicolor/scalable/apps/editor.svg", 4096);
  std::string flat = b.file(icons + "/editor.xpm", 4096);
  b.file(icons + "/editor.old.png", 4096);  // another name
  std::string priv = b.file(icons + "/editor-private.svg", 4096);
  std::string shared = b.file(icons + "/hicolor/48x48/apps/shared.png", 4096);
  b.file(b.inHome("Pictures/tool.png"), 4096);
  test::launcher(apps + "/z-pictures.desktop", "Pictured", marked, b.inHome("Pictures/tool.png"));

  auto listed = listApps(places);
  ASSERT_EQ(listed.size(), 2u);
  const AppRecord* e = named(listed, "Editor");
  ASSERT_TRUE(e);
  EXPECT_EQ(e->kind, AppRecord::Kind::appImage);
  EXPECT_EQ(e->bundlePath, editor);
  std::string link = b.inHome(".local/bin/editor");
  EXPECT_EQ(e->related, (Strings{link, l1, l2, png, svg, flat, priv}));
  EXPECT_EQ(e->iconPath, png);
  EXPECT_EQ(e->bundleBytes, DiskSizer::measure(editor).bytes);
  EXPECT_EQ(e->relatedBytes, DiskSizer::measure(link).bytes + DiskSizer::measure(l1).bytes +
                                 DiskSizer::measure(l2).bytes + 4 * 4096);
  EXPECT_TRUE(e->lastUsed);
  EXPECT_FALSE(e->running);
  EXPECT_EQ(AppUninstaller::rowText(*e), "");
  EXPECT_EQ(AppUninstaller::refusal(*e, false, places), std::nullopt);

  // The tool's launcher shares its icon with another app's, and the one in Pictures is the
  // user's own picture: neither moves with it. Named after its launcher, shown with no icon.
  const AppRecord* t = named(listed, "Tool");
  ASSERT_TRUE(t);
  EXPECT_EQ(t->related, (Strings{apps + "/tool.desktop", apps + "/z-pictures.desktop"}));
  EXPECT_EQ(t->iconPath, shared);
  EXPECT_EQ(named(listed, "Tool")->bundlePath, marked);

  // The re-checks before anything moves.
  EXPECT_TRUE(AppUninstaller::stillRelatedTo(l1, *e, places));
  EXPECT_TRUE(AppUninstaller::stillRelatedTo(link, *e, places));
  EXPECT_FALSE(AppUninstaller::stillRelatedTo(link, *named(listed, "Tool"), places));
  EXPECT_TRUE(AppUninstaller::stillRelatedTo(png, *e, places));
  EXPECT_FALSE(AppUninstaller::stillRelatedTo(b.inHome("Pictures/tool.png"), *e, places));
  test::launcher(l2 + ".new", "Editor", "/usr/bin/something-else");
  std::filesystem::rename(l2 + ".new", l2);
  EXPECT_FALSE(AppUninstaller::stillRelatedTo(l2, *e, places));

  // Without a launcher: named after the file.
  std::filesystem::remove(l1);
  std::filesystem::remove(l2);
  auto again = listApps(places);
  EXPECT_TRUE(named(again, "Editor-1.2"));

  // Outside the AppImage folders it is refused by where it is.
  std::string elsewhere = test::appImage(b.inHome("Downloads/Else.AppImage"));
  SharedMeasurer measurer({});
  auto record = AppUninstaller::recordFor(elsewhere, places, kNothingRuns, measurer);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->kind, AppRecord::Kind::appImage);
  EXPECT_EQ(AppUninstaller::refusal(*record, false, places),
            "Else is not in ~/Applications or ~/.local/bin.");
}

TEST(LinuxApps, ALaunchersIconGoesOnlyWhenItIsTheAppsOwn) {
  test::HomeBuilder b{Locations::Layout::linux};
  Locations places = b.locations();
  std::string apps = b.inHome(".local/share/applications");
  std::string icons = b.inHome(".local/share/icons");
  std::string pixmaps = b.inHome(".local/share/pixmaps");
  std::string scanner = test::appImage(b.inHome("Applications/Scanner-2.1-x86_64.AppImage"));
  // The user's own files named by a launcher: never the app's icon.
  std::string passport = b.file(b.inHome("Downloads/passport-scan.png"), 4096);
  std::string project = b.file(b.inHome("work/scanner-ui/scanner.png"), 4096);
  test::launcher(apps + "/scanner.desktop", "Scanner", scanner, passport);
  test::launcher(apps + "/scanner-project.desktop", "Scanner (dev)", scanner, project);
  // An icon named after the app (by its file's name without the version) in pixmaps, one named
  // after nothing of it, and one the system's own Firefox launcher shows too.
  test::launcher(apps + "/scanner-pixmap.desktop", "Scanner", scanner, "scanner");
  std::string own = b.file(pixmaps + "/scanner.png", 4096);
  test::launcher(apps + "/scanner-generic.desktop", "Scanner", scanner, "generic");
  std::string generic = b.file(icons + "/hicolor/48x48/apps/generic.png", 4096);
  test::launcher(apps + "/firefox-esr.desktop", "Scanner", scanner, "firefox-esr");
  std::string firefox = b.file(icons + "/hicolor/48x48/apps/firefox-esr.png", 4096);
  test::launcher(b.inRoot("usr/share/applications/firefox-esr.desktop"), "Firefox ESR",
                 "/usr/lib/firefox-esr/firefox-esr %u", "firefox-esr");

  auto listed = listApps(places);
  ASSERT_TRUE(named(listed, "Scanner"));
  const AppRecord& app = *named(listed, "Scanner");
  Strings launchers{apps + "/firefox-esr.desktop", apps + "/scanner-generic.desktop",
                    apps + "/scanner-pixmap.desktop", apps + "/scanner-project.desktop",
                    apps + "/scanner.desktop"};
  Strings expected = launchers;
  expected.push_back(own);
  EXPECT_EQ(app.related, expected);
  // Named after a launcher the firefox-esr icon would be, but the system's launcher shows it.
  for (const std::string& kept : {passport, project, generic, firefox})
    EXPECT_FALSE(AppUninstaller::stillRelatedTo(kept, app, places)) << kept;
  EXPECT_TRUE(AppUninstaller::stillRelatedTo(own, app, places));
  // Another launcher naming it since the listing keeps it, whoever's it is.
  test::launcher(b.inRoot("var/lib/flatpak/exports/share/applications/org.example.Scan.desktop"),
                 "Scan", "/usr/bin/flatpak run org.example.Scan", "scanner");
  EXPECT_FALSE(AppUninstaller::stillRelatedTo(own, app, places));

  // Uninstalled: the passport scan, the project and the shared icons are where they were.
  std::filesystem::remove(
      b.inRoot("var/lib/flatpak/exports/share/applications/"
               "org.example.Scan.desktop"));
  test::TempHome trashHome;
  auto outcome = Clearing::uninstallApp(app, places);
  EXPECT_TRUE(outcome.stayed.empty()) << outcome.stayed.front();
  for (const std::string& kept : {passport, project, generic, firefox})
    EXPECT_TRUE(test::exists(kept)) << kept;
  EXPECT_FALSE(test::exists(own));
  EXPECT_FALSE(test::exists(scanner));
}

TEST(LinuxApps, ListingAnAppImageNeverChangesWhenItWasLastUsed) {
  test::HomeBuilder b{Locations::Layout::linux};
  Locations places = b.locations();
  // Every read of a file sets its access time on a strictatime mount: a listing that reads an
  // AppImage (for its mark) or a launcher (for what it starts) would make it "used today".
  test::ScopedTmpfs applications(b.folder(b.inHome("Applications")), MS_STRICTATIME);
  test::ScopedTmpfs launchers(b.folder(b.inHome(".local/share/applications")), MS_STRICTATIME);
  if (!applications.mounted()) GTEST_SKIP() << applications.error();
  std::string image = test::appImage(b.inHome("Applications/Viewer.AppImage"));
  std::string launcher =
      test::launcher(b.inHome(".local/share/applications/viewer.desktop"), "Viewer", image);
  auto setUsed = [](const std::string& path, std::time_t when) {
    struct timespec times[2] = {{when, 0}, {when - 86400, 0}};  // used a day after it changed
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  };
  const std::time_t imageUsed = 1'600'000'000, launcherUsed = 1'500'000'000;  // 2020, 2017
  setUsed(image, imageUsed);
  setUsed(launcher, launcherUsed);
  auto accessed = [](const std::string& path) {
    struct stat s {};
    ::stat(path.c_str(), &s);
    return s.st_atim.tv_sec;
  };
  // The mount really does set it on a plain read.
  std::string probe = b.inHome("Applications/probe");
  writeFile(probe, "x");
  setUsed(probe, imageUsed);
  test::readFile(probe);
  ASSERT_NE(accessed(probe), imageUsed) << "the mount keeps no strict access times";

  for (int listing = 0; listing < 2; ++listing) {
    auto listed = listApps(places);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed.front().lastUsed, timefmt::fromUnixSeconds(imageUsed)) << listing;
    EXPECT_EQ(accessed(image), imageUsed) << listing;
    EXPECT_EQ(accessed(launcher), launcherUsed) << listing;
  }
}

TEST(LinuxApps, ARunningAppImageMustBeQuitFirst) {
  test::HomeBuilder b{Locations::Layout::linux};
  Locations places = b.locations();
  std::string sleeper = test::appImage(b.inHome("Applications/Sleeper.AppImage"));
  {
    test::RunningFile running(sleeper);
    auto listed = listApps(places);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_TRUE(listed.front().running);
    EXPECT_EQ(AppUninstaller::rowText(listed.front()), "Open. Quit it before uninstalling.");
    AppRecord later = listed.front();
    later.running = false;
    EXPECT_TRUE(AppUninstaller::isRunningNow(later, kNothingRuns));
    EXPECT_EQ(AppUninstaller::refusal(later, true, places),
              "Quit Sleeper first, then uninstall it.");
  }
  EXPECT_FALSE(listApps(places).front().running);
}

TEST(LinuxApps, FlatpakAndPackageAppsAreListedAndNeverMoved) {
  test::HomeBuilder b{Locations::Layout::linux};
  Locations places = b.locations();
  std::string userApp =
      test::flatpakInstall(b, b.inHome(".local/share/flatpak"), "org.example.Notes", "Notes");
  std::string systemApp = test::flatpakInstall(b, b.inRoot("var/lib/flatpak"), "org.example.Paint");
  std::string icon = b.file(b.inRoot("var/lib/flatpak/exports/share/icons/hicolor/128x128/apps/"
                                     "org.example.Paint.png"),
                            4096);
  test::flatpakInstall(b, b.inRoot("var/lib/flatpak"), "org.example.Notes", "Notes (system)");

  std::string shared = b.inRoot("usr/share/applications");
  std::string viewer = test::launcher(shared + "/viewer.desktop", "Viewer", "viewer %F", "viewer");
  std::string term = test::launcher(shared + "/term.desktop", "Terminal", "/usr/bin/term");
  test::launcher(shared + "/hidden.desktop", "Hidden", "hidden", "", "Hidden=true\n");
  test::launcher(shared + "/nodisplay.desktop", "Helper", "helper", "", "NoDisplay=true\n");
  writeFile(shared + "/link.desktop", "[Desktop Entry]\nType=Link\nName=Web\nURL=http://x\n");
  b.file(b.inRoot("usr/bin/term"), 64 * 4096);
  std::string viewerIcon = b.file(b.inRoot("usr/share/pixmaps/viewer.xpm"), 4096);
  test::dpkgPackage(b, "other", 10, {"/usr/bin/other"});
  test::dpkgPackage(b, "viewer", 2048,
                    {"/usr/bin/viewer", "/usr/share/applications/viewer.desktop"});

  test::TestWorkspace workspace;
  workspace.setRunning("org.example.Paint", true);
  auto listed = listApps(places, workspace);
  ASSERT_EQ(listed.size(), 4u);
  // Largest first: the package's Installed-Size, then the program's own size.
  EXPECT_EQ(listed[0].name, "Viewer");
  EXPECT_EQ(listed[0].kind, AppRecord::Kind::package);
  EXPECT_EQ(listed[0].bundleID, "viewer");
  EXPECT_EQ(listed[0].bundleBytes, 2048 * 1024);
  EXPECT_EQ(listed[0].bundlePath, viewer);
  EXPECT_EQ(listed[0].iconPath, viewerIcon);
  EXPECT_EQ(listed[1].name, "Terminal");
  EXPECT_EQ(listed[1].bundleBytes, DiskSizer::measure(b.inRoot("usr/bin/term")).bytes);
  EXPECT_EQ(listed[1].bundlePath, term);
  const AppRecord* notes = named(listed, "Notes");
  ASSERT_TRUE(notes) << "the user's install, first of the two";
  EXPECT_EQ(notes->bundlePath, userApp);
  EXPECT_EQ(notes->kind, AppRecord::Kind::flatpak);
  const AppRecord* paint = named(listed, "org.example.Paint");
  ASSERT_TRUE(paint) << "no exported launcher: named by its id";
  EXPECT_EQ(paint->bundlePath, systemApp);
  EXPECT_EQ(paint->iconPath, icon);
  EXPECT_TRUE(paint->running);
  EXPECT_TRUE(paint->related.empty());

  for (const AppRecord& a : listed) {
    EXPECT_TRUE(AppUninstaller::removedWithSoftwareManager(a)) << a.name;
    EXPECT_EQ(AppUninstaller::rowText(a), a.kind == AppRecord::Kind::flatpak
                                              ? "Flatpak app. Remove it with the software manager."
                                              : "System package. Remove it with the software "
                                                "manager.");
    EXPECT_EQ(AppUninstaller::refusal(a, a.running, places),
              "Remove " + a.name + " with the software manager.");
    // Even asked directly, the pipeline moves nothing of it.
    test::TempHome trashHome;
    auto outcome = Clearing::uninstallApp(a, places);
    EXPECT_FALSE(outcome.bundleMoved);
    EXPECT_TRUE(outcome.moves.entries.empty());
    EXPECT_TRUE(test::exists(a.bundlePath));
  }
}

}  // namespace
}  // namespace dw
