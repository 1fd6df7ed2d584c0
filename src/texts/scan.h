#pragma once
// The status texts of the main scan and of the space map: each area as it is measured, the
// scan's end, the notice of folders it could not read, when it last ran.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/core.h"
#include "texts/wording.h"

namespace dw::texts::scan {

// The areas in the order a scan announces them, in the home's words (Wording).
std::vector<std::string> areas(const Wording& wording);

inline constexpr std::string_view kStarting = "Measuring unused caches.";
inline constexpr std::string_view kStartingArea = "Starting…";
// "Measuring library caches.", "Measuring caches in ~/.cache."
std::string measuring(std::string_view area, const Wording& wording);
// The status line of a finished scan: what it found, and the folders it could not read with
// what would let it read them.
std::string finished(bool foundAny, const std::vector<std::string>& unread, const Wording& wording);
inline constexpr std::string_view kCancelled = "Scan cancelled.";
std::string failed(const Wording& wording);
// The notice above App leftovers when some leftover locations could not be listed.
std::string unreadNotice(const std::vector<std::string>& locations, const Wording& wording);
// "Scanned 5 minutes ago", or "Not scanned yet".
std::string scannedText(const std::optional<TimePoint>& lastScannedAt, TimePoint now);
// Under a page's title: while a scan runs, the area it measures ("Looking through Chrome…",
// "Starting…"); else scannedText.
std::string headerLine(const std::optional<std::string>& scanArea,
                       const std::optional<TimePoint>& lastScannedAt, TimePoint now,
                       const Wording& wording);
// "This Mac", "This computer": the volume until the system names it.
std::string volumeName(const Wording& wording);
// Recovery of the log failed at start.
std::string recoveryProblem(std::string_view what);

// The space map: "Space Map ready in 2.0 s. The map does not move anything."
std::string spaceMapReady(double seconds);
inline constexpr std::string_view kSpaceMapFailed = "Space Map could not finish. Try again.";
// Once every folder is counted whole: "Space Map sizes complete in 9.3 s. The map does not move
// anything."
std::string spaceMapComplete(double seconds);
// What the page says of its sizes: the first picture counts three levels down while the rest is
// counted, then each folder counts everything in it.
inline constexpr std::string_view kSpaceSizesCounting =
    "Counting everything in each folder… Sizes so far count three levels down.";
inline constexpr std::string_view kSpaceSizesComplete =
    "Sizes are complete: each folder counts everything in it.";
inline constexpr std::string_view kSpaceSizesPartial =
    "Sizes count three levels down; Rebuild to count everything.";

}  // namespace dw::texts::scan
