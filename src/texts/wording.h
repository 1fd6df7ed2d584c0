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
  // The system that runs us.
  bool fullDiskAccessSetting = true;  // reading is granted by a Full Disk Access setting
  std::string revealTitle = "Reveal in Finder";
  bool sharesByCloning = false;  // a share makes clones, and the replaced files go to the Trash

  // The places' layout with this system's words.
  static Wording of(const Locations& places);
};

}  // namespace dw::texts
