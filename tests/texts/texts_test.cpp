// The core's texts where they are put together: counts and plurals, the home's own folder
// names, the words of a Linux home, and the status line every kind of move ends with.

#include <gtest/gtest.h>

#include "findings/size_text.h"
#include "texts/apps.h"
#include "texts/cleared.h"
#include "texts/duplicates.h"
#include "texts/lists.h"
#include "texts/moves.h"
#include "texts/scan.h"
#include "texts/sharing.h"

namespace dw::texts {
namespace {

using Kind = Finding::Kind;
constexpr std::int64_t kMiB = 1 << 20;

Wording linuxWording() {
  return Wording::of(Locations::linux("/", "/home/ann"));
}

TEST(Texts, TheUserFoldersAreNamedAsTheHomeNamesThem) {
  Wording mac = Wording::of(Locations::macos("/", "/Users/ann"));
  EXPECT_EQ(mac.folders.movies, "Movies");
  EXPECT_EQ(summaryDetail(Kind::file, mac),
            "Files over 200 MB in Downloads and Movies. Nothing here is selected until you "
            "choose it. Desktop files stay.");
  Wording french = mac;
  french.folders = {"Téléchargements", "Bureau", "Vidéos", "Musique", "Images"};
  EXPECT_EQ(emptyState(Kind::file, french).detail,
            "Nothing over 200 MB turned up in Téléchargements or Vidéos. Bureau files stay.");
  EXPECT_EQ(emptyState(Kind::cache, french).detail,
            "No unused caches met the size threshold. Documents, Bureau, and projects stay "
            "untouched.");
  EXPECT_TRUE(duplicates::summaryDetail(french).starts_with(
      "Extra copies in Téléchargements, Vidéos, Musique, and Images. A copy in Images, Musique or "
      "Vidéos stays before one in Téléchargements, the oldest first, unless you pick another."));
  // The copy kept by default says where it is.
  using Scope = DuplicateScanner::Scope;
  EXPECT_EQ(duplicates::keptByDefault(Scope::pictures, mac),
            "The copy in Pictures stays unless you pick another.");
  EXPECT_EQ(duplicates::keptByDefault(Scope::movies, french),
            "The copy in Vidéos stays unless you pick another.");
  EXPECT_EQ(duplicates::keptByDefault(Scope::downloads, mac),
            "The copy in Downloads stays unless you pick another.");
  // A sparse file says both its length and what it takes on disk; a file that takes what it
  // holds says one size.
  EXPECT_EQ(sizeOnDiskText(8LL << 30, 0), "8 GB, 0 MB on disk");
  EXPECT_EQ(sizeOnDiskText(300'000'000, 300'003'328), "286 MB");
  EXPECT_EQ(sizeOnDiskText(0, 5 * kMiB), "5 MB");

  // Put Back All says one summary: what went back, and each item that stayed with its reason.
  ClearedLog::PutBackAllOutcome all;
  EXPECT_EQ(cleared::putBackAll(all), "Nothing of this clear is in the Trash.");
  ClearedLog::Entry photo, film;
  photo.name = "photo.jpg";
  film.name = "film.mov";
  all.putBack = {photo};
  EXPECT_EQ(cleared::putBackAll(all), "photo.jpg was put back.");
  all.putBack = {photo, film};
  all.bytes = 3 * kMiB;
  all.stayed = {{photo, "Something already exists at the original location."}};
  EXPECT_EQ(cleared::putBackAll(all),
            "2 items were put back (3 MB). 1 item stayed in the Trash: photo.jpg: Something "
            "already exists at the original location.");
  // A refusal that names its item is not named twice.
  all.stayed = {{photo,
                 "photo.jpg was not put back: something already exists at its original "
                 "location."}};
  EXPECT_EQ(cleared::putBackAll(all),
            "2 items were put back (3 MB). 1 item stayed in the Trash: photo.jpg was not put "
            "back: something already exists at its original location.");
  // Only whole words, and a folder's name is never named again: a Downloads folder called
  // "Movies" stays "Movies".
  FolderNames odd{"Movies", "Desktop", "Filme", "Music", "Pictures"};
  EXPECT_EQ(namingFolders("In Downloads, MoviesApp and Movies.", odd),
            "In Movies, MoviesApp and Filme.");
}

TEST(Texts, ALinuxHomeIsNotAMacAndItsLeftoversAreFlatpakData) {
  Wording mac = Wording::of(Locations::macos("/", "/Users/ann"));
  Wording linux = linuxWording();
  EXPECT_EQ(emptyState(Kind::cache, mac).title,
            "Nothing to clear here — your Mac is in good shape");
  EXPECT_EQ(emptyState(Kind::cache, linux).title,
            "Nothing to clear here — your computer is in good shape");
  EXPECT_EQ(scan::volumeName(linux), "This computer");
  EXPECT_EQ(emptyState(Kind::leftover, linux).detail,
            "No data folders of removed Flatpak apps were found. Installed and running apps stay "
            "out of this list.");
  EXPECT_NE(summaryDetail(Kind::leftover, linux), summaryDetail(Kind::leftover, mac));
  EXPECT_NE(apps::detail(linux), apps::detail(mac));
  EXPECT_NE(apps::noneFound(linux), apps::noneFound(mac));
  // No APFS there: copies that may share storage are said in general words.
  EXPECT_EQ(duplicates::extraWhySafe(linux),
            "This matches another file byte for byte. Savings are up to the size shown, because "
            "copies may share storage.");
  EXPECT_EQ(duplicates::summaryDetail(linux).find("APFS"), std::string::npos);
  // What a system without a Full Disk Access setting says of a folder it could not read.
  linux.fullDiskAccessSetting = false;
  EXPECT_EQ(scan::unreadNotice({"~/.var/app"}, linux),
            "Some leftover folders could not be read (~/.var/app). Check their permissions: your "
            "user needs to read them for a complete scan.");
  EXPECT_EQ(scan::finished(false, {"~/.var/app"}, linux),
            "No large unused caches. Documents and builds were not scanned for deletion. Could "
            "not read ~/.var/app. Check their permissions for a complete leftovers scan.");
  mac.fullDiskAccessSetting = true;
  EXPECT_EQ(scan::unreadNotice({"~/Library/Containers", "~/Library/WebKit"}, mac),
            "Some leftover folders could not be read (~/Library/Containers, ~/Library/WebKit). "
            "Full Disk Access is required for a complete scan.");
  EXPECT_EQ(duplicates::skippedHeading(mac), "Skipped: protected by macOS");
  EXPECT_EQ(duplicates::skippedHeading(linux), "Skipped: not allowed to read");
}

TEST(Texts, CountsSizesAndTheQuestion) {
  EXPECT_EQ(footerSummary(Kind::cache, 600 * 1024, 1), "1 MB selected · 1 cache");
  EXPECT_EQ(footerSummary(Kind::leftover, 3 * kMiB, 2), "3 MB selected · 2 leftovers");
  EXPECT_EQ(summaryTitle(Kind::cache, 1073741823, 3), "1024 MB in 3 caches");
  EXPECT_EQ(sectionDetail(12, 12), "Largest first");
  EXPECT_EQ(sectionDetail(3, 12), "3 of 12 match the search");
  EXPECT_EQ(confirmTitle(1), "Move 1 item to the Trash?");
  EXPECT_EQ(uninstallTitle("Foo", 0), "Move Foo to the Trash?");
  EXPECT_EQ(uninstallTitle("Foo", 3), "Move Foo and 3 related items to the Trash?");
  EXPECT_EQ(progressLine(0, 12, ""), "0 of 12");
  EXPECT_EQ(progressLine(3, 12, "npm"), "3 of 12 · npm");
  EXPECT_EQ(duplicates::summaryTitle(7 * kMiB, 2), "Up to 7 MB in 2 duplicate groups");
  EXPECT_EQ(duplicates::groupTitle(3, 2 * kMiB), "3 identical copies · 2 MB each");
  EXPECT_EQ(duplicates::footerSummary(0, 0), "Up to 0 MB selected · 0 copies");
  EXPECT_EQ(duplicates::progressLine(duplicates::kLooking), "Looking for duplicates…");
  EXPECT_EQ(duplicates::progressLine("Hashing duplicates"),
            "Looking for duplicates… Hashing duplicates");
  EXPECT_EQ(cleared::groupHeader("Today, 09:30", 2, 3 * kMiB), "Today, 09:30 · 2 items · 3 MB");
  EXPECT_EQ(cleared::rowStatus(ClearedLog::Status::inTrash, ""), "");  // a Put Back button
  EXPECT_EQ(cleared::statusText(ClearedLog::Status::inTrash, ""), "In the Trash");
  EXPECT_EQ(cleared::rowStatus(ClearedLog::Status::putBack, "09:31"), "Put back 09:31");
  EXPECT_EQ(cleared::rowStatus(ClearedLog::Status::putBackByHand, ""),
            "In the Trash; put back by hand");
  EXPECT_EQ(cleared::statusText(ClearedLog::Status::shared, ""), "Shared in place");
  EXPECT_EQ(apps::lastUsedLine(""), "Last used —");
  TimePoint now = Clock::now();
  const Wording macWords = Wording::of(Locations::macos("/", "/Users/ann"));
  EXPECT_EQ(scan::headerLine(std::string("Chrome"), std::nullopt, now, macWords),
            "Looking through Chrome…");
  EXPECT_EQ(scan::headerLine(std::string("Starting…"), std::nullopt, now, macWords), "Starting…");
  EXPECT_EQ(scan::headerLine(std::nullopt, std::nullopt, now, macWords), "Not scanned yet");
  Locations mac = Locations::macos("/", "/Users/ann");
  EXPECT_EQ(apps::itemName("/Users/ann/Library/Caches/com.example.foo", mac),
            "Caches/com.example.foo");
  EXPECT_EQ(apps::itemName("/Applications/Foo.app", mac), "Foo.app");
  EXPECT_EQ(apps::itemName("/home/ann/.local/share/applications/viewer.desktop",
                           Locations::linux("/", "/home/ann")),
            "viewer.desktop");
  EXPECT_EQ(apps::itemPlace("/Users/ann/Library/Caches/com.example.foo", mac), "~/Library/Caches");
}

TEST(Texts, EveryMoveEndsWithOneStatusLine) {
  const Wording mac = Wording::of(Locations::macos("/", "/Users/ann"));
  Clearing::Outcome none;
  EXPECT_EQ(clearMessage(none, mac), "Nothing was moved to the Trash.");
  none.stopped = true;
  EXPECT_EQ(clearMessage(none, mac), "Clearing stopped. Nothing was moved to the Trash.");

  // Stopped, with a note and a failure, in that order.
  Clearing::Outcome some;
  some.movedBytes = 250 * kMiB;
  some.entries.resize(1);
  some.stopped = true;
  some.notes = {"vanished: 3 of 5 items moved (2 no longer allowed)"};
  some.failures = {{"gone", "No such file or directory"}, {"Chrome", "Chrome is open"}};
  EXPECT_EQ(clearMessage(some, mac),
            "250 MB moved to the Trash. Empty the Trash to get the space back. Clearing stopped "
            "after the current item. vanished: 3 of 5 items moved (2 no longer allowed). Some "
            "items stayed in place: gone (No such file or directory), Chrome (Chrome is open). "
            "See Recently Cleared to put items back while they are still in the Trash.");
  EXPECT_EQ(logProblem("Is a directory"),
            " Recently Cleared could not be updated (Is a directory); the moved items are in the "
            "Trash.");

  // Extra copies: "Up to", and the storage they may share named per layout.
  Clearing::Outcome copies;
  copies.movedBytes = kMiB;
  copies.entries.resize(1);
  EXPECT_EQ(copiesMessage(copies, mac),
            "Up to 1 MB moved to the Trash. Empty the Trash to get the space back. Copies on APFS "
            "may free less.");
  EXPECT_TRUE(
      copiesMessage(copies, linuxWording()).ends_with(" Copies that share storage may free less."));
  copies.failures = {{"song.mp3", "Permission denied"}, {"song.mp3", "no longer allowed"}};
  EXPECT_EQ(copiesMessage(copies, mac),
            "Some copies stayed in place: song.mp3 (Permission denied), song.mp3 (no longer "
            "allowed). Up to 1 MB moved to the Trash. Empty the Trash to get the space back.");
  EXPECT_EQ(copiesMessage(Clearing::Outcome{}, mac), "Nothing was moved to the Trash.");

  // An uninstall joins what stayed with "; ", and a sentence of its own ends the list.
  Clearing::UninstallOutcome app;
  app.stopped = true;
  EXPECT_EQ(uninstallMessage(app, mac), "Clearing stopped. Nothing was moved to the Trash.");
  app.moves.entries.resize(1);
  app.moves.movedBytes = 2 * kMiB;
  EXPECT_EQ(uninstallMessage(app, mac),
            "2 MB moved to the Trash. Empty the Trash to get the space back. Clearing stopped "
            "after the current item.");
  app.stopped = false;
  app.stayed = {"x.savedState (no longer allowed)", "Foo needs an administrator. Show in Folder."};
  EXPECT_EQ(uninstallMessage(app, mac),
            "Some items stayed in place: x.savedState (no longer allowed); Foo needs an "
            "administrator. Show in Folder. 2 MB moved to the Trash. Empty the Trash to get the "
            "space back.");
}

TEST(Texts, ALinuxHomeNamesTheFileManagersEmptyTrashAndItsOwnScanAreas) {
  const Wording mac = Wording::of(Locations::macos("/", "/Users/ann"));
  const Wording linux = linuxWording();
  Clearing::Outcome moved;
  moved.movedBytes = 3 * kMiB;
  moved.entries.resize(1);
  EXPECT_EQ(clearMessage(moved, linux),
            "3 MB moved to the Trash. Choose Empty Trash in the file manager to get the space "
            "back. See Recently Cleared to put items back while they are still in the Trash.");
  EXPECT_EQ(copiesMessage(moved, linux),
            "Up to 3 MB moved to the Trash. Choose Empty Trash in the file manager to get the "
            "space back. Copies that share storage may free less.");
  Clearing::UninstallOutcome app;
  app.moves = moved;
  EXPECT_EQ(uninstallMessage(app, linux),
            "3 MB moved to the Trash. Choose Empty Trash in the file manager to get the space "
            "back.");
  EXPECT_EQ(questionWords(MoveKind::toTrash, linux).emptyLine,
            "Space comes back when you choose Empty Trash in the file manager. We never empty it "
            "for you.");
  EXPECT_EQ(questionWords(MoveKind::toTrash, mac).emptyLine,
            "Space comes back when you empty the Trash. We never empty it for you.");
  EXPECT_EQ(cleared::emptyLine(linux),
            "Choose Empty Trash in the file manager to get the space back. Changed your mind? Put "
            "anything back below.");
  EXPECT_EQ(cleared::emptyLine(mac),
            "Empty the Trash to get the space back. Changed your mind? Put anything back below.");
  EXPECT_EQ(mac.showTrashTitle, "Open Trash");
  EXPECT_EQ(linux.showTrashTitle, "Show Trash");

  // The areas of a scan: the Mac's as they always were, lower-cased whole in the status line; a
  // Linux home's as a Linux user has them, product names with their own capitals.
  std::vector<std::string> said;
  for (const std::string& area : scan::areas(mac))
    said.push_back(area + " | " + scan::measuring(area, mac));
  EXPECT_EQ(said, (std::vector<std::string>{
                      "Library caches | Measuring library caches.",
                      "npm and Gradle | Measuring npm and gradle.", "Chrome | Measuring chrome.",
                      "Large files | Measuring large files.", "Leftovers | Measuring leftovers."}));
  said.clear();
  for (const std::string& area : scan::areas(linux))
    said.push_back(area + " | " + scan::measuring(area, linux));
  EXPECT_EQ(said, (std::vector<std::string>{"caches in ~/.cache | Measuring caches in ~/.cache.",
                                            "tool and app caches | Measuring tool and app caches.",
                                            "Chrome and Chromium | Measuring Chrome and Chromium.",
                                            "large files | Measuring large files.",
                                            "Flatpak leftovers | Measuring Flatpak leftovers."}));
  EXPECT_EQ(scan::headerLine(scan::areas(linux)[0], std::nullopt, Clock::now(), linux),
            "Looking through caches in ~/.cache…");
  // Mid-sentence the Mac's list areas are common nouns; a Linux area is said as written.
  EXPECT_EQ(scan::headerLine(std::string("Leftovers"), std::nullopt, Clock::now(), mac),
            "Looking through leftovers…");
  EXPECT_EQ(scan::headerLine(scan::areas(linux)[4], std::nullopt, Clock::now(), linux),
            "Looking through Flatpak leftovers…");
  // A cache folder of its own (XDG_CACHE_HOME) is named where it is.
  Locations moved_cache = Locations::linux("/", "/home/ann");
  moved_cache.cacheHome = "/home/ann/.local/cache";
  EXPECT_EQ(Wording::of(moved_cache).cachesArea, "caches in ~/.local/cache");

  // What another program's Restore left: put back, with no time of ours.
  EXPECT_EQ(cleared::statusText(ClearedLog::Status::putBack, ""), "Already put back");
  EXPECT_EQ(cleared::statusText(ClearedLog::Status::putBack, "14:05"), "Put back 14:05");
}

TEST(Texts, TheCommandLineListsWhatWouldMove) {
  std::vector<MoveItem> findings{{"big", "/c/big", 50 * kMiB, "cache", {}},
                                 {"gone", "leftover:x", 3 * kMiB, "app leftover", {}}};
  EXPECT_EQ(toMoveFindings(findings, 53 * kMiB),
            (std::vector<std::string>{"To move to the Trash: 2 items · 53 MB",
                                      "  big · 50 MB · cache", "  gone · 3 MB · app leftover"}));
  // Copies group by group, each kept copy named before its group's copies.
  std::vector<MoveItem> copies{{"a", "/d/a", kMiB, "extra copy", "/k/a"},
                               {"a", "/m/a", kMiB, "extra copy", "/k/a"},
                               {"b", "/d/b", kMiB, "extra copy", "/k/b"}};
  EXPECT_EQ(
      toMoveCopies(copies, 3 * kMiB),
      (std::vector<std::string>{"To move to the Trash: 3 copies · 3 MB", "  keep  /k/a",
                                "  move  /d/a", "  move  /m/a", "  keep  /k/b", "  move  /d/b"}));
  // An app by its name, then its bundle and each item by path; an item never measured reads 0.
  std::vector<MoveItem> app{{"Foo", "/Applications/Foo.app", kMiB, "app", {}},
                            {"Caches/foo", "/h/Library/Caches/foo", std::nullopt, "app data", {}}};
  EXPECT_EQ(toMoveApp(app, kMiB), (std::vector<std::string>{"To move to the Trash: Foo · 1 MB",
                                                            "  /Applications/Foo.app · 1 MB",
                                                            "  /h/Library/Caches/foo · 0 MB"}));
}

TEST(Texts, AShareIsAMoveOfItsOwnKind) {
  // The question's words: a move's, or a share's, which moves nothing.
  const Wording linux = linuxWording();
  QuestionWords move = questionWords(MoveKind::toTrash, linux);
  EXPECT_EQ(move.action, "Move to Trash");
  EXPECT_EQ(move.symbol, "trash");
  EXPECT_EQ(move.answeredNo, "Nothing was moved to the Trash.");
  QuestionWords share = questionWords(MoveKind::share, linux);
  EXPECT_EQ(share.action, "Share copies");
  EXPECT_EQ(share.symbol, "square.on.square");
  EXPECT_EQ(share.putBackLine,
            "Every file stays where it is, with its name, date and permissions.");
  EXPECT_EQ(share.emptyLine, "The space comes back at once. Nothing goes to the Trash.");
  EXPECT_EQ(share.dryRun, "Dry run: nothing was shared.");
  Wording cloning = linux;
  cloning.sharesByCloning = true;
  EXPECT_EQ(questionWords(MoveKind::share, cloning).emptyLine,
            "Each copy becomes a clone; the file it replaces goes to the Trash.");
  EXPECT_EQ(questionSize(MoveKind::toTrash, 40 * kMiB), "40 MB");
  EXPECT_EQ(questionSize(MoveKind::share, 40 * kMiB), "About 40 MB back");
  EXPECT_EQ(sharing::question(1), "Share 1 copy with its kept copy?");
  EXPECT_EQ(sharing::question(3), "Share 3 copies with their kept copies?");

  // What stays and why, each reason once; the review group by group, kept copy first.
  Sharing::Plan plan;
  plan.copies = {{{"/d/a", kMiB, "h", "/k/a", {}, {}}, "/k/a", kMiB, ""},
                 {{"/x/a", kMiB, "h", "/k/a", {}, {}}, "/x/b", kMiB, ""},
                 {{"/d/c", kMiB, "i", "/k/c", {}, {}}, "/k/c", 0, std::string(Sharing::kChanged)},
                 {{"/e/c", kMiB, "i", "/k/c", {}, {}}, "/k/c", 0, std::string(Sharing::kChanged)}};
  plan.sharing = 2;
  plan.freeable = 2 * kMiB;
  EXPECT_EQ(sharing::staysLine(plan), "2 other copies stay as they are: changed since the search.");
  EXPECT_EQ(sharing::review(plan),
            (std::vector<std::string>{"To share: 2 copies · about 2 MB can come back at once",
                                      "  keep   /k/a", "  share  /d/a", "  share  /x/a (with /x/b)",
                                      "  keep   /k/c", "  stays  /d/c (changed since the search)",
                                      "  stays  /e/c (changed since the search)"}));
  EXPECT_EQ(duplicates::footerDetail(std::nullopt),
            "Goes to the Trash. You can put anything back.");
  EXPECT_EQ(duplicates::footerDetail(plan),
            "Goes to the Trash. You can put anything back. Sharing frees about 2 MB at once.");

  // Recently Cleared: a share's card counts its shared copies and what came back; there is
  // nothing to put back.
  ClearedLog::Entry shared;
  shared.kind = std::string(ClearedLog::kShareKind);
  shared.shared = {{"/d/a", "/k/a"}, {"/x/a", "/x/b"}};
  ClearedLog::Entry moved;
  moved.kind = "cache";
  EXPECT_EQ(cleared::cardHeader("Today, 09:30", {shared}, 6 * kMiB),
            "Today, 09:30 · 2 shared copies · 6 MB freed");
  EXPECT_EQ(cleared::cardHeader("Today, 09:30", {shared, moved}, 6 * kMiB),
            "Today, 09:30 · 2 items · 6 MB");
  EXPECT_EQ(cleared::shareNote({moved}), "");
  EXPECT_EQ(cleared::shareNote({moved, shared}),
            "Shared copies stay where they are: there is nothing to put back.");
}

}  // namespace
}  // namespace dw::texts
