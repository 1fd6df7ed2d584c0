#pragma once
// How this home and the system that runs us are spoken of. What differs between a Mac-shaped
// home and a Linux one (the machine's name, what a leftover is, where copies may share storage,
// what an uninstall moves, the user folders' names) and between systems (a Full Disk Access
// setting, the file manager's reveal action) is decided here once; every text that differs takes
// it from one Wording value.

#include <string>

#include "findings/folder_names.h"
#include "platform/locations.h"

namespace dw::texts {

struct Wording {
  // The home's layout.
  std::string machine = "Mac";    // "your Mac is in good shape"; the volume is "This Mac"
  bool flatpakLeftovers = false;  // leftovers are the data folders of removed Flatpak apps
  bool apfs = true;               // named where copies may share storage
  bool appImages = false;         // an uninstall moves an AppImage; other apps stay
  FolderNames folders;
  // The areas a scan announces, in its order, as the line under a page's title says them
  // ("Looking through Library caches…"). The Mac's status line lower-cases each whole area
  // ("Measuring chrome."); a Linux home's areas are written as the sentence says them, product
  // names with their own capitals ("Measuring caches in ~/.cache.", "Measuring Chrome.").
  std::string cachesArea = "Library caches", developerArea = "npm and Gradle",
              browserArea = "Chrome", largeFilesArea = "Large files", leftoversArea = "Leftovers";
  bool areasInLowerCase = true;
  // How the space of what moved comes back: the status line's "Empty the Trash", and the button
  // that shows the Trash.
  std::string emptyTrash = "Empty the Trash";
  std::string whenTrashEmptied = "when you empty the Trash";
  std::string showTrashTitle = "Open Trash";
  // The system that runs us.
  bool fullDiskAccessSetting = true;  // reading is granted by a Full Disk Access setting
  std::string revealTitle = "Reveal in Finder";
  bool sharesByCloning = false;  // a share makes clones, and the replaced files go to the Trash

  // The places' layout with this system's words.
  static Wording of(const Locations& places);
};

}  // namespace dw::texts
