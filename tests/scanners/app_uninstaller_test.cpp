// The apps list against real bundles with Info.plist files in a Mac-shaped temporary root.

#include "scanners/uninstaller/app_uninstaller.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "measure/disk_sizer.h"
#include "scanners/app_bundles.h"
#include "support/home_builder.h"
#include "support/test_workspace.h"

namespace dw {
namespace {

using namespace AppUninstaller;
using test::PlistFormat;
using test::writeFile;
using test::writePlist;
using Strings = std::vector<std::string>;

std::string bundle(test::HomeBuilder& b, const std::string& path, const test::PlistEntries& info,
                   PlistFormat format = PlistFormat::xml) {
  writePlist(path + "/Contents/Info.plist", info, format);
  b.folder(path + "/Contents/MacOS");
  return path;
}

const AppRecord* named(const std::vector<AppRecord>& apps, std::string_view name) {
  for (const auto& a : apps)
    if (a.name == name) return &a;
  return nullptr;
}

TEST(AppUninstaller, ListsBundlesAndVendorFoldersOneLevelDeepWithTheirNames) {
  test::HomeBuilder b;
  Locations places = b.locations();
  std::string apps = b.inRoot("Applications");
  std::string alpha = bundle(b, apps + "/Alpha.app",
                             {{"CFBundleIdentifier", "com.example.alpha"},
                              {"CFBundleName", "Alpha"},
                              {"CFBundleDisplayName", "Alpha Display"}},
                             PlistFormat::binary);
  b.app(alpha + "/Contents/Helpers/Helper.app", "com.example.alpha.helper");  // never entered
  std::string vendorApp =
      bundle(b, apps + "/Vendor Suite/Bee.app",
             {{"CFBundleIdentifier", "com.vendor.bee"}, {"CFBundleName", "Bee Name"}});
  b.app(apps + "/Vendor Suite/Extras/Deep.app", "com.vendor.deep");  // a folder too deep
  std::string utility = b.app(apps + "/Utilities/Term.app", "io.term.app");
  std::string mine = b.app(b.inHome("Applications/Editor.app"), "net.editor.app");
  std::string safari = b.app(apps + "/Safari.app", "com.apple.Safari");
  std::string own = b.app(apps + "/Dustwhale.app", "com.dustwhale.Dustwhale");
  writeFile(apps + "/Broken.app/Contents/Info.plist", "<plist><dict><key>");
  std::string noID =
      bundle(b, apps + "/Nameless.app", {{"CFBundleName", "Has a name, no identifier"}});
  writeFile(apps + "/Notes.app", "a file, not a bundle");
  b.folder(b.inHome("Library/Caches/com.apple.Safari"));
  b.folder(b.inHome("Library/Application Support/com.dustwhale.Dustwhale"));
  b.folder(b.inHome("Library/Caches/com.example.alpha"));

  // Listing order: each folder in turn, by name within it, vendor apps where their folder is.
  Strings expected{alpha, apps + "/Broken.app", own, noID, safari, vendorApp, utility, mine};
  EXPECT_EQ(scanners::listApplicationBundles(places), expected);

  test::TestWorkspace workspace;
  workspace.setRunning("io.term.app", true);
  SharedMeasurer measurer({});
  std::vector<AppRecord> listed = listApps(places, workspace, measurer);
  ASSERT_EQ(listed.size(), expected.size());
  const AppRecord* a = named(listed, "Alpha Display");
  ASSERT_TRUE(a);
  EXPECT_EQ(a->bundleID, "com.example.alpha");
  EXPECT_EQ(a->related, Strings{b.inHome("Library/Caches/com.example.alpha")});
  struct stat s {};
  ASSERT_EQ(::lstat(alpha.c_str(), &s), 0);
  EXPECT_EQ(a->ino, s.st_ino);
  EXPECT_EQ(a->bundleBytes, DiskSizer::measure(alpha).bytes);
  EXPECT_FALSE(a->lastUsed) << "Linux records no last use of an app";
  ASSERT_TRUE(named(listed, "Bee Name"));
  const AppRecord* term = named(listed, "Term");  // no name in its Info.plist: the file name
  ASSERT_TRUE(term);
  EXPECT_TRUE(term->running);
  EXPECT_EQ(rowText(*term), kRunningRow);

  // Apple's apps and this one: no related items however many there are, and they stay.
  const AppRecord* apple = named(listed, "Safari");
  const AppRecord* self = named(listed, "Dustwhale");
  ASSERT_TRUE(apple && self);
  EXPECT_TRUE(apple->apple && !apple->own && apple->related.empty());
  EXPECT_TRUE(self->own && !self->apple && self->related.empty());
  EXPECT_EQ(rowText(*apple), kAppleRow);
  EXPECT_EQ(rowText(*self), kOwnRow);
  EXPECT_EQ(refusal(*apple, false, places), "Safari cannot be uninstalled.");
  EXPECT_EQ(refusal(*self, false, places), "Dustwhale cannot be uninstalled.");

  // Without a readable Info.plist or an identifier the bundle is still there to see: named
  // after its file (or its name), with nothing related, never running.
  const AppRecord* broken = named(listed, "Broken");
  ASSERT_TRUE(broken);
  EXPECT_TRUE(broken->bundleID.empty() && broken->related.empty() && !broken->running);
  EXPECT_EQ(rowText(*broken), "");
  ASSERT_TRUE(named(listed, "Has a name, no identifier"));

  // A vendor folder that cannot be read adds nothing; the rest is still listed.
  ASSERT_EQ(::chmod((apps + "/Vendor Suite").c_str(), 0), 0);
  auto out = b.runUnprivileged([&] {
    std::string names;
    for (const auto& path : scanners::listApplicationBundles(places))
      names += std::string(std::filesystem::path(path).filename()) + " ";
    return names;
  });
  EXPECT_EQ(out, "Alpha.app Broken.app Dustwhale.app Nameless.app Safari.app Term.app Editor.app ");
}

TEST(AppUninstaller, RelatedItemsByIdentifierOnlyMeasuredAsTheyAre) {
  test::HomeBuilder b;
  Locations places = b.locations();
  const std::string id = "com.example.foo";
  std::string app = b.app(b.inRoot("Applications/Foo.app"), id);
  auto lib = [&](const std::string& rel) { return b.inHome("Library/" + rel); };
  Strings expected{
      b.folderOfSize(lib("Application Support/" + id), 64 * 1024),
      b.folder(lib("Caches/" + id)),
      b.preference(id),
      b.folder(lib("Containers/" + id)),
      b.folder(lib("Saved Application State/" + id + ".savedState")),
      b.folder(lib("HTTPStorages/" + id)),
      b.folder(lib("WebKit/" + id)),
      b.launchAgent(id, "/Applications/Foo.app/Contents/MacOS/foo"),
  };
  // By name, by a longer identifier, or outside the eight folders: not the app's.
  b.folder(lib("Application Support/Foo"));
  b.folder(lib("Caches/Foo"));
  b.folder(lib("Caches/" + id + ".helper"));
  b.folder(lib("Group Containers/" + id));
  b.folder(lib("Logs/" + id));
  // A link out of the Library is no data of the app's.
  b.symlink(b.folder(b.inHome("Documents/Foo")), lib("WebKit/" + id + ".plist"));

  EXPECT_EQ(relatedItems(id, places), expected);
  EXPECT_TRUE(relatedItems("..", places).empty());
  EXPECT_TRUE(relatedItems("", places).empty());
  for (const auto& path : expected)
    EXPECT_TRUE(stillRelated(path, id, places)) << path;
  for (const auto& path : {lib("Application Support/Foo"), lib("Group Containers/" + id),
                           lib("WebKit/" + id + ".plist"), lib("Caches/" + id + ".helper")})
    EXPECT_FALSE(stillRelated(path, id, places)) << path;
  EXPECT_FALSE(stillRelated(expected[0], "com.example.other", places));

  // Sizes: the bundle as a tree, a folder as a tree, a file by itself; one that vanished
  // between listing and measuring counts 0.
  auto record = describe(app, places, {});
  ASSERT_TRUE(record);
  EXPECT_EQ(record->related, expected);
  std::filesystem::remove_all(expected[1]);  // the Caches folder goes
  std::vector<AppRecord> one{*record};
  SharedMeasurer measurer({});
  measure(one, measurer);
  std::int64_t sum = 0;
  for (const auto& path : expected)
    sum += DiskSizer::measure(path).bytes;
  EXPECT_EQ(one[0].relatedBytes, sum);
  EXPECT_GE(one[0].relatedBytes, 64 * 1024);
  EXPECT_EQ(one[0].bundleBytes, DiskSizer::measure(app).bytes);
  EXPECT_FALSE(stillRelated(expected[1], id, places)) << "gone";
}

TEST(AppUninstaller, DataSharedWithAnAppThatStaysIsNeverOffered) {
  test::HomeBuilder b;
  Locations places = b.locations();
  auto support = [&](const std::string& id) {
    return b.folder(b.inHome("Library/Application Support/" + id));
  };
  // Two copies of one app: neither copy's data is its alone.
  std::string notes = b.app(b.inRoot("Applications/Notes Pro.app"), "com.example.notes");
  std::string old = b.app(b.inHome("Applications/Notes Pro Old.app"), "com.example.notes");
  support("com.example.notes");
  b.preference("com.example.notes");
  // A link to a bundle is that bundle, listed once, with its data.
  std::string solo = b.app(b.inRoot("Applications/Solo.app"), "com.example.solo");
  std::string soloData = support("com.example.solo");
  b.symlink(solo, b.inHome("Applications/Solo Link.app"));
  std::string elsewhere = b.app(b.inRoot("opt/Far.app"), "com.example.far");
  b.symlink(elsewhere, b.inHome("Applications/Far.app"));
  // A borrowed or generic identifier names someone else's data.
  std::string firefox = b.app(b.inRoot("Applications/Firefox.app"), "org.mozilla.firefox");
  std::string fake = b.app(b.inRoot("Applications/Fox Helper.app"), "org.mozilla.firefox");
  support("org.mozilla.firefox");
  test::writePlist(b.inRoot("Applications/Searcher.app/Contents/Info.plist"),
                   {{"CFBundleIdentifier", "Google"}, {"CFBundleName", "Searcher"}});
  support("Google");
  // A helper inside another app carries the identifier too.
  std::string host = b.app(b.inRoot("Applications/Host.app"), "com.example.host");
  b.app(host + "/Contents/Helpers/Agent.app", "com.example.agent");
  std::string agent = b.app(b.inRoot("Applications/Agent.app"), "com.example.agent");
  support("com.example.agent");
  // An app whose identifier a process outside it runs under.
  std::string runner = b.app(b.inRoot("Applications/Runner.app"), "com.example.runner");
  support("com.example.runner");
  test::TestWorkspace workspace;
  workspace.setRunning("com.example.runner", true);

  SharedMeasurer measurer({});
  std::vector<AppRecord> listed = listApps(places, workspace, measurer);
  std::map<std::string, const AppRecord*> byPath;
  for (const AppRecord& a : listed)
    byPath[a.bundlePath] = &a;
  for (const std::string& path : {notes, old, firefox, fake, agent, runner}) {
    ASSERT_TRUE(byPath.count(path)) << path;
    EXPECT_EQ(byPath[path]->related, Strings{}) << path;
  }
  ASSERT_TRUE(byPath.count(b.inRoot("Applications/Searcher.app")));
  EXPECT_EQ(byPath[b.inRoot("Applications/Searcher.app")]->related, Strings{});
  ASSERT_TRUE(byPath.count(solo));
  EXPECT_EQ(byPath[solo]->related, Strings{soloData});
  EXPECT_EQ(byPath.count(b.inHome("Applications/Solo Link.app")), 0u) << "listed twice";
  EXPECT_EQ(std::count_if(listed.begin(), listed.end(),
                          [](const AppRecord& a) { return a.name == "Solo"; }),
            1);
  // A link to a bundle kept outside the Applications folders is that bundle, refused there.
  ASSERT_TRUE(byPath.count(elsewhere));
  EXPECT_EQ(refusal(*byPath[elsewhere], false, places), "Far is not in Applications.");
  EXPECT_TRUE(byPath[runner]->running);

  // Alone again, each has its data back; so does the link's bundle described by the link.
  std::filesystem::remove_all(old);
  std::filesystem::remove_all(fake);
  std::filesystem::remove_all(host);
  auto again = recordFor(notes, places, test::TestWorkspace{}, measurer);
  ASSERT_TRUE(again);
  EXPECT_EQ(again->related.size(), 2u);
  EXPECT_EQ(recordFor(firefox, places, test::TestWorkspace{}, measurer)->related.size(), 1u);
  EXPECT_EQ(recordFor(agent, places, test::TestWorkspace{}, measurer)->related.size(), 1u);
  auto linked = recordFor(b.inHome("Applications/Solo Link.app"), places, workspace, measurer);
  ASSERT_TRUE(linked);
  EXPECT_EQ(linked->bundlePath, solo);
  EXPECT_EQ(linked->related, Strings{soloData});

  // The reverse-domain form, and the re-check before a move holds to it too.
  for (const char* good : {"com.example.app", "io.mpv", "de.appsolute.MAMP", "org.x-y.z_2"})
    EXPECT_TRUE(hasReverseDomainForm(good)) << good;
  for (const char* bad : {"", "Google", "app", ".com.x", "com.", "com..x", "c0m.example",
                          "com.exa mple", "com/x.y", "1.2.3"})
    EXPECT_FALSE(hasReverseDomainForm(bad)) << bad;
  EXPECT_FALSE(stillRelated(support("Google"), "Google", places));
}

TEST(AppUninstaller, SortsByTotalStablyAndRefusesInOrder) {
  constexpr std::int64_t MB = 1024 * 1024;
  auto rec = [](std::string name, std::int64_t bundle, std::int64_t related) {
    AppRecord r;
    r.name = std::move(name);
    r.bundleBytes = bundle;
    r.relatedBytes = related;
    return r;
  };
  std::vector<AppRecord> apps{rec("Big", 300 * MB, 0), rec("First", 10 * MB, 0),
                              rec("Data", 50 * MB, 400 * MB), rec("Second", 5 * MB, 5 * MB)};
  sortByTotal(apps);
  Strings order;
  for (const auto& a : apps)
    order.push_back(a.name);
  EXPECT_EQ(order, (Strings{"Data", "Big", "First", "Second"}));
  EXPECT_DEATH(totalBytes(rec("Huge", INT64_MAX, 1)), "overflow");

  test::HomeBuilder b;
  Locations places = b.locations();
  std::string outside = b.app(b.inHome("Downloads/Tool.app"), "com.example.tool");
  std::string linked = b.symlink(outside, b.inRoot("Applications/Tool.app"));
  auto at = [&](const std::string& path, bool apple = false) {
    AppRecord r = rec("Tool", 0, 0);
    r.bundlePath = path;
    r.apple = apple;
    return r;
  };
  for (const auto& path : {b.inRoot("Applications/X.app"), b.inRoot("Applications/Utilities/X.app"),
                           b.inRoot("Applications/Vendor/X.app"), b.inHome("Applications/X.app")})
    EXPECT_TRUE(isInApplications(path, places)) << path;
  for (const auto& path : {outside, linked, b.inRoot("Applications"), b.inRoot("Apps/X.app"),
                           std::string("Applications/X.app")})
    EXPECT_FALSE(isInApplications(path, places)) << path;

  std::string inside = b.inRoot("Applications/Vendor/X.app");
  EXPECT_EQ(refusal(at(outside), true, places), "Tool is not in Applications.");
  EXPECT_EQ(refusal(at(linked), false, places), "Tool is not in Applications.");
  EXPECT_EQ(refusal(at(outside, true), true, places), "Tool cannot be uninstalled.");
  EXPECT_EQ(refusal(at(inside, true), true, places), "Quit Tool first, then uninstall it.");
  EXPECT_EQ(refusal(at(inside, true), false, places), "Tool cannot be uninstalled.");
  EXPECT_EQ(refusal(at(inside), false, places), std::nullopt);
}

}  // namespace
}  // namespace dw
