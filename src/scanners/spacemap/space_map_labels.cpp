#include "scanners/spacemap/space_map_labels.h"

#include <array>
#include <string_view>
#include <vector>

#include "base/paths.h"
#include "findings/folder_names.h"

namespace dw::SpaceMapLabels {

namespace {

constexpr std::string_view kProductName = "Dustwhale";

std::string joined(std::string_view before, std::string_view after) {
  std::string text(before);
  text += kProductName;
  text += after;
  return text;
}

struct Row {
  std::string_view path;  // relative to the home folder
  Advice advice;
};

const std::array<Row, 14>& table() {
  static const std::array<Row, 14> rows{{
      {"/Library/Developer/CoreSimulator",
       {"Xcode simulators", "Remove old ones in Xcode.", std::nullopt}},
      {"/Library/Developer/Xcode/DerivedData",
       {"Xcode build data", joined("Xcode recreates this. ", " does not remove project builds."),
        std::nullopt}},
      {"/Pictures/Photos Library.photoslibrary",
       {"Photos library", "Keep; manage in Photos.", std::nullopt}},
      {"/Library/Mail",
       {"Mail downloads", joined("Mail stores messages here. ", " does not remove them."),
        std::nullopt}},
      {"/Library/Caches", {"Caches", "Unused caches can be reviewed.", "review"}},
      {"/Downloads", {"Downloads", "Large files and duplicates can be reviewed.", "review"}},
      {"/Movies", {"Movies", "Large files can be reviewed.", "review"}},
      {"/Library/Application Support",
       {"Application Support", "Leftovers from removed apps can be reviewed.", "leftovers"}},
      {"/Library/Containers",
       {"App containers",
        joined("Sandboxed app data. Apps manage this. ", " does not remove it from the map."),
        std::nullopt}},
      {"/Library/Developer",
       {"Developer files",
        joined("Tools such as Xcode keep build data here. ", " does not remove project builds."),
        std::nullopt}},
      {"/Music",
       {"Music",
        joined("Music files. ",
               " does not remove this folder. Extra copies can be reviewed separately."),
        std::nullopt}},
      {"/Pictures",
       {"Pictures",
        joined("Photos and images. The Photos library stays. ", " does not remove this folder."),
        std::nullopt}},
      {"/Documents",
       {"Documents", "Your documents. Dustwhale never moves anything here.", std::nullopt}},
      {"/Desktop",
       {"Desktop", joined("Files on the Desktop stay. ", " does not remove this folder."),
        std::nullopt}},
  }};
  return rows;
}

bool matches(std::string_view relative, std::string_view rowPath) {
  if (relative == rowPath) return true;
  if (!relative.starts_with(rowPath)) return false;
  // Anything inside the folder; and for a path with a "." in it (the Photos library), anything
  // whose path merely begins with it.
  if (relative.size() > rowPath.size() && relative[rowPath.size()] == '/') return true;
  return rowPath.find('.') != std::string_view::npos;
}

// A Linux home's table: each folder by where this home keeps it (the XDG variables, the user
// folders of user-dirs.dirs), the most specific first.
struct LinuxRow {
  std::string path;  // absolute
  Advice advice;
};

std::vector<LinuxRow> linuxTable(const Locations& places) {
  auto inHome = [&](std::string_view relative) { return paths::join(places.home, relative); };
  const FolderNames names = folderNames(places);
  const Advice flatpakData{
      "Flatpak app data",
      "Each Flatpak app's data and settings, and what you made in it. Data of removed apps can be "
      "reviewed.",
      "leftovers"};
  std::vector<LinuxRow> rows = {
      {paths::join(places.dataHome, "Trash"),
       {"Trash",
        joined("What was moved to the Trash, by you or by ",
               ". Empty Trash in the file manager gives the space back; Dustwhale never empties "
               "it."),
        std::nullopt}},
      {paths::join(places.dataHome, "pnpm"),
       {"pnpm store",
        "Packages pnpm links into projects. The store can be reviewed; your projects stay.",
        "review"}},
      {paths::join(places.dataHome, "Steam"),
       {"Steam", "Steam's games and shader caches. Shader caches can be reviewed; games stay.",
        "review"}},
      {paths::join(places.dataHome, "flatpak"),
       {"Flatpak apps",
        joined("Apps installed for you with Flatpak. Remove them with your software manager. ",
               " does not remove them."),
        std::nullopt}},
      {places.cacheHome,
       {"Caches", "Apps and tools recreate what is here. Unused caches can be reviewed.",
        "review"}},
      {places.dataHome,
       {"App data",
        joined("Data apps keep for you: mail, games, notes. ",
               " offers only the tool caches here (pnpm, pipx, Steam shaders)."),
        "review"}},
      {places.configHome,
       {"Settings",
        joined("Apps' settings. Web caches of apps such as Slack or VS Code can be reviewed; ",
               " never moves settings."),
        "review"}},
      {inHome(".local/bin"),
       {"Your programs",
        joined("Programs installed for you alone, AppImages among them. ",
               " moves an AppImage only when you uninstall it."),
        std::nullopt}},
      {inHome(".local"),
       {"Local data and programs",
        joined("Apps' data and programs installed for you. ",
               " offers only the tool caches in it."),
        "review"}},
      {inHome(".var/app"), flatpakData},
      {inHome(".var"), flatpakData},  // ~/.var holds nothing but app
      {inHome("snap"),
       {"Snap app data",
        "Each snap's data and settings. Caches in their common/.cache can be reviewed.", "review"}},
      {inHome(".npm"),
       {"npm cache",
        "Packages npm and npx downloaded. The cache can be reviewed; your projects stay.",
        "review"}},
      {inHome(".cargo"),
       {"Cargo",
        "Rust's tools and downloaded crates. The download cache can be reviewed; installed "
        "tools stay.",
        "review"}},
      {inHome(".yarn"),
       {"Yarn", "Yarn's global cache can be reviewed; your projects stay.", "review"}},
      {inHome(".nuget"),
       {"NuGet packages", "Packages NuGet downloaded can be reviewed; your projects stay.",
        "review"}},
      {inHome(".bun"),
       {"Bun", "Bun's install cache can be reviewed; installed tools stay.", "review"}},
      {inHome(".mozilla"),
       {"Firefox profiles",
        joined("Bookmarks, passwords and history. Firefox's cache is in the cache folder. ",
               " does not remove profiles."),
        std::nullopt}},
      {inHome(".rustup"),
       {"Rust toolchains",
        joined("Installed with rustup; remove old ones with rustup toolchain uninstall. ",
               " does not remove them."),
        std::nullopt}},
      {inHome("go"),
       {"Go", "Go's module downloads can be reviewed; your code and installed programs stay.",
        "review"}},
      {inHome(".m2"),
       {"Maven repository",
        joined("Libraries Maven downloaded and installed. ", " does not remove them."),
        std::nullopt}},
      {inHome(".gradle"),
       {"Gradle", "Gradle's caches can be reviewed; your builds' settings stay.", "review"}},
      {inHome(".steam"),
       {"Steam", "Steam's games and shader caches. Shader caches can be reviewed; games stay.",
        "review"}},
      {places.downloads,
       {names.downloads, "Large files and duplicates can be reviewed.", "largeFiles"}},
      {places.movies, {names.movies, "Large files can be reviewed.", "largeFiles"}},
      {places.music,
       {names.music,
        joined("Music files. ",
               " does not remove this folder. Extra copies can be reviewed "
               "separately."),
        std::nullopt}},
      {places.pictures,
       {names.pictures, joined("Images and photographs. ", " does not remove this folder."),
        std::nullopt}},
      {places.documents,
       {std::string(paths::lastComponent(places.documents)),
        joined("Your documents. ", " never moves anything here."), std::nullopt}},
      {places.desktop,
       {names.desktop, joined("Files on the desktop stay. ", " does not remove this folder."),
        std::nullopt}},
  };
  return rows;
}

Advice linuxAdvice(const std::string& path, const Locations& places) {
  for (const LinuxRow& row : linuxTable(places)) {
    // A folder the home does not have (an empty user folder entry) never matches.
    if (!row.path.empty() && row.path != places.home && paths::isWithin(path, row.path))
      return row.advice;
  }
  return {"Not identified", joined("", " does not remove this. Show in Folder to look yourself."),
          std::nullopt};
}

}  // namespace

Advice advice(const std::string& path, const Locations& places) {
  if (places.layout == Locations::Layout::linux) return linuxAdvice(path, places);
  return advice(path, places.home);
}

Advice advice(const std::string& path, const std::string& home) {
  std::string_view relative(path);
  // A plain text prefix: no check for a "/" after it.
  if (relative.starts_with(home)) relative.remove_prefix(home.size());
  for (const Row& row : table()) {
    if (matches(relative, row.path)) return row.advice;
  }
  if (relative.find(".photoslibrary") != std::string_view::npos)
    return {"Photos library", "Keep; manage in Photos.", std::nullopt};
  if (relative == "/Library")
    return {"Library", "App data and settings. Mostly managed by apps and macOS.", std::nullopt};
  return {"Not identified", joined("", " does not remove this. Reveal in Finder to look yourself."),
          std::nullopt};
}

std::optional<std::string> pageToOpen(const Advice& advice) {
  if (advice.linkedPage == "review" && (advice.title == "Downloads" || advice.title == "Movies"))
    return "largeFiles";
  return advice.linkedPage;
}

}  // namespace dw::SpaceMapLabels
