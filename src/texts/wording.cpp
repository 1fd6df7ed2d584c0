#include "texts/wording.h"

#include "base/paths.h"
#include "platform/desktop.h"
#include "platform/share.h"

namespace dw::texts {

Wording Wording::of(const Locations& places) {
  Wording w;
  if (places.layout == Locations::Layout::linux) {
    w.machine = "computer";
    w.flatpakLeftovers = true;
    w.apfs = false;  // copies that share storage there are reflinks, said in general words
    w.appImages = true;
    w.cachesArea = "caches in " + paths::tilde(places.cacheHome, places.home);
    w.developerArea = "tool and app caches";
    w.browserArea = "Chrome and Chromium";
    w.largeFilesArea = "large files";
    w.leftoversArea = "Flatpak leftovers";
    w.areasInLowerCase = false;
    // The file manager's own command: Dustwhale never empties the Trash itself.
    w.emptyTrash = "Choose Empty Trash in the file manager";
    w.whenTrashEmptied = "when you choose Empty Trash in the file manager";
    w.showTrashTitle = "Show Trash";
  }
  w.folders = folderNames(places);
  w.fullDiskAccessSetting = platform::hasFullDiskAccessSetting();
  w.revealTitle = std::string(platform::revealActionTitle());
  w.sharesByCloning = platform::share::kSharesByCloning;
  return w;
}

}  // namespace dw::texts
