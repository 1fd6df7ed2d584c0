#include "findings/page_texts.h"

#include <gtest/gtest.h>

#include "base/time.h"
#include "findings/notes.h"
#include "platform/desktop.h"

namespace dw {
namespace {

using Kind = Finding::Kind;

TEST(PageTexts, TheUserFoldersAreNamedAsTheHomeNamesThem) {
  // A Mac says Downloads and Movies, word for word as before.
  EXPECT_EQ(pagetexts::summaryDetail(Kind::file),
            "Files over 200 MB in Downloads and Movies. Nothing here is selected until you "
            "choose it. Desktop files stay.");
  pagetexts::FolderNames linux;
  linux.movies = "Videos";
  EXPECT_EQ(pagetexts::emptyState(Kind::file, linux).detail,
            "Nothing over 200 MB turned up in Downloads or Videos. Desktop files stay.");
  pagetexts::FolderNames french{"Téléchargements", "Bureau", "Vidéos", "Musique", "Images"};
  EXPECT_EQ(pagetexts::summaryDetail(Kind::file, french),
            "Files over 200 MB in Téléchargements and Vidéos. Nothing here is selected until you "
            "choose it. Bureau files stay.");
  // Only whole words, and a folder's name is never named again: a Downloads folder called
  // "Movies" stays "Movies".
  pagetexts::FolderNames odd{"Movies", "Desktop", "Filme", "Music", "Pictures"};
  EXPECT_EQ(pagetexts::namingFolders("In Downloads, MoviesApp and Movies.", odd),
            "In Movies, MoviesApp and Filme.");
  EXPECT_EQ(pagetexts::namingFolders("Music, Pictures", french), "Musique, Images");

  // The names come from the places: a Mac's stay the English ones.
  Locations mac = Locations::macos("/", "/Users/ann");
  EXPECT_EQ(pagetexts::folderNames(mac).movies, "Movies");
  EXPECT_EQ(pagetexts::folderNames(mac).downloads, "Downloads");
}

TEST(PageTexts, SummariesFootersAndTheConfirmation) {
  EXPECT_EQ(pagetexts::footerSummary(Kind::cache, 600 * 1024, 1), "1 MB selected · 1 cache");
  EXPECT_EQ(pagetexts::footerSummary(Kind::cache, 0, 0), "0 MB selected · 0 caches");
  EXPECT_EQ(pagetexts::footerSummary(Kind::leftover, 3 * 1048576, 2),
            "3 MB selected · 2 leftovers");
  EXPECT_EQ(pagetexts::summaryTitle(Kind::file, 1073741824, 1), "1 GB in 1 file");
  EXPECT_EQ(pagetexts::summaryTitle(Kind::cache, 1073741823, 3), "1024 MB in 3 caches");
  EXPECT_EQ(pagetexts::kindWord(Kind::leftover), "app leftover");
  EXPECT_EQ(pagetexts::emptyState(Kind::file).title, "No large files in this list");
  EXPECT_EQ(pagetexts::confirmTitle(1), "Move 1 item to the Trash?");
  EXPECT_EQ(pagetexts::showAllText(40), "Show all 40 items");
  EXPECT_EQ(pagetexts::moreText(34), "34 more");
  EXPECT_EQ(pagetexts::progressText(3, 12), "3 of 12");
  EXPECT_EQ(pagetexts::unreadLeftoversNotice({"~/Library/Containers", "~/Library/WebKit"}, true),
            "Some leftover folders could not be read (~/Library/Containers, ~/Library/WebKit). "
            "Full Disk Access is required for a complete scan.");
  // A Linux home is not called a Mac, and its leftovers are Flatpak data folders.
  EXPECT_EQ(pagetexts::emptyState(Kind::cache).title,
            "Nothing to clear here — your Mac is in good shape");
  EXPECT_EQ(pagetexts::emptyState(Kind::cache, {}, true).title,
            "Nothing to clear here — your computer is in good shape");
  EXPECT_EQ(pagetexts::summaryDetail(Kind::leftover, {}, true),
            "Data folders left behind by Flatpak apps that are no longer installed. Nothing is "
            "selected until you choose it.");
  EXPECT_EQ(pagetexts::emptyState(Kind::leftover, {}, true).detail,
            "No data folders of removed Flatpak apps were found. Installed and running apps stay "
            "out of this list.");
  EXPECT_EQ(pagetexts::unreadLeftoversNotice({"~/.var/app"}, false),
            "Some leftover folders could not be read (~/.var/app). Check their permissions: your "
            "user needs to read them for a complete scan.");
}

TEST(PageTexts, BadgeTonesLocksAndLastUsed) {
  Finding f;
  f.name = "Chrome";
  f.removable = true;
  EXPECT_EQ(notes::badgeTone(f), notes::BadgeTone::safe);
  f.kind = Kind::leftover;
  EXPECT_EQ(notes::toneName(notes::badgeTone(f)), "review");
  EXPECT_EQ(notes::lastUsedText(f), "Unknown");
  f.removable = false;
  f.note = "Quit Chrome to clear its cache.";
  EXPECT_EQ(notes::badge(f), "Quit Chrome first");
  EXPECT_FALSE(notes::showsLock(f));  // it waits for Chrome; no lock
  f.note = "Shown only. Files on the Desktop stay.";
  EXPECT_TRUE(notes::showsLock(f));
  EXPECT_EQ(notes::badgeTone(f), notes::BadgeTone::neutral);
}

TEST(PageTexts, RelativeTimeInWords) {
  TimePoint now = Clock::now();
  using namespace std::chrono;
  EXPECT_EQ(timefmt::relativeText(now, now), "0 seconds ago");
  EXPECT_EQ(timefmt::relativeText(now - seconds(1), now), "1 second ago");
  EXPECT_EQ(timefmt::relativeText(now - minutes(5) - seconds(20), now), "5 minutes ago");
  EXPECT_EQ(timefmt::relativeText(now - hours(1), now), "1 hour ago");
  EXPECT_EQ(timefmt::relativeText(now - hours(50), now), "2 days ago");
  EXPECT_EQ(timefmt::relativeText(now - hours(24 * 400), now), "1 year ago");
  EXPECT_EQ(timefmt::relativeText(now + seconds(3), now), "in 3 seconds");
}

TEST(PageTexts, FullDiskAccessSettingsAreTriedInOrder) {
  std::vector<std::string> tried;
  auto opener = [&](bool opensFirst) {
    return [&tried, opensFirst](const std::string& url) {
      tried.push_back(url);
      return opensFirst && tried.size() == 1;
    };
  };
  platform::openFullDiskAccessSettings(opener(true));
  ASSERT_EQ(tried.size(), 1u);  // the first opened: the others are not tried
  EXPECT_EQ(tried[0], platform::kFullDiskAccessUrls[0]);
  tried.clear();
  platform::openFullDiskAccessSettings(opener(false));
  ASSERT_EQ(tried.size(), 3u);
  EXPECT_EQ(tried[2], "x-apple.systempreferences:com.apple.preference.security");
}

}  // namespace
}  // namespace dw
