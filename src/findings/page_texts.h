#pragma once
// The texts of the clean lists, built once here so that the desktop pages and the command line
// say the same thing: each list's summary and footer, its empty state, and the confirmation.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "findings/finding.h"
#include "platform/locations.h"

namespace dw::pagetexts {

// "cache", "file", "app leftover": the word a list of what will move uses.
std::string kindWord(Finding::Kind kind);

// "1.5 GB in 12 caches"
std::string summaryTitle(Finding::Kind kind, std::int64_t bytes, std::int64_t count);
// The names of the home's user folders, said wherever a text names Downloads, Desktop, Movies,
// Music or Pictures: the Mac's own names there; on Linux the XDG folders' names ("Videos", or
// the user's language: "Téléchargements", "Vidéos").
struct FolderNames {
  std::string downloads = "Downloads", desktop = "Desktop", movies = "Movies", music = "Music",
              pictures = "Pictures";
};
FolderNames folderNames(const Locations& places);
// text with every whole word "Downloads", "Desktop", "Movies", "Music" and "Pictures" replaced
// by the folder's name.
std::string namingFolders(std::string_view text, const FolderNames& names);

// linuxHome: a Linux home, whose leftovers are the data folders of removed Flatpak apps.
std::string summaryDetail(Finding::Kind kind, const FolderNames& names = {},
                          bool linuxHome = false);
// "1 MB selected · 1 cache"
std::string footerSummary(Finding::Kind kind, std::int64_t bytes, std::int64_t count);

struct EmptyState {
  std::string_view symbol;
  std::string_view title;
  std::string detail;
};
// linuxHome: a Linux home. It is no Mac, and its leftovers are Flatpak data folders, which have
// no preferences-only traces and no Apple systems to speak of.
EmptyState emptyState(Finding::Kind kind, const FolderNames& names = {}, bool linuxHome = false);

inline constexpr std::string_view kFooterDetail = "Goes to the Trash. You can put anything back.";

// "Move 3 items to the Trash?"
std::string confirmTitle(std::int64_t count);
// How many entries the confirmation lists before "Show all".
inline constexpr int kConfirmListed = 6;
// "Show all 40 items"
std::string showAllText(std::int64_t count);
// "25 more"
std::string moreText(std::int64_t notListed);
inline constexpr std::string_view kConfirmPutBackLine =
    "Everything can be put back from Recently Cleared.";
inline constexpr std::string_view kConfirmEmptyLine =
    "Space comes back when you empty the Trash. We never empty it for you.";
inline constexpr std::string_view kConfirmKeysHint = "Return and Esc both cancel.";
inline constexpr std::string_view kStoppingText = "Stopping after the current item…";
// The Uninstaller: "12 apps", what uninstalling does, and the confirmation's title ("Move Foo
// and 3 related items to the Trash?", "Move Foo to the Trash?").
std::string appsTitle(std::int64_t count);
inline constexpr std::string_view kAppsDetail =
    "Uninstalling moves the app and the folders it keeps in your Library to the Trash. You can "
    "put it back.";
// On Linux what an uninstall moves is an AppImage with its launchers and icons; apps of the
// software manager stay.
inline constexpr std::string_view kLinuxAppsDetail =
    "Uninstalling moves an AppImage with its launchers and icons to the Trash. You can put it "
    "back. Apps from the software manager stay; remove them there.";
// Above the chosen app's items: what uninstalling it would do with them.
inline constexpr std::string_view kAppItemsMove = "Moves to the Trash";
inline constexpr std::string_view kAppItemsStay = "Stays: the software manager removes it";
std::string uninstallTitle(std::string_view name, std::int64_t relatedCount);
// The kind words of what an uninstall moves.
inline constexpr std::string_view kAppKindWord = "app";
inline constexpr std::string_view kAppDataKindWord = "app data";

// "3 of 12"
std::string progressText(int done, int total);

// The notice above App leftovers when some Library locations could not be listed. Where the
// system grants reading through a Full Disk Access setting, the notice names it; elsewhere it
// names the read permission the folders lack.
std::string unreadLeftoversNotice(const std::vector<std::string>& locations,
                                  bool fullDiskAccessSetting);

}  // namespace dw::pagetexts
