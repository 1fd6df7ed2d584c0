#pragma once
// The names of the home's user folders, said wherever a text names Downloads, Desktop, Movies,
// Music or Pictures: the Mac's own names there; on Linux the XDG folders' names ("Videos", or the
// user's language: "Téléchargements", "Vidéos").

#include <string>
#include <string_view>

#include "platform/locations.h"

namespace dw {

struct FolderNames {
  std::string downloads = "Downloads", desktop = "Desktop", movies = "Movies", music = "Music",
              pictures = "Pictures";
};
FolderNames folderNames(const Locations& places);

// text with every whole word "Downloads", "Desktop", "Movies", "Music" and "Pictures" replaced
// by the folder's name.
std::string namingFolders(std::string_view text, const FolderNames& names);

}  // namespace dw
