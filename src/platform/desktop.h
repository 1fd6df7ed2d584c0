#pragma once
// The desktop around the program: opening a link, showing an item in the file manager, and the
// system's Full Disk Access setting where there is one.

#include <functional>
#include <string>
#include <string_view>

namespace dw::platform {

// Hands the URL to the desktop (Linux: xdg-open). False when nothing could take it.
bool openUrl(const std::string& url);

// Shows the item selected in the file manager (Linux: the FileManager1 D-Bus service, else the
// enclosing folder). False when nothing could show it.
bool revealInFileManager(const std::string& path);

// Where the Trash that holds trashPath (a moved item's place there) is shown. Linux: the
// desktop's own Trash view, "trash:///", when that is the user's home Trash ($XDG_DATA_HOME/Trash)
// or nothing moved yet (trashPath empty); else the file:// URI of that Trash's files folder (the
// Trash at the top of another volume). macOS: ~/.Trash of home.
std::string trashToShow(const std::string& trashPath, const std::string& home);
// Opens trashToShow in the file manager. On Linux, where nothing opens "trash:///", the home
// Trash's files folder opens instead. Nothing in the Trash is ever emptied from here.
bool showTrash(const std::string& trashPath, const std::string& home);

// The label of the button that does revealInFileManager.
std::string_view revealActionTitle();

// How a sentence names the operating system when it refuses something: "macOS", or on Linux
// "The system" (a sentence may begin with it).
std::string_view systemName();

// Whether the system keeps some folders unreadable until a Full Disk Access setting is turned
// on (macOS). Linux has no such setting: a folder is readable or not by its permissions.
bool hasFullDiskAccessSetting();

// The Full Disk Access settings, tried in this order; the first two stop the search when they
// open, the last (the general Privacy & Security pane) is opened without checking.
inline constexpr std::string_view kFullDiskAccessUrls[] = {
    "x-apple.systempreferences:com.apple.preference.security?Privacy_AllFiles",
    "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension?Privacy_AllFiles",
    "x-apple.systempreferences:com.apple.preference.security",
};
// Opens them through open (openUrl unless a caller watches the calls).
void openFullDiskAccessSettings(const std::function<bool(const std::string&)>& open =
                                    [](const std::string& url) { return openUrl(url); });

}  // namespace dw::platform
