#pragma once
// The texts of a share, where extra copies use their kept copy's blocks instead of moving to the
// Trash, the same for the command line and the app: the question with its size line and its two
// reassurances, which copies stay as they are and why, the command line's review, the footer's
// estimate, and the outcome.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "clearing/sharing.h"
#include "texts/wording.h"

namespace dw::texts::sharing {

// "Share 3 copies with their kept copies?"
std::string question(std::int64_t copies);
// Beside the question: "About 40 MB back".
std::string questionSize(std::int64_t freeable);
inline constexpr std::string_view kButton = "Share copies";
// The question's two reassurances, in place of a move's.
inline constexpr std::string_view kStayLine =
    "Every file stays where it is, with its name, date and permissions.";
// "The space comes back at once. Nothing goes to the Trash."; where a share clones (a Mac), that
// the replaced files go to the Trash.
std::string_view spaceLine(const Wording& wording);
// What the question lists beside each copy that will share, with what it gives back.
inline constexpr std::string_view kKindWord = "shared copy";
// "2 other copies stay as they are: on another file system than the kept copy." or "".
std::string staysLine(const Sharing::Plan& plan);
// "Sharing can free about 40 MB. Every file stays where it is." or "Nothing can be shared."
std::string planSummary(const Sharing::Plan& plan);
// The Duplicates page's footer, after a move's words: "Sharing frees about 40 MB at once."
std::string footerText(const Sharing::Plan& plan);

// The command line's review before it asks, paths as given (the caller makes them safe to print):
// "To share: 2 copies · about 40 MB can come back at once" (when some will), then per group
// "  keep   <kept>" and each copy's "  share  <path>" (with " (with <source>)" where it shares
// another copy's blocks) or "  stays  <path> (<reason>)".
std::vector<std::string> review(const Sharing::Plan& plan);

// The status line while a share runs, or why it does not start.
inline constexpr std::string_view kSharing = "Sharing extra copies with their kept copies.";
inline constexpr std::string_view kNoCopiesSelected =
    "Select extra copies to share first. One copy of each file stays.";
// The status line a share ends with.
std::string message(const Sharing::Outcome& outcome);

}  // namespace dw::texts::sharing
