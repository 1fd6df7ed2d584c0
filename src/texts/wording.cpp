#include "texts/wording.h"

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
  }
  w.folders = folderNames(places);
  w.fullDiskAccessSetting = platform::hasFullDiskAccessSetting();
  w.revealTitle = std::string(platform::revealActionTitle());
  w.sharesByCloning = platform::share::kSharesByCloning;
  return w;
}

}  // namespace dw::texts
