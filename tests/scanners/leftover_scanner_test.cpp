#include "scanners/leftovers/leftover_scanner.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "base/time.h"
#include "scanners/caches/cache_scanner.h"
#include "support/home_builder.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

using namespace LeftoverScanner;

using test::PlistFormat;
using test::writeFile;
using Strings = std::vector<std::string>;
constexpr std::int64_t MB = 1024 * 1024;

const LeftoverFinding* byID(const Result& r, std::string_view id) {
  auto it = std::ranges::find(r.findings, id, &LeftoverFinding::bundleID);
  return it == r.findings.end() ? nullptr : &*it;
}

// Nothing runs unless a test says so.
const test::TestWorkspace kNothingRuns;

// A scan with a measurer of its own, so that it walks every folder again.
Result scanFresh(const Locations& places, const platform::Workspace& workspace = kNothingRuns,
                 SharedMeasurer&& measurer = SharedMeasurer({})) {
  return scan(places, workspace, measurer);
}

TEST(LeftoverScanner, IdentifierRules) {
  for (const char* good : {"com.example.gone", "org.mozilla.firefox", "COM.Example.App",
                           "io.my-app.helper_2", "info.x"})
    EXPECT_TRUE(hasBundleIDShape(good)) << good;
  for (const char* bad : {"", "Google", ".com.example", "com", "com.", "com..x", "xyz.example.app",
                          "com.example.app.cache", "com.example.Store", "com.example.data.db",
                          "com.exa mple.x", "com.example/x", "group.com.example"})
    EXPECT_FALSE(hasBundleIDShape(bad)) << bad;
  for (const char* never : {"com.apple.Safari", "Com.Apple.mail", "com.google.Keystone.Agent",
                            "com.google.Keystone.Something", "com.microsoft.autoupdate2",
                            "com.adobe.accmac", "com.adobe.acc.x", "org.cups.printers",
                            "com.qtproject.x", "org.webkit.x", "com.android.studio.x"})
    EXPECT_TRUE(isNeverReported(never)) << never;
  for (const char* maybe : {"com.google.Chrome", "com.adobe.Photoshop", "com.example.apple."})
    EXPECT_FALSE(isNeverReported(maybe)) << maybe;
  // Installed ids and their shorter forms account for an id, whatever the case.
  using Row = std::pair<const char*, bool>;
  for (auto [id, want] : {Row{"com.example.app", true}, Row{"com.example.app.helper", true},
                          Row{"com.Example.App.helper", true}, Row{"org.tool.a.b.c", true},
                          Row{"com.example.application", false}, Row{"com.example", false},
                          Row{"com.other.app", false}})
    EXPECT_EQ(isAccountedFor(id, {"com.example.app", "org.tool"}), want) << id;
}

