#pragma once
// The texts of the clean lists (Caches, App leftovers, Large files): each list's title, summary,
// footer and empty state, the same on the desktop pages and on the command line.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "findings/finding.h"
#include "texts/wording.h"

namespace dw::texts {

// "Caches", "App leftovers", "Large files": the list's title in the sidebar, on Overview and
// over the command line's groups.
std::string_view listTitle(Finding::Kind kind);
// The list a page of the app shows ("review", "leftovers", "largeFiles"), if it shows one.
std::optional<Finding::Kind> listOfPage(std::string_view page);
// "Open Caches": the button to a list's page.
std::string openListButton(Finding::Kind kind);
// "cache", "file", "app leftover": the word a list of what will move uses.
std::string kindWord(Finding::Kind kind);

// "1.5 GB in 12 caches"
std::string summaryTitle(Finding::Kind kind, std::int64_t bytes, std::int64_t count);
std::string summaryDetail(Finding::Kind kind, const Wording& wording);
// "1 MB selected · 1 cache"
std::string footerSummary(Finding::Kind kind, std::int64_t bytes, std::int64_t count);
inline constexpr std::string_view kFooterDetail = "Goes to the Trash. You can put anything back.";
// Over the list: "Largest first", or while a search hides some rows "3 of 12 match the search".
std::string sectionDetail(std::int64_t shown, std::int64_t total);
// The summary's place while the first scan has listed nothing yet: "Looking through caches…",
// "Looking for leftovers…", "Looking through large files…" (no figure before there is one).
std::string scanningTitle(Finding::Kind kind);
// Under the footer's summary while a search hides chosen rows (they still move, and the
// question lists them): "1 selected item is hidden by the search"; "" for none.
std::string hiddenBySearch(std::int64_t hidden);

struct EmptyState {
  std::string_view symbol;
  std::string title;
  std::string detail;
};
EmptyState emptyState(Finding::Kind kind, const Wording& wording);

}  // namespace dw::texts
