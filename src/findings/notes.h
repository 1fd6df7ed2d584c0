#pragma once
// Texts derived from one finding alone: the row's summary line, the "Why it's safe" text and
// the helpers they are built from.

#include <optional>
#include <string>
#include <string_view>

#include "findings/finding.h"

namespace dw::notes {

bool isLoginItem(const Finding& finding);
bool isDeveloperTools(const Finding& finding);
bool isBrowser(const Finding& finding);
// A leftover that is a Flatpak app's data folder (~/.var/app/<id>): all the app kept.
bool isFlatpakData(const Finding& finding);
// A leftover's largest files, "brushes.db (46 MB), mail.db (12 MB)"; "" when none are known.
std::string largestFilesText(const Finding& finding);

// What a cache keeps when it is cleared ("Web page cache. Bookmarks, ... stay."), if known.
std::optional<std::string> whatStays(const Finding& finding);
std::string summary(const Finding& finding);
std::string cacheExplanation(const Finding& finding);
std::string whySafe(const Finding& finding);

// The name shown for a folder in ~/Library/Caches, from its last path component.
std::string cacheDisplayName(std::string_view folderName);
// The name shown for a cache in a Linux home's ~/.cache, from its path below that folder
// ("mozilla", "pypoetry/cache"): the name its users know it by, else the Mac rule above.
std::string linuxCacheDisplayName(std::string_view relativePath);

// The row's badge: "Safe to clear", "Your call", "Review", "In use" (removable, but its note
// asks to quit a program first), "Quit <name> first" or "Kept".
std::string badge(const Finding& finding);

// The badge's tone: a cache that can go is safe, a file or leftover the user should look at is
// for review, and an item that stays is neutral.
enum class BadgeTone { safe, review, neutral };
BadgeTone badgeTone(const Finding& finding);
std::string_view toneName(BadgeTone tone);
// An item that stays shows a lock instead of a selection control, unless it only waits for an
// app to quit (its badge says so).
bool showsLock(const Finding& finding);
// The "Last used" line: the newest modification date, or "Unknown".
std::string lastUsedText(const Finding& finding);

// True when the note tells the user to quit an app first.
bool noteSaysQuit(std::string_view note);

}  // namespace dw::notes
