#pragma once
// What Overview shows: how the home volume divides, one card per kind of finding, and the way to
// review.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "findings/finding.h"
#include "measure/volume_picture.h"
#include "texts/wording.h"

namespace dw::texts::overview {

// The five amounts of the storage bar. ready counts what the clean lists offer to move and a
// careful user would move (caches and leftovers that may go); large files are the user's call
// and stay in used. held is what the system frees by itself, never invented: 0 where the
// system reports none. used is the rest of what is taken.
struct StorageAmounts {
  std::int64_t total = 0, used = 0, ready = 0, held = 0, free = 0;
  // Held space is a part of the picture only where the system reports it (macOS); on Linux the
  // summary, the legend and the explanation leave it out rather than show an invented 0.
  bool heldShown = false;
};
StorageAmounts storageAmounts(const VolumePicture& volume, const std::vector<Finding>& findings);

// "120 GB used, 2 GB ready to clear, 0 MB held by macOS, 300 GB free"; without the held
// clause ("120 GB used, 2 GB ready to clear, 300 GB free") where it is not shown.
std::string storageSummary(const StorageAmounts& amounts);
inline constexpr const char* kHeldExplanation =
    "macOS frees \"held\" space on its own when it needs room. We show it, but never count it "
    "as ours.";
// kHeldExplanation where held space is shown, else "".
std::string storageExplanation(const StorageAmounts& amounts);
// "500 GB total"
std::string totalText(const StorageAmounts& amounts);
// The bar's segments in order with their legend labels: used "Your files and apps", ready
// "Ready to clear", held "Held by macOS" (where shown) and free "Free".
struct Segment {
  std::string part, label;
  bool operator==(const Segment&) const = default;
};
std::vector<Segment> storageLegend(const StorageAmounts& amounts);

// The duplicate search's result as its card counts it, once a search has run.
struct ExtraCopies {
  std::int64_t files = 0;  // copies beyond the first of each group
  std::int64_t bytes = 0;
};
struct Card {
  std::string title, symbol, value, detail, badge, badgeKind, page;
};
// Said in place of a figure no scan has measured yet.
inline constexpr const char* kMeasuring = "Measuring…";

// The four cards in order: Caches, App leftovers, Duplicates, Large files. scanning (the main
// scan) gives the three lists their "Looking …" line, and until a first scan has measured them
// (measured false) their values are kMeasuring; the duplicates card looks for copies only while
// the duplicate search runs (searchingCopies), which the main scan never does.
std::vector<Card> cards(const std::vector<Finding>& findings, bool scanning,
                        const std::optional<ExtraCopies>& copies, const Wording& wording,
                        bool searchingCopies = false, bool measured = true);

// "Ready to clear 2 GB"
std::string readyHeading(std::int64_t ready);
// The heading until a first scan has measured what is ready.
inline constexpr const char* kReadyMeasuring = "Measuring what is ready to clear…";
inline constexpr const char* kReadyLine =
    "Caches, leftovers from deleted apps, and extra copies. Each one is shown with its proof "
    "before anything moves.";
// "Review 2 GB"
std::string reviewButton(std::int64_t ready);

// Where the ready amount lies, page by page, in the sidebar's order: the Caches page
// ("review") and App leftovers ("leftovers"), each with its part of what storageAmounts counts
// as ready and its line in Review's choice ("Caches · 40 MB"); a page with nothing ready is left
// out. Review opens the one page, or offers each of them.
struct ReviewPlace {
  std::string page, title;
  std::int64_t bytes = 0;
};
std::vector<ReviewPlace> reviewPlaces(const std::vector<Finding>& findings);

}  // namespace dw::texts::overview
