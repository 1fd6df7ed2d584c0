#include "texts/duplicates.h"

#include <algorithm>

#include "base/paths.h"
#include "findings/size_text.h"
#include "texts/sharing.h"

namespace dw::texts::duplicates {

namespace {
// Copies on APFS may share storage (clones); elsewhere copies that share it (reflinks) are said
// in general words.
std::string onApfs(std::string_view text, const Wording& wording) {
  std::string out(text);
  if (wording.apfs) return out;
  for (size_t at; (at = out.find(" on APFS")) != std::string::npos;)
    out.erase(at, 8);
  return out;
}
}  // namespace

std::string summaryTitle(std::int64_t extraBytes, std::int64_t groups) {
  return "Up to " + sizeText(extraBytes) + " in " + countNoun(groups, "duplicate group");
}

std::string summaryDetail(const Wording& wording) {
  return namingFolders(
      onApfs("Extra copies in Downloads, Movies, Music, and Pictures. A copy in Pictures, "
             "Music or Movies stays before one in Downloads, the oldest first, unless you pick "
             "another. Savings are up to — copies on APFS may share storage, so "
             "moving one to the Trash can free less.",
             wording),
      wording.folders);
}

std::string sectionTitle(std::int64_t groups) {
  return countNoun(groups, "duplicate group");
}

std::string groupTitle(std::int64_t files, std::int64_t bytesEach) {
  return countNoun(files, "identical copy") + " · " + sizeText(bytesEach) + " each";
}

std::string keptByDefault(std::int64_t folder, const Wording& wording) {
  using Scope = DuplicateScanner::Scope;
  const FolderNames& names = wording.folders;
  const std::string* name = folder == Scope::pictures    ? &names.pictures
                            : folder == Scope::music     ? &names.music
                            : folder == Scope::movies    ? &names.movies
                            : folder == Scope::downloads ? &names.downloads
                                                         : nullptr;
  if (!name) return "The oldest copy stays unless you pick another.";
  return "The copy in " + *name + " stays unless you pick another.";
}

std::string extraWhySafe(const Wording& wording) {
  return onApfs(
      "This matches another file byte for byte. Savings are up to the size shown, because copies "
      "on APFS may share storage.",
      wording);
}

std::string copyName(const DuplicateScanner::Group& group, const std::string& path,
                     const std::string& home) {
  const std::string_view name = paths::lastComponent(path);
  const bool shared = std::any_of(group.files.begin(), group.files.end(), [&](const auto& file) {
    return file.path != path && paths::lastComponent(file.path) == name;
  });
  if (!shared) return std::string(name);
  return std::string(name) + " · " + paths::tilde(paths::parent(path), home);
}

std::string_view badge(bool kept) {
  return kept ? "Kept" : "Extra copy";
}

std::string_view badgeTone(bool kept) {
  return kept ? "neutral" : "review";
}

std::string footerSummary(std::int64_t bytes, std::int64_t copies) {
  return "Up to " + sizeText(bytes) + " selected · " + countNoun(copies, "copy");
}

EmptyState emptyState() {
  return {"square.on.square", "No duplicates yet",
          "Choose folders and find duplicates. Nothing is selected until you choose an extra "
          "copy."};
}

std::string_view findButton(bool searching) {
  return searching ? "Scanning" : "Find duplicates";
}

std::string progressLine(std::string_view progress) {
  std::string line(kLooking);
  if (!progress.empty() && progress != kLooking) line += " " + std::string(progress);
  return line;
}

std::string_view skippedHeading(const Wording& wording) {
  return wording.fullDiskAccessSetting ? "Skipped: protected by macOS"
                                       : "Skipped: not allowed to read";
}

std::string found(std::int64_t extraBytes) {
  return "Up to " + sizeText(extraBytes) +
         " in extra copies. At least one copy of each file stays.";
}

std::string footerDetail(const std::optional<Sharing::Plan>& share) {
  std::string detail(kFooterDetail);
  // Before anything is shared: what sharing the selection can give back.
  if (share) detail += " " + sharing::footerText(*share);
  return detail;
}

}  // namespace dw::texts::duplicates
