#include "scanners/leftovers/leftover_scanner.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "base/time.h"
#include "scanners/caches/cache_scanner.h"
#include "support/home_builder.h"

namespace dw {
namespace {

using test::HomeBuilder;
using test::PlistFormat;
using test::writeFile;

constexpr std::int64_t MB = 1024 * 1024;
using Strings = std::vector<std::string>;

const LeftoverScanner::LeftoverFinding* byID(const LeftoverScanner::Result& r,
                                             std::string_view id) {
  auto it = std::find_if(r.findings.begin(), r.findings.end(),
                         [&](const auto& f) { return f.bundleID == id; });
  return it == r.findings.end() ? nullptr : &*it;
}

Strings idsOf(const LeftoverScanner::Result& r) {
  Strings ids;
  for (const auto& f : r.findings)
    ids.push_back(f.bundleID);
  std::sort(ids.begin(), ids.end());
  return ids;
}

LeftoverScanner::Result scan(const Locations& places) {
  SharedMeasurer measurer({});
  return LeftoverScanner::scan(places, measurer);
}

TEST(LeftoverScanner, IdentifierRules) {
  using LeftoverScanner::hasBundleIDShape;
  for (const char* good : {"com.example.gone", "org.mozilla.firefox", "COM.Example.App",
                           "io.my-app.helper_2", "info.x"}) {
    EXPECT_TRUE(hasBundleIDShape(good)) << good;
  }
  for (const char* bad : {"", "Google", ".com.example", "com", "com.", "com..x", "xyz.example.app",
                          "com.example.app.cache", "com.example.Store", "com.example.data.db",
                          "com.exa mple.x", "com.example/x", "group.com.example"}) {
    EXPECT_FALSE(hasBundleIDShape(bad)) << bad;
  }

  using LeftoverScanner::isNeverReported;
  for (const char* never : {"com.apple.Safari", "Com.Apple.mail", "com.google.Keystone.Agent",
                            "com.google.Keystone.Something", "com.microsoft.autoupdate2",
                            "com.adobe.accmac", "com.adobe.acc.x", "org.cups.printers",
                            "com.qtproject.x", "org.webkit.x", "com.android.studio.x"}) {
    EXPECT_TRUE(isNeverReported(never)) << never;
  }
  for (const char* maybe : {"com.google.Chrome", "com.adobe.Photoshop", "com.example.apple."}) {
    EXPECT_FALSE(isNeverReported(maybe)) << maybe;
  }

  using LeftoverScanner::isAccountedFor;
  std::set<std::string> installed = {"com.example.app", "org.tool"};
  EXPECT_TRUE(isAccountedFor("com.example.app", installed));
  EXPECT_TRUE(isAccountedFor("com.example.app.helper", installed));
  EXPECT_TRUE(isAccountedFor("com.Example.App.helper", installed)) << "case does not matter";
  EXPECT_TRUE(isAccountedFor("org.tool.a.b.c", installed));
  EXPECT_FALSE(isAccountedFor("com.example.application", installed));
  EXPECT_FALSE(isAccountedFor("com.example", installed));
  EXPECT_FALSE(isAccountedFor("com.other.app", installed));
}

TEST(LeftoverScanner, InstalledAppsIncludeNestedBundlesAndExtensions) {
  HomeBuilder b;
  std::string app =
      b.app(b.inRoot("Applications/Example.app"), "com.example.app", PlistFormat::binary);
  b.nestedBundle(app, "Contents/Library/LoginItems/Helper.app", "com.example.loginhelper");
  b.nestedBundle(app, "Contents/XPCServices/Render.xpc", "com.example.render", PlistFormat::binary);
  b.nestedBundle(app, "Contents/Helpers/Deep.app/Contents/Helpers/Deeper.app",
                 "com.example.deeper");
  b.app(b.inHome("Applications/Editor.app"), "net.editor.app");
  b.app(b.inRoot("Applications/Utilities/Term.app"), "io.term.app");
  b.app(b.inRoot("Library/SystemExtensions/1F2E/com.example.net.systemextension"),
        "com.example.net");
  writeFile(b.inRoot("Applications/Broken.app/Contents/Info.plist"), "<plist><dict><key>");
  b.folder(b.inRoot("Applications/Empty.app"));
  b.symlink(app, b.inHome("Applications/Linked.app"));

  auto ids = LeftoverScanner::installedBundleIDs(b.locations());
  EXPECT_EQ(ids, (std::set<std::string>{"com.dustwhale.Dustwhale", "com.example.app",
                                        "com.example.loginhelper", "com.example.net",
                                        "com.example.render", "io.term.app", "net.editor.app"}))
      << "one level of nested bundles; the running program counts as installed";
}

TEST(LeftoverScanner, ReportsWhatVanishedAppsLeftBehind) {
  HomeBuilder b;
  Locations places = b.locations();
  std::string app = b.app(b.inRoot("Applications/Example.app"), "com.example.app");
  b.nestedBundle(app, "Contents/Library/LoginItems/Helper.app", "com.example.loginhelper");
  writeFile(b.inRoot("Applications/Broken.app/Contents/Info.plist"), "not a plist");
  auto support = [&](const std::string& name) {
    return b.folder(b.inHome("Library/Application Support/" + name));
  };

  std::string gone = support("com.example.gone");
  writeFile(gone + "/state.json", std::string(10000, 's'));
  std::string goneContainer = b.folder(b.inHome("Library/Containers/com.example.gone"));
  std::string goneState =
      b.folder(b.inHome("Library/Saved Application State/com.example.gone.savedState"));
  std::string gonePref = b.preference("com.example.gone");
  b.folder(b.inHome("Library/Group Containers/group.com.example.gone"));
  support("Google");
  support("com.example.app");
  support("com.example.app.Plugins");
  support("com.example.loginhelper");
  support("com.apple.TextEdit");
  support("com.dustwhale.Dustwhale");
  support("com.broken.app");
  writeFile(b.inHome("Library/Application Support/com.file.only"), "a file, not a folder");
  b.folder(b.inHome("Library/Caches/com.example.app.cache"));
  b.folder(b.inHome("Library/Caches/com.example.cachesonly"));
  b.folder(b.inHome("Library/HTTPStorages/com.example.cachesonly"));
  b.preference("com.example.prefsonly");
  b.launchAgent("com.google.Keystone.Agent",
                "/Library/Google/GoogleSoftwareUpdate/GoogleSoftwareUpdate.bundle/ksfetch");
  b.file(b.inRoot("Library/Application Support/Kept/kept-daemon"), 4096);
  b.launchAgent("com.example.kept", "/Library/Application Support/Kept/kept-daemon",
                PlistFormat::binary);
  b.launchAgent("com.example.bare", "bare-daemon");
  std::string stale = b.launchAgent("com.example.stale", "/Applications/Stale.app/Contents/MacOS/s",
                                    PlistFormat::binary, "stale-agent.plist");
  writeFile(b.inHome("Library/LaunchAgents/bad.plist"), "<<<");

  auto result = scan(places);
  EXPECT_TRUE(result.unreadableLocations.empty());
  EXPECT_EQ(idsOf(result), (Strings{"com.broken.app", "com.example.gone", "com.example.stale"}));

  const auto* g = byID(result, "com.example.gone");
  ASSERT_TRUE(g);
  EXPECT_EQ(g->appName, "gone");
  EXPECT_EQ(g->removablePaths, (Strings{gone, goneContainer, gonePref, goneState}));
  EXPECT_EQ(g->evidence, (Strings{"~/Library/Application Support", "~/Library/Containers",
                                  "~/Library/Preferences", "~/Library/Saved Application State"}));
  std::int64_t sum = 0;
  TimePoint newest{};
  for (const auto& p : g->removablePaths) {
    auto r = DiskSizer::measure(p);
    sum += r.bytes;
    if (r.newest) newest = std::max(newest, *r.newest);
  }
  EXPECT_EQ(g->bytes, sum);
  EXPECT_EQ(g->lastModified, newest);
  EXPECT_TRUE(g->largestFiles.empty()) << "below 100 MB";
  EXPECT_EQ(result.findings.front().bundleID, "com.example.gone") << "largest first";

  const auto* s = byID(result, "com.example.stale");
  ASSERT_TRUE(s);
  EXPECT_EQ(s->removablePaths, Strings{stale});
  EXPECT_EQ(s->evidence, Strings{"~/Library/LaunchAgents"});

  CacheFinding c = LeftoverScanner::toCacheFinding(*g, places);
  EXPECT_EQ(c.id, "leftover:com.example.gone");
  EXPECT_EQ(c.name, "gone");
  EXPECT_EQ(c.path, "~/Library/Application Support/com.example.gone");
  EXPECT_EQ(c.bytes, g->bytes);
  EXPECT_EQ(c.kind, CacheFinding::Kind::leftover);
  EXPECT_FALSE(c.suggested);
  EXPECT_TRUE(c.removable);
  EXPECT_EQ(c.note, "Last used " + timefmt::localDate(g->lastModified));
  EXPECT_EQ(c.leftoverPaths, g->removablePaths);
  EXPECT_EQ(c.leftoverEvidence, g->evidence);
  EXPECT_EQ(c.leftoverBundleID, "com.example.gone");
  EXPECT_EQ(c.leftoverLastUsed, g->lastModified);
  EXPECT_EQ(c.contentModified, g->lastModified);
  CacheFinding agent = LeftoverScanner::toCacheFinding(*s, places);
  EXPECT_EQ(agent.note,
            "Last used " + timefmt::localDate(s->lastModified) +
                " Stops stale from starting at login. Takes effect at your next login.");
  EXPECT_EQ(agent.path, "~/Library/LaunchAgents/stale-agent.plist");

  // A preferences-only group stays out until a folder of the same app turns up.
  std::string prefsFolder = support("com.example.prefsonly");
  auto again = scan(places);
  const auto* p = byID(again, "com.example.prefsonly");
  ASSERT_TRUE(p);
  EXPECT_EQ(p->removablePaths,
            (Strings{prefsFolder, b.inHome("Library/Preferences/com.example.prefsonly.plist")}));
  EXPECT_EQ(p->evidence, (Strings{"~/Library/Application Support", "~/Library/Preferences"}));

  // Reinstalling the app accounts for all of it.
  b.app(b.inHome("Applications/Gone.app"), "com.example.gone", PlistFormat::binary);
  EXPECT_FALSE(byID(scan(places), "com.example.gone"));
}

TEST(LeftoverScanner, PathChecksBeforeListingAndMoving) {
  HomeBuilder b;
  Locations places = b.locations();
  auto allowed = [&](const std::string& p) { return LeftoverScanner::isAllowedPath(p, places); };
  std::string gone = b.folder(b.inHome("Library/Application Support/com.example.gone"));
  std::string pref = b.preference("com.example.gone");
  std::string agent = b.launchAgent("com.example.agent", "/nowhere", PlistFormat::xml, "a.plist");
  b.folder(b.inHome("Documents/Stuff"));
  std::string intoDocs = b.symlink(b.inHome("Documents/Stuff"),
                                   b.inHome("Library/Application Support/com.example.docs"));
  std::string intoRoot =
      b.symlink(b.inRoot("Library"), b.inHome("Library/Application Support/com.example.root"));

  EXPECT_TRUE(allowed(gone));
  EXPECT_TRUE(allowed(pref));
  EXPECT_FALSE(allowed(b.inHome("Library")));
  EXPECT_FALSE(allowed(b.inHome("Documents/Stuff")));
  EXPECT_FALSE(allowed(intoDocs));
  EXPECT_FALSE(allowed(intoRoot));
  EXPECT_FALSE(allowed(b.inRoot("Library/Application Support/com.example.gone")));
  EXPECT_FALSE(allowed(b.inRoot("Applications/Gone.app")));
  EXPECT_FALSE(allowed(""));

  using LeftoverScanner::stillBelongsTo;
  EXPECT_TRUE(stillBelongsTo(gone, "com.example.gone", places));
  EXPECT_TRUE(stillBelongsTo(pref, "com.example.gone", places));
  EXPECT_TRUE(stillBelongsTo(agent, "com.example.agent", places)) << "by its Label";
  EXPECT_FALSE(stillBelongsTo(agent, "a", places));
  EXPECT_FALSE(stillBelongsTo(gone, "com.example.other", places));
  EXPECT_FALSE(stillBelongsTo(gone + "/inside", "com.example.gone", places));
  EXPECT_FALSE(stillBelongsTo(intoDocs, "com.example.docs", places));
  EXPECT_FALSE(
      stillBelongsTo(b.inHome("Library/Containers/com.example.gone"), "com.example.gone", places))
      << "missing";
  std::string apple = b.folder(b.inHome("Library/Application Support/com.apple.Notes"));
  EXPECT_FALSE(stillBelongsTo(apple, "com.apple.Notes", places));

  // The folder was replaced by a file of the same name: a folder rule no longer yields it.
  std::filesystem::rename(gone, b.inHome("Library/moved-away"));
  writeFile(gone, "file now");
  EXPECT_FALSE(stillBelongsTo(gone, "com.example.gone", places));

  // Nothing above touched the tree's own files.
  EXPECT_TRUE(test::exists(pref));
  EXPECT_TRUE(test::exists(agent));
}

TEST(LeftoverScanner, LargestFilesFrom100MB) {
  HomeBuilder b;
  // Exactly 100 MB over two paths: a folder one block short of it and a preference file.
  std::string big = b.inHome("Library/Application Support/com.example.big");
  b.file(big + "/a.bin", 40 * MB);
  b.file(big + "/nested/b.bin", 30 * MB);
  b.file(big + "/c.bin", 20 * MB);
  b.file(big + "/d.bin", 4 * MB);
  b.folderOfSize(big, 100 * MB - 4096);
  ASSERT_EQ(DiskSizer::measure(b.preference("com.example.big")).bytes, 4096);

  // One block short of 100 MB in all.
  std::string small = b.inHome("Library/Application Support/com.example.small");
  b.file(small + "/a.bin", 60 * MB);
  b.folderOfSize(small, 100 * MB - 4096);

  auto result = scan(b.locations());
  const auto* bigFinding = byID(result, "com.example.big");
  const auto* smallFinding = byID(result, "com.example.small");
  ASSERT_TRUE(bigFinding && smallFinding);
  EXPECT_EQ(bigFinding->bytes, 100 * MB);
  EXPECT_EQ(smallFinding->bytes, 100 * MB - 4096);
  EXPECT_EQ(bigFinding->largestFiles,
            (std::vector<LeftoverScanner::LargestFile>{
                {"a.bin", 40 * MB}, {"b.bin", 30 * MB}, {"c.bin", 20 * MB}}));
  EXPECT_TRUE(smallFinding->largestFiles.empty());
  EXPECT_EQ(result.findings.front().bundleID, "com.example.big");
}

TEST(LeftoverScanner, UnreadableLocationIsReportedAndTheRestStillFound) {
  HomeBuilder b;
  Locations places = b.locations();
  b.folder(b.inHome("Library/Containers/com.example.hidden"));
  b.folder(b.inHome("Library/Application Support/com.example.gone"));
  ASSERT_EQ(::chmod(b.inHome("Library/Containers").c_str(), 0), 0);

  auto out = b.runUnprivileged([&] {
    auto result = scan(places);
    std::string text;
    for (const auto& l : result.unreadableLocations)
      text += l + "\n";
    text += "--\n";
    for (const auto& f : result.findings)
      text += f.bundleID + "\n";
    return text;
  });
  ASSERT_TRUE(out) << "the unprivileged scan did not finish";
  EXPECT_EQ(*out, "~/Library/Containers\n--\ncom.example.gone\n");
}

TEST(LeftoverScanner, CacheFolderOfAVanishedAppIsWalkedOncePerScan) {
  HomeBuilder b;
  Locations places = b.locations();
  std::string cache = b.cache("com.example.gone", 12 * MB);
  std::string support =
      b.folderOfSize(b.inHome("Library/Application Support/com.example.gone"), 8192);

  SharedMeasurer measurer({});
  auto caches = CacheScanner::scanLibraryCaches(places, false, measurer);
  ASSERT_EQ(caches.size(), 1u);
  EXPECT_EQ(caches[0].bytes, 12 * MB);

  // Grows after the cache scan walked it: the leftover scan of the same scan reuses that walk.
  b.file(cache + "/later.bin", 4 * MB);
  auto shared = LeftoverScanner::scan(places, measurer);
  ASSERT_EQ(shared.findings.size(), 1u);
  EXPECT_EQ(shared.findings[0].removablePaths, (Strings{support, cache}));
  EXPECT_EQ(shared.findings[0].bytes, 12 * MB + 8192);

  auto fresh = scan(places);
  EXPECT_EQ(fresh.findings[0].bytes, 16 * MB + 8192) << "a new scan walks again";
}

}  // namespace
}  // namespace dw