TEST(LeftoverScanner, ReportsWhatVanishedAppsLeftBehind) {
  test::HomeBuilder b;
  Locations places = b.locations();
  auto app = b.app(b.inRoot("Applications/Example.app"), "com.example.app", PlistFormat::binary);
  b.app(app + "/Contents/Library/LoginItems/Helper.app", "com.example.loginhelper");
  b.app(app + "/Contents/XPCServices/Render.xpc", "com.example.render", PlistFormat::binary);
  b.app(app + "/Contents/Helpers/Deep.app/Contents/Helpers/Deeper.app", "com.example.deeper");
  b.app(b.inHome("Applications/Editor.app"), "net.editor.app");
  b.app(b.inRoot("Applications/Utilities/Term.app"), "io.term.app");
  b.app(b.inRoot("Library/SystemExtensions/1F/net.systemextension"), "com.example.net");
  writeFile(b.inRoot("Applications/Broken.app/Contents/Info.plist"), "<plist><dict><key>");
  b.folder(b.inRoot("Applications/Empty.app"));
  b.symlink(app, b.inHome("Applications/Linked.app"));
  auto lib = [&](const std::string& rel) { return b.folder(b.inHome("Library/" + rel)); };
  auto as = [&](const std::string& id) { return b.inHome("Library/Application Support/" + id); };
  std::string gone = lib("Application Support/com.example.gone");
  writeFile(gone + "/state.json", std::string(10000, 's'));
  std::string goneContainer = lib("Containers/com.example.gone");
  std::string goneState = lib("Saved Application State/com.example.gone.savedState");
  std::string gonePref = b.preference("com.example.gone");
  for (const char* id :
       {"Google", "com.example.app", "com.example.app.Plugins", "com.example.loginhelper",
        "com.apple.TextEdit", "com.dustwhale.Dustwhale", "com.broken.app"})
    b.folder(as(id));
  for (const char* rel : {"Group Containers/group.com.example.gone", "Caches/com.example.app.cache",
                          "Caches/com.example.cachesonly", "HTTPStorages/com.example.cachesonly"})
    lib(rel);
  writeFile(as("com.file.only"), "a file, not a folder");
  std::string docs = b.folder(b.inHome("Documents/Stuff"));
  std::string intoDocs = b.symlink(docs, as("com.example.docs"));
  std::string intoRoot = b.symlink(b.inRoot("Library"), as("com.example.root"));
  b.preference("com.example.prefsonly");
  b.launchAgent("com.google.Keystone.Agent", "/Library/Google/ksfetch");
  b.file(b.inRoot("Library/Kept/kept-daemon"), 4096);
  b.launchAgent("com.example.kept", "/Library/Kept/kept-daemon", PlistFormat::binary);
  b.launchAgent("com.example.bare", "bare-daemon");
  std::string stale = b.launchAgent("com.example.stale", "/Applications/Stale.app/Contents/MacOS/s",
                                    PlistFormat::binary, "stale-agent.plist");
  writeFile(b.inHome("Library/LaunchAgents/bad.plist"), "<<<");

  // One level of nested bundles; the running program counts as installed.
  EXPECT_EQ(installedBundleIDs(places, kNothingRuns),
            (std::set<std::string>{"com.dustwhale.Dustwhale", "com.example.app",
                                   "com.example.loginhelper", "com.example.net",
                                   "com.example.render", "io.term.app", "net.editor.app"}));
  auto result = scanFresh(places);
  EXPECT_TRUE(result.unreadableLocations.empty());
  ASSERT_EQ(result.findings.size(), 3u);
  const auto& g = result.findings[0];  // largest first
  EXPECT_EQ(g.removablePaths, (Strings{gone, goneContainer, gonePref, goneState}));
  EXPECT_EQ(g.evidence, (Strings{"~/Library/Application Support", "~/Library/Containers",
                                 "~/Library/Preferences", "~/Library/Saved Application State"}));
  TimePoint newest{};  // sizes add up as the largest-files test checks
  for (const auto& p : g.removablePaths)
    newest = std::max(newest, DiskSizer::measure(p).newest.value_or(newest));
  EXPECT_EQ(g.lastModified, newest);
  EXPECT_TRUE(byID(result, "com.broken.app")) << "an unreadable Info.plist names no app";
  const auto* s = byID(result, "com.example.stale");
  ASSERT_TRUE(s);
  EXPECT_EQ(s->removablePaths, Strings{stale});
  EXPECT_EQ(s->evidence, Strings{"~/Library/LaunchAgents"});

  Finding c = toFinding(g, places);
  EXPECT_EQ(std::tie(c.id, c.name, c.path, c.note, c.leftoverBundleID),
            std::make_tuple("leftover:com.example.gone", "gone",
                            "~/Library/Application Support/com.example.gone",
                            "Last used " + timefmt::localDate(g.lastModified), "com.example.gone"));
  EXPECT_EQ(
      std::tie(c.bytes, c.leftoverPaths, c.leftoverEvidence, c.leftoverLastUsed, c.contentModified),
      std::tie(g.bytes, g.removablePaths, g.evidence, g.lastModified, g.lastModified));
  EXPECT_TRUE(c.kind == Finding::Kind::leftover && c.removable && !c.suggested);
  EXPECT_EQ(toFinding(*s, places).note,
            "Last used " + timefmt::localDate(s->lastModified) +
                " Stops stale from starting at login. Takes effect at your next login.");

  // The checks every path passes before it is listed or moved; they touch nothing.
  EXPECT_TRUE(isAllowedPath(gone, places) && isAllowedPath(gonePref, places));
  for (const std::string& p : {b.inHome("Library"), docs, intoDocs, intoRoot, std::string(),
                               b.inRoot("Library/Application Support/com.example.gone"),
                               b.inRoot("Applications/Gone.app")})
    EXPECT_FALSE(isAllowedPath(p, places)) << p;
  // Neither a missing path nor a file where a folder rule expects a folder belongs.
  using Row = std::tuple<std::string, const char*, bool>;  // path, bundle id, still belongs
  for (auto [p, id, want] :
       {Row{gone, "com.example.gone", true}, Row{gonePref, "com.example.gone", true},
        Row{stale, "com.example.stale", true} /* by its Label */, Row{stale, "stale-agent", false},
        Row{gone, "com.example.other", false}, Row{gone + "/state.json", "com.example.gone", false},
        Row{intoDocs, "com.example.docs", false},
        Row{as("com.apple.TextEdit"), "com.apple.TextEdit", false},
        Row{b.inHome("Library/Containers/com.example.other"), "com.example.other", false},
        Row{as("com.file.only"), "com.file.only", false}})
    EXPECT_EQ(stillBelongsTo(p, id, places), want) << p << " " << id;

  // A preferences-only group stays out until a folder of the same app turns up.
  std::string prefsFolder = b.folder(as("com.example.prefsonly"));
  auto again = scanFresh(places);
  const auto* p = byID(again, "com.example.prefsonly");
  ASSERT_TRUE(p);
  EXPECT_EQ(p->removablePaths,
            (Strings{prefsFolder, b.inHome("Library/Preferences/com.example.prefsonly.plist")}));

  // A location that cannot be read is reported; the rest is still found.
  ASSERT_EQ(::chmod(b.inHome("Library/Containers").c_str(), 0), 0);
  auto out = b.runUnprivileged([&] {
    auto r = scanFresh(places);
    std::string found = byID(r, "com.example.gone") ? " and gone found" : "";
    return r.unreadableLocations.size() == 1 ? r.unreadableLocations[0] + found : "not one";
  });
  EXPECT_EQ(out, "~/Library/Containers and gone found");

  // Reinstalling the app accounts for all of it.
  b.app(b.inHome("Applications/Gone.app"), "com.example.gone", PlistFormat::binary);
  EXPECT_FALSE(byID(scanFresh(places), "com.example.gone"));
}

