#include "findings/notes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace dw {
namespace {

using Kind = CacheFinding::Kind;

CacheFinding finding(Kind kind, std::string name, std::string path, std::string note = {},
                     bool removable = true) {
  CacheFinding f;
  f.kind = kind;
  f.name = std::move(name);
  f.path = std::move(path);
  f.note = std::move(note);
  f.removable = removable;
  return f;
}

struct Row {
  CacheFinding finding;
  std::string expected;
};

void check(const std::vector<Row>& rows, std::string (*text)(const CacheFinding&)) {
  for (const auto& row : rows) {
    SCOPED_TRACE(row.finding.name + " at " + row.finding.path + " note \"" + row.finding.note +
                 "\"");
    EXPECT_EQ(text(row.finding), row.expected);
  }
}

const std::string kNpmStays = "Downloaded packages. Your projects and node_modules stay.";
const std::string kChromeStays = "Web page cache. Bookmarks, passwords and history stay.";
const std::string kNpmWhy =
    "npm downloads these packages again the next time a project needs them. Project folders "
    "stay.";
const std::string kBrowserWhy =
    "This is a browser cache. Pages load again from the network. Bookmarks and passwords stay.";
const std::string kAppWhy = "The app recreates this folder when it needs it.";

TEST(Notes, SummaryPrefersQuitNotesThenWhatStaysThenTheNote) {
  check(
      {
          {finding(Kind::cache, "Chrome", "~/Library/Caches/Google/Chrome",
                   "Quit Chrome to clear its cache."),
           "Quit Chrome to clear its cache."},
          {finding(Kind::cache, "Chrome", "~/Library/Caches/Google/Chrome", "QUIT it first"),
           "QUIT it first"},
          {finding(Kind::cache, "npm", "~/somewhere"), kNpmStays},
          {finding(Kind::cache, "Cache", "~/.npm/_cacache"), kNpmStays},
          {finding(Kind::cache, "Chrome", "~/x", "Uses 3 profiles"), kChromeStays},
          {finding(Kind::cache, "Spotify", "~/x"), "Streaming cache. Downloaded playlists stay."},
          {finding(Kind::cache, "x", "~/Library/Caches/com.tinyspeck.slackmacgap"),
           "Message and image cache. Your workspace stays."},
          {finding(Kind::cache, "Tool", "~/x", "Shared by two apps"), "Shared by two apps"},
          {finding(Kind::cache, "Tool", "~/x"), "Temporary files this app can rebuild."},
          // What-stays lines are for caches only.
          {finding(Kind::file, "chrome.dmg", "~/Downloads/chrome.dmg"),
           "A large file. Nothing is selected until you choose it."},
          {finding(Kind::file, "a.iso", "~/Downloads/a.iso", "Last opened in May"),
           "Last opened in May"},
          {finding(Kind::leftover, "Spotify", "~/Library/Application Support/Spotify"),
           "Left behind by an app that is no longer installed."},
      },
      notes::summary);
}

TEST(Notes, WhySafeAndCacheExplanations) {
  auto agent = finding(Kind::leftover, "Updater", "~/Library/Application Support/Updater");
  agent.leftoverPaths = {"/home/u/Library/Application Support/Updater",
                         "/home/u/Library/LaunchAgents/com.example.updater.plist"};
  check(
      {
          {finding(Kind::cache, "npm", "~/x"), kAppWhy},  // "npm" alone is not "npm cache"
          {finding(Kind::cache, "NPM Cache", "~/x"), kNpmWhy},
          {finding(Kind::cache, "x", "~/.npm/_cacache"), kNpmWhy},
          {finding(Kind::cache, "x", "~/.npm/_npx"),
           "npx fetches these packages again when a command needs them. Project folders stay."},
          {finding(Kind::cache, "Gradle cache", "~/y"),
           "Gradle downloads these dependencies again on the next build. Project source stays."},
          {finding(Kind::cache, "x", "~/.gradle/caches"),
           "Gradle downloads these dependencies again on the next build. Project source stays."},
          {finding(Kind::cache, "x", "~/Library/Caches/com.spotify.client"),
           "Spotify downloads this cache again when you play something. Your library stays."},
          {finding(Kind::cache, "Slack", "~/x"),
           "Slack downloads messages and files again when you open them. Your account stays."},
          {finding(Kind::cache, "x", "~/Library/Developer/Xcode/DerivedData"),
           "Xcode rebuilds this the next time you build. Your projects stay."},
          {finding(Kind::cache, "Firefox", "~/x"), kBrowserWhy},
          // Broad on purpose: "search" holds "arc", "knowledge" holds "edge".
          {finding(Kind::cache, "search", "~/x"), kBrowserWhy},
          {finding(Kind::cache, "knowledge", "~/x"), kBrowserWhy},
          {finding(Kind::cache, "Tool", "~/x"), kAppWhy},
          {finding(Kind::file, "a.iso", "~/Downloads/a.iso"),
           "This is a file you chose to review. It is not recreated automatically, and it stays "
           "until you move it."},
          {finding(Kind::leftover, "Gone", "~/Library/Application Support/Gone"),
           "The app that created this is no longer installed. Your documents are not in this "
           "folder."},
          {agent,
           "Stops Updater from starting at login. Takes effect at your next login. Your documents "
           "stay."},
          {finding(Kind::cache, "Agent", "~/Library/LaunchAgents/com.x.agent.plist"),
           "Stops Agent from starting at login. Takes effect at your next login. Your documents "
           "stay."},
          // Only the folder with its trailing slash counts.
          {finding(Kind::leftover, "Gone", "~/Library/LaunchAgentsBackup/x"),
           "The app that created this is no longer installed. Your documents are not in this "
           "folder."},
      },
      notes::whySafe);
}

TEST(Notes, DisplayNamesAndBadges) {
  const std::vector<std::pair<std::string, std::string>> names = {
      {"Google", "Google cache"},
      {"Homebrew", "Homebrew downloads"},
      {"com.example.tool", "tool"},
      {"com.spotify.client", "client"},
      {"google", "google"},
      {"Firefox", "Firefox"},
      {"org.mozilla.firefox", "org.mozilla.firefox"},
  };
  for (const auto& [folder, shown] : names)
    EXPECT_EQ(notes::cacheDisplayName(folder), shown);

  check(
      {
          {finding(Kind::cache, "Tool", "~/x"), "Safe to clear"},
          {finding(Kind::file, "a.iso", "~/a.iso"), "Your call"},
          {finding(Kind::leftover, "Gone", "~/g"), "Review"},
          {finding(Kind::cache, "Chrome", "~/x", "Quit Chrome to clear its cache.", false),
           "Quit Chrome first"},
          {finding(Kind::cache, "Chrome", "~/x", "Chrome is open", false), "Kept"},
          {finding(Kind::cache, "Tool", "~/x", "", false), "Kept"},
      },
      notes::badge);
}

}  // namespace
}  // namespace dw
