#include "findings/folder_names.h"

#include <utility>

#include "base/paths.h"

namespace dw {

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

}  // namespace dw
