#pragma once
// The texts of the duplicate search: the Duplicates page (its summary, each copy's note and
// badge, the group titles, the footer, the empty state, the progress and the skipped folders)
// and the search's status lines.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "clearing/sharing.h"
#include "scanners/duplicates/duplicate_types.h"
#include "texts/lists.h"
#include "texts/wording.h"

namespace dw::texts::duplicates {

// "Up to 7 MB in 2 duplicate groups"
std::string summaryTitle(std::int64_t extraBytes, std::int64_t groups);
std::string summaryDetail(const Wording& wording);
// "2 duplicate groups"
std::string sectionTitle(std::int64_t groups);
inline constexpr std::string_view kSectionDetail = "Most space first";
// "3 identical copies · 2 MB each"
std::string groupTitle(std::int64_t files, std::int64_t bytesEach);
// A copy as its row and the question name it: its file name, and where another file of its
// group has the same name, the folder it is in ("film.mov · ~/Downloads/old"), so choosing
// which copy stays is an informed choice.
std::string copyName(const DuplicateScanner::Group& group, const std::string& path,
                     const std::string& home);

// A copy's row: the kept copy (the one kept by default, or the one the user picked) or an extra
// copy. The default one says its folder (a DuplicateScanner::Scope member, 0 for none): "The copy
// in Pictures stays unless you pick another."
std::string keptByDefault(std::int64_t folder, const Wording& wording);
inline constexpr std::string_view kKeptPicked = "One copy stays so you still have the file.";
inline constexpr std::string_view kExtraNote =
    "Extra copy. Moving it to the Trash leaves one copy in place.";
std::string extraWhySafe(const Wording& wording);
std::string_view badge(bool kept);
std::string_view badgeTone(bool kept);
inline constexpr std::string_view kKeepInstead = "Keep this copy instead";
// A copy whose date the system does not give.
inline constexpr std::string_view kUnknownDate = "Unknown";

// "Up to 7 MB selected · 3 copies"
std::string footerSummary(std::int64_t bytes, std::int64_t copies);
inline constexpr std::string_view kFooterDetail = texts::kFooterDetail;
// kFooterDetail, and where the selection could share instead, what sharing it frees: "Goes to
// the Trash. You can put anything back. Sharing frees about 40 MB at once."
std::string footerDetail(const std::optional<Sharing::Plan>& share);
EmptyState emptyState();

// The search button, and the line under it while the search runs ("Looking for duplicates…
// Hashing duplicates").
std::string_view findButton(bool searching);
inline constexpr std::string_view kLooking = "Looking for duplicates…";
std::string progressLine(std::string_view progress);
// Over the folders the search could not read.
std::string_view skippedHeading(const Wording& wording);

// The search's status lines.
inline constexpr std::string_view kNoneFound = "No duplicates found in the chosen folders.";
// "Up to 250 MB in extra copies. At least one copy of each file stays."
std::string found(std::int64_t extraBytes);
inline constexpr std::string_view kCancelled = "Duplicate scan cancelled.";
inline constexpr std::string_view kFailed = "Duplicate scan could not finish. Try again.";

}  // namespace dw::texts::duplicates
