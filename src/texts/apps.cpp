#include "texts/apps.h"

#include "base/paths.h"
#include "findings/size_text.h"
#include "scanners/uninstaller/app_uninstaller.h"

namespace dw::texts::apps {

std::string title(std::int64_t count) {
  return countNoun(count, "app");
}

std::string_view detail(const Wording& wording) {
  if (wording.appImages) {
    return "Uninstalling moves an AppImage with its launchers and icons to the Trash. You can "
           "put it back. Apps from the software manager stay; remove them there.";
  }
  return "Uninstalling moves the app and the folders it keeps in your Library to the Trash. You "
         "can put it back.";
}

std::string_view itemsHeading(bool softwareManager) {
  return softwareManager ? "Stays: the software manager removes it" : "Moves to the Trash";
}

std::string sizesLine(const AppUninstaller::AppRecord& app) {
  return "App " + sizeText(app.bundleBytes) + " · related " +
         sizeText(AppUninstaller::dataBytes(app));
}

std::vector<std::string> staysLines(const AppUninstaller::AppRecord& app, const Locations& places) {
  std::vector<std::string> lines;
  for (size_t i = 0; i < app.userFolders.size(); ++i) {
    std::int64_t bytes = i < app.userFolderSizes.size() ? app.userFolderSizes[i] : 0;
    lines.push_back("Stays: " + paths::tilde(app.userFolders[i], places.home) + " · " +
                    sizeText(bytes));
  }
  return lines;
}

std::string lastUsedLine(std::string_view date) {
  return "Last used " + (date.empty() ? std::string("—") : std::string(date));
}

std::string itemName(std::string_view path, const Locations& places) {
  // A Linux home has no Library: its items go by their own names.
  const std::string& library = places.library;
  if (!library.empty() && path.size() > library.size() + 1 && path.starts_with(library + "/")) {
    return std::string(path.substr(library.size() + 1));
  }
  return std::string(paths::lastComponent(path));
}

std::string itemPlace(std::string_view path, const Locations& places) {
  std::string folder(paths::parent(path));
  const std::string& home = places.home;
  if (folder == home || folder.starts_with(home + "/")) folder = "~" + folder.substr(home.size());
  return folder;
}

std::string_view noneFound(const Wording& wording) {
  if (wording.appImages) {
    return "No apps found: no AppImages in ~/Applications or ~/.local/bin, no Flatpak or desktop "
           "apps of the system.";
  }
  return "No apps found in the Applications folders.";
}

}  // namespace dw::texts::apps