TEST(LeftoverScanner, InstalledMeansEveryListedAppAndEveryRunningOne) {
  test::HomeBuilder b;
  Locations places = b.locations();
  // An app in a vendor folder, as the uninstaller lists it; one a folder deeper is not listed.
  b.app(b.inRoot("Applications/Vendor Suite/Vendor.app"), "com.vendor.app");
  b.app(b.inRoot("Applications/Vendor Suite/Extras/Deep.app"), "com.vendor.deep");
  for (const char* id : {"com.vendor.app", "com.vendor.deep", "com.example.running"}) {
    b.folder(b.inHome(std::string("Library/Containers/") + id));
  }
  test::TestWorkspace workspace;
  workspace.setRunning("com.example.running", true);

  auto installed = installedBundleIDs(places, workspace);
  EXPECT_TRUE(installed.contains("com.vendor.app"));
  EXPECT_TRUE(installed.contains("com.example.running"));
  EXPECT_FALSE(installed.contains("com.vendor.deep"));
  auto result = scanFresh(places, workspace);
  EXPECT_FALSE(byID(result, "com.vendor.app")) << "its Containers belong to an installed app";
  EXPECT_FALSE(byID(result, "com.example.running"));
  EXPECT_TRUE(byID(result, "com.vendor.deep"));
  // Once the running app quits, its folder is a leftover like any other.
  workspace.setRunning("com.example.running", false);
  EXPECT_TRUE(byID(scanFresh(places, workspace), "com.example.running"));
}

TEST(LeftoverScanner, LargestFilesFrom100MBAndEachFolderWalkedOncePerScan) {
  test::HomeBuilder b;
  Locations places = b.locations();
  // Exactly 100 MB over a folder and a one-block preference file, beside one block short.
  std::string big = b.inHome("Library/Application Support/com.example.big");
  b.file(big + "/a.bin", 40 * MB);
  b.file(big + "/nested/b.bin", 30 * MB);
  b.file(big + "/c.bin", 20 * MB);
  b.file(big + "/d.bin", 4 * MB);
  b.folderOfSize(big, 100 * MB - 4096);
  ASSERT_EQ(DiskSizer::measure(b.preference("com.example.big")).bytes, 4096);
  b.file(b.inHome("Library/Application Support/com.example.small/a.bin"), 60 * MB);
  b.folderOfSize(b.inHome("Library/Application Support/com.example.small"), 100 * MB - 4096);
  // A cache the cache scan walks first, then grown: the leftover scan reuses that walk.
  std::string cache = b.cache("com.example.cached", 12 * MB);
  auto support = b.folderOfSize(b.inHome("Library/Application Support/com.example.cached"), 8192);
  SharedMeasurer measurer({});
  ASSERT_EQ(CacheScanner::scanLibraryCaches(places, false, measurer).size(), 1u);
  b.file(cache + "/later.bin", 4 * MB);

  auto result = scan(places, kNothingRuns, measurer);
  ASSERT_EQ(result.findings.size(), 3u);
  EXPECT_EQ(result.findings[0].bytes, 100 * MB);
  EXPECT_EQ(result.findings[0].largestFiles,
            (std::vector<LargestFile>{{"a.bin", 40 * MB}, {"b.bin", 30 * MB}, {"c.bin", 20 * MB}}));
  EXPECT_EQ(result.findings[1].bytes, 100 * MB - 4096);
  EXPECT_TRUE(result.findings[1].largestFiles.empty());
  EXPECT_EQ(result.findings[2].removablePaths, (Strings{support, cache}));
  EXPECT_EQ(result.findings[2].bytes, 12 * MB + 8192);
  EXPECT_EQ(scanFresh(places).findings.at(2).bytes, 16 * MB + 8192);  // walked again
}

}  // namespace
}  // namespace dw
