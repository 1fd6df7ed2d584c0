#pragma once
// What Overview shows: how the home volume divides, and one card per kind of finding.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "findings/cache_finding.h"
#include "measure/volume_picture.h"

namespace dw::dashboard {

// The five amounts of the storage bar. ready counts what the clean lists offer to move and a
// careful user would move (caches and leftovers that may go); large files are the user's call
// and stay in used. held is what the system frees by itself, never invented: 0 where the
// system reports none. used is the rest of what is taken.
struct StorageAmounts {
  std::int64_t total = 0, used = 0, ready = 0, held = 0, free = 0;
};
StorageAmounts storageAmounts(const VolumePicture& volume,
                              const std::vector<CacheFinding>& findings);

// "120 GB used, 2 GB ready to clear, 0 MB held by macOS, 300 GB free"
std::string storageSummary(const StorageAmounts& amounts);
inline constexpr const char* kHeldExplanation =
    "macOS frees \"held\" space on its own when it needs room. We show it, but never count it "
    "as ours.";

struct Card {
  std::string title, symbol, value, detail, badge, badgeKind, page;
};
// The four cards in order: Caches, App leftovers, Duplicates, Large files. scanning gives each
// its "Looking …" line; duplicateFiles / duplicateBytes are the duplicate search's result, when
// one has run.
std::vector<Card> cards(const std::vector<CacheFinding>& findings, bool scanning,
                        std::optional<std::int64_t> duplicateFiles, std::int64_t duplicateBytes);

// "Ready to clear 2 GB"
std::string readyHeading(std::int64_t ready);
inline constexpr const char* kReadyLine =
    "Caches, leftovers from deleted apps, and extra copies. Each one is shown with its proof "
    "before anything moves.";
// "Review 2 GB"
std::string reviewButton(std::int64_t ready);

}  // namespace dw::dashboard
