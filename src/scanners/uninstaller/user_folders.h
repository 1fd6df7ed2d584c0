#pragma once
// The folders a Linux app keeps in the user's home: its settings, data and caches where the XDG
// base folders put them (~/.config/<name>, ~/.cache/<name>, ~/.local/share/<name>,
// ~/.local/state/<name>), the older ~/.<name>, and a Flatpak app's ~/.var/app/<id>. Found by the
// names the app goes by (its launcher's file id, the program it starts, its window class, its
// package), compared without regard to case. Stateless and read-only: they are shown, never
// moved by an uninstall.

#include <string>
#include <vector>

#include "platform/locations.h"
#include "scanners/uninstaller/app_record.h"

namespace dw::AppUninstaller {

// The lower-cased names the app's folders may carry, most specific first.
std::vector<std::string> userFolderNames(const AppRecord& record, const Locations& places);

// Sets userFolders of every AppImage, Flatpak app and package's app (bundles keep theirs in the
// Library, as related items). Each base folder is listed once for all the records.
void findUserFolders(std::vector<AppRecord>& records, const Locations& places);

}  // namespace dw::AppUninstaller
