#include "findings/notes.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace dw {
namespace {

using enum Finding::Kind;

Finding f(Finding::Kind kind, std::string name, std::string path = "~/x", std::string note = {},
          bool removable = true) {
  return {.name = name, .path = path, .note = note, .removable = removable, .kind = kind};
}

const std::string kQuit = "Quit Chrome to clear its cache.";

// Each text with the findings that must give it.
void check(std::string (*text)(const Finding&),
           const std::vector<std::pair<std::string, std::vector<Finding>>>& rows) {
  for (const auto& [expected, findings] : rows)
    for (const Finding& x : findings)
      EXPECT_EQ(text(x), expected) << x.name << " at " << x.path << " note \"" << x.note << "\"";
}

TEST(Notes, RowTexts) {
  // The summary prefers a note saying quit, then what a cache keeps, then any note.
  check(notes::summary,
        {{kQuit, {f(cache, "Chrome", "~/Library/Caches/Google/Chrome", kQuit)}},
         {"Downloaded packages. Your projects and node_modules stay.",
          {f(cache, "npm"), f(cache, "Cache", "~/.npm/_cacache")}},
         {"Web page cache. Bookmarks, passwords and history stay.",
          {f(cache, "Chrome", "~/x", "Uses 3 profiles")}},
         {"Streaming cache. Downloaded playlists stay.", {f(cache, "Spotify")}},
         {"Message and image cache. Your workspace stays.",
          {f(cache, "x", "~/Library/Caches/com.tinyspeck.slackmacgap")}},
         {"Shared by two apps", {f(cache, "Tool", "~/x", "Shared by two apps")}},
         {"Temporary files this app can rebuild.", {f(cache, "Tool")}},
         // What-stays lines are for caches only.
         {"A large file. Nothing is selected until you choose it.", {f(file, "chrome.dmg")}},
         {"Last opened in May", {f(file, "a.iso", "~/a.iso", "Last opened in May")}},
         {"Left behind by an app that is no longer installed.", {f(leftover, "Spotify")}}});
  // A known program's folder is named after it; other "com." names are shortened, and only the
  // exact "Google" and "Homebrew" are renamed.
  for (auto [folder, shown] :
       {std::pair("Google", "Google cache"), std::pair("google", "google"),
        std::pair("Homebrew", "Homebrew downloads"), std::pair("com.example.tool", "tool"),
        std::pair("org.mozilla.firefox", "Firefox cache"),
        std::pair("com.spotify.client", "Spotify cache"),
        std::pair("com.tinyspeck.slackmacgap", "Slack cache"),
        std::pair("org.example.tool", "org.example.tool")})
    EXPECT_EQ(notes::cacheDisplayName(folder), shown);
  check(notes::badge,
        {{"Safe to clear", {f(cache, "Tool")}},
         {"Your call", {f(file, "a.iso")}},
         {"Review", {f(leftover, "Gone")}},
         {"Quit Chrome first", {f(cache, "Chrome", "~/x", "QUIT it first", false)}},
         {"Kept", {f(cache, "Chrome", "~/x", "Open", false), f(cache, "T", "~/x", "", false)}}});
}

TEST(Notes, WhySafeAndCacheExplanations) {
  auto agent = f(leftover, "Updater");
  agent.leftoverPaths = {"/home/u/x", "/home/u/Library/LaunchAgents/com.example.updater.plist"};
  check(notes::whySafe,
        {// "npm" alone is not "npm cache".
         {"The app recreates this folder when it needs it.", {f(cache, "npm"), f(cache, "Tool")}},
         {"npm downloads these packages again the next time a project needs them. Project "
          "folders stay.",
          {f(cache, "NPM Cache"), f(cache, "x", "~/.npm/_cacache")}},
         {"npx fetches these packages again when a command needs them. Project folders stay.",
          {f(cache, "x", "~/.npm/_npx")}},
         {"Gradle downloads these dependencies again on the next build. Project source stays.",
          {f(cache, "Gradle cache"), f(cache, "x", "~/.gradle/caches")}},
         {"Spotify downloads this cache again when you play something. Your library stays.",
          {f(cache, "x", "~/Library/Caches/com.spotify.client")}},
         {"Slack downloads messages and files again when you open them. Your account stays.",
          {f(cache, "Slack")}},
         {"Xcode rebuilds this the next time you build. Your projects stay.",
          {f(cache, "x", "~/Library/Developer/Xcode/DerivedData")}},
         // Broad on purpose: "search" holds "arc", "knowledge" holds "edge".
         {"This is a browser cache. Pages load again from the network. Bookmarks and passwords "
          "stay.",
          {f(cache, "Firefox"), f(cache, "search"), f(cache, "knowledge")}},
         {"This is a file you chose to review. It is not recreated automatically, and it stays "
          "until you move it.",
          {f(file, "a.iso")}},
         // Only the LaunchAgents folder itself, with its trailing slash, makes a login item.
         {"The app that created this is no longer installed. Your documents are not in this "
          "folder.",
          {f(leftover, "Gone"), f(leftover, "Gone", "~/Library/LaunchAgentsBackup/x")}},
         {"Stops Updater from starting at login. Takes effect at your next login. Your documents "
          "stay.",
          {agent, f(cache, "Updater", "~/Library/LaunchAgents/com.x.agent.plist")}}});
}

TEST(Notes, BadgeTonesLocksAndLastUsed) {
  Finding item;
  item.name = "Chrome";
  item.removable = true;
  EXPECT_EQ(notes::badgeTone(item), notes::BadgeTone::safe);
  item.kind = Finding::Kind::leftover;
  EXPECT_EQ(notes::toneName(notes::badgeTone(item)), "review");
  EXPECT_EQ(notes::lastUsedText(item), "Unknown");
  item.removable = false;
  item.note = "Quit Chrome to clear its cache.";
  EXPECT_EQ(notes::badge(item), "Quit Chrome first");
  EXPECT_FALSE(notes::showsLock(item));  // it waits for Chrome; no lock
  item.note = "Shown only. Files on the Desktop stay.";
  EXPECT_TRUE(notes::showsLock(item));
  EXPECT_EQ(notes::badgeTone(item), notes::BadgeTone::neutral);
}

}  // namespace
}  // namespace dw
