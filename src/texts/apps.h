#pragma once
// The texts of the Uninstaller and of the command line's list of apps.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/locations.h"
#include "scanners/uninstaller/app_record.h"
#include "texts/wording.h"

namespace dw::texts::apps {

// "12 apps"
std::string title(std::int64_t count);
// What uninstalling moves: an app and its Library folders on a Mac; on Linux an AppImage with
// its launchers and icons, while the software manager's apps stay.
std::string_view detail(const Wording& wording);
// Above the chosen app's items: what uninstalling it would do with them.
std::string_view itemsHeading(bool softwareManager);
// Above an app's own folders in the home (AppRecord::userFolders), which no uninstall moves.
inline constexpr std::string_view kUserFoldersHeading =
    "Stays: its data in your home (clear its caches in Caches)";
// "App 84 MB · related 55 MB": the related size is all its data, what moves with it and what
// stays.
std::string sizesLine(const AppUninstaller::AppRecord& app);
// The command line's lines after what an uninstall would move, one per folder of the app's in
// the home, which stays where it is: "Stays: ~/.config/foo · 12 MB". Paths as given.
std::vector<std::string> staysLines(const AppUninstaller::AppRecord& app, const Locations& places);
// "Last used Mar 4", "Last used —" when the system keeps no date. date is written by the front
// end.
std::string lastUsedLine(std::string_view date);
// An item's name where several carry the same one: a related item under the Library folder it
// is in ("Caches/com.example.foo"), anything else by its own name.
std::string itemName(std::string_view path, const Locations& places);
// The folder an item is in, the home shown as "~".
std::string itemPlace(std::string_view path, const Locations& places);
// The command line when no app is listed.
std::string_view noneFound(const Wording& wording);

}  // namespace dw::texts::apps
