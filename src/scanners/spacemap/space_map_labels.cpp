#include "scanners/spacemap/space_map_labels.h"

#include <array>
#include <string_view>

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

}  // namespace

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
