#include "findings/page_texts.h"

#include "base/paths.h"
#include "findings/size_text.h"

namespace dw::pagetexts {

std::string kindWord(Finding::Kind kind) {
  return kind == Finding::Kind::leftover ? "app leftover" : std::string(kindName(kind));
}

std::string summaryTitle(Finding::Kind kind, std::int64_t bytes, std::int64_t count) {
  return sizeText(bytes) + " in " + countNoun(count, kindName(kind));
}

FolderNames folderNames(const Locations& places) {
  FolderNames names;
  // An empty place keeps the Mac's name; a place is never the home folder itself.
  auto take = [](std::string& name, const std::string& place) {
    if (!place.empty()) name = std::string(paths::lastComponent(place));
  };
  take(names.downloads, places.downloads);
  take(names.desktop, places.desktop);
  take(names.movies, places.movies);
  take(names.music, places.music);
  take(names.pictures, places.pictures);
  return names;
}

std::string namingFolders(std::string_view text, const FolderNames& names) {
  const std::pair<std::string_view, std::string_view> words[] = {{"Downloads", names.downloads},
                                                                 {"Desktop", names.desktop},
                                                                 {"Movies", names.movies},
                                                                 {"Music", names.music},
                                                                 {"Pictures", names.pictures}};
  auto letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  // One pass over the text, so that a folder's name is never itself replaced again.
  std::string out;
  size_t i = 0;
  while (i < text.size()) {
    bool named = false;
    if (i == 0 || !letter(text[i - 1])) {
      for (auto [word, name] : words) {
        size_t end = i + word.size();
        if (text.substr(i, word.size()) == word && (end == text.size() || !letter(text[end]))) {
          out.append(name);
          i = end;
          named = true;
          break;
        }
      }
    }
    if (!named) out.push_back(text[i++]);
  }
  return out;
}

std::string summaryDetail(Finding::Kind kind, const FolderNames& names, bool linuxHome) {
  switch (kind) {
    case Finding::Kind::cache:
      return "Temporary files apps download or build, and recreate when needed. Sorted by size.";
    case Finding::Kind::leftover:
      if (linuxHome) {
        return "Data folders left behind by Flatpak apps that are no longer installed. Nothing is "
               "selected until you choose it.";
      }
      return "Folders and preferences left behind by apps that are no longer installed. Nothing "
             "is selected until you choose it.";
    case Finding::Kind::file:
      return namingFolders(
          "Files over 200 MB in Downloads and Movies. Nothing here is selected until you "
          "choose it. Desktop files stay.",
          names);
  }
  return {};
}

std::string footerSummary(Finding::Kind kind, std::int64_t bytes, std::int64_t count) {
  return sizeText(bytes) + " selected · " + countNoun(count, kindName(kind));
}

EmptyState emptyState(Finding::Kind kind, const FolderNames& names, bool linuxHome) {
  const std::string_view inGoodShape =
      linuxHome ? "Nothing to clear here — your computer is in good shape"
                : "Nothing to clear here — your Mac is in good shape";
  switch (kind) {
    case Finding::Kind::cache:
      return {"trash", inGoodShape,
              "No unused caches met the size threshold. Documents, Desktop, and projects stay "
              "untouched."};
    case Finding::Kind::leftover:
      if (linuxHome) {
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
                        names)};
  }
  return {};
}

std::string confirmTitle(std::int64_t count) {
  return "Move " + countNoun(count, "item") + " to the Trash?";
}

std::string appsTitle(std::int64_t count) {
  return countNoun(count, "app");
}

std::string uninstallTitle(std::string_view name, std::int64_t relatedCount) {
  std::string title = "Move " + std::string(name);
  if (relatedCount > 0) title += " and " + countNoun(relatedCount, "related item");
  return title + " to the Trash?";
}

std::string showAllText(std::int64_t count) {
  return "Show all " + countNoun(count, "item");
}

std::string moreText(std::int64_t notListed) {
  return std::to_string(notListed) + " more";
}

std::string progressText(int done, int total) {
  return std::to_string(done) + " of " + std::to_string(total);
}

std::string unreadLeftoversNotice(const std::vector<std::string>& locations,
                                  bool fullDiskAccessSetting) {
  std::string names;
  for (size_t i = 0; i < locations.size(); ++i) {
    if (i) names += ", ";
    names += locations[i];
  }
  if (fullDiskAccessSetting) {
    return "Some leftover folders could not be read (" + names +
           "). Full Disk Access is required for a complete scan.";
  }
  return "Some leftover folders could not be read (" + names +
         "). Check their permissions: your user needs to read them for a complete scan.";
}

}  // namespace dw::pagetexts
