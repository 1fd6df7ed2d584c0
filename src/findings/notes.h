#pragma once
// Texts derived from one finding alone: the row's summary line, the "Why it's safe" text and
// the helpers they are built from.

#include <optional>
#include <string>
#include <string_view>

#include "findings/cache_finding.h"

namespace dw::notes {

bool isLoginItem(const CacheFinding& finding);
bool isDeveloperTools(const CacheFinding& finding);
bool isBrowser(const CacheFinding& finding);

// What a cache keeps when it is cleared ("Web page cache. Bookmarks, ... stay."), if known.
std::optional<std::string> whatStays(const CacheFinding& finding);
std::string summary(const CacheFinding& finding);
std::string cacheExplanation(const CacheFinding& finding);
std::string whySafe(const CacheFinding& finding);

// The name shown for a folder in ~/Library/Caches, from its last path component.
std::string cacheDisplayName(std::string_view folderName);

// The row's badge: "Safe to clear", "Your call", "Review", "Quit <name> first" or "Kept".
std::string badge(const CacheFinding& finding);

// True when the note tells the user to quit an app first.
bool noteSaysQuit(std::string_view note);

}  // namespace dw::notes
