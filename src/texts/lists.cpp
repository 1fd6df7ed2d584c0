#include "texts/lists.h"

#include "findings/size_text.h"

namespace dw::texts {

std::string_view listTitle(Finding::Kind kind) {
  switch (kind) {
    case Finding::Kind::cache:
      return "Caches";
    case Finding::Kind::leftover:
      return "App leftovers";
    case Finding::Kind::file:
      return "Large files";
  }
  return "Caches";
}

std::optional<Finding::Kind> listOfPage(std::string_view page) {
  if (page == "review") return Finding::Kind::cache;
  if (page == "leftovers") return Finding::Kind::leftover;
  if (page == "largeFiles") return Finding::Kind::file;
  return std::nullopt;
}

std::string openListButton(Finding::Kind kind) {
  return "Open " + std::string(listTitle(kind));
}

std::string kindWord(Finding::Kind kind) {
  return kind == Finding::Kind::leftover ? "app leftover" : std::string(kindName(kind));
}

std::string summaryTitle(Finding::Kind kind, std::int64_t bytes, std::int64_t count) {
  return sizeText(bytes) + " in " + countNoun(count, kindName(kind));
}

std::string summaryDetail(Finding::Kind kind, const Wording& wording) {
  switch (kind) {
    case Finding::Kind::cache:
      return "Temporary files apps download or build, and recreate when needed. Sorted by size.";
    case Finding::Kind::leftover:
      if (wording.flatpakLeftovers) {
        return "Data folders left behind by Flatpak apps that are no longer installed. Nothing is "
               "selected until you choose it.";
      }
      return "Folders and preferences left behind by apps that are no longer installed. Nothing "
             "is selected until you choose it.";
    case Finding::Kind::file:
      return namingFolders(
          "Files over 200 MB in Downloads and Movies. Nothing here is selected until you "
          "choose it. Desktop files stay.",
          wording.folders);
  }
  return {};
}

std::string footerSummary(Finding::Kind kind, std::int64_t bytes, std::int64_t count) {
  return sizeText(bytes) + " selected · " + countNoun(count, kindName(kind));
}

std::string sectionDetail(std::int64_t shown, std::int64_t total) {
  if (shown == total) return "Largest first";
  return std::to_string(shown) + " of " + std::to_string(total) + " match the search";
}

std::string scanningTitle(Finding::Kind kind) {
  switch (kind) {
    case Finding::Kind::cache:
      return "Looking through caches…";
    case Finding::Kind::leftover:
      return "Looking for leftovers…";
    case Finding::Kind::file:
      return "Looking through large files…";
  }
  return "Looking…";
}

std::string hiddenBySearch(std::int64_t hidden) {
  if (hidden <= 0) return "";
  return countNoun(hidden, "selected item") + (hidden == 1 ? " is" : " are") +
         " hidden by the search";
}

EmptyState emptyState(Finding::Kind kind, const Wording& wording) {
  const std::string inGoodShape =
      "Nothing to clear here — your " + wording.machine + " is in good shape";
  switch (kind) {
    case Finding::Kind::cache:
      return {"trash", inGoodShape,
              namingFolders("No unused caches met the size threshold. Documents, Desktop, and "
                            "projects stay untouched.",
                            wording.folders)};
    case Finding::Kind::leftover:
      if (wording.flatpakLeftovers) {
        return {"square.dashed", inGoodShape,
                "No data folders of removed Flatpak apps were found. Installed and running apps "
                "stay out of this list."};
      }
      return {"square.dashed", inGoodShape,
              "No leftover folders from removed apps were found. Preferences-only and Apple "
              "systems stay out of this list."};
    case Finding::Kind::file:
      return {
          "doc", "No large files in this list",
          namingFolders("Nothing over 200 MB turned up in Downloads or Movies. Desktop files stay.",
                        wording.folders)};
  }
  return {};
}

}  // namespace dw::texts
