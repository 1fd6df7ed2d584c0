#include <sys/stat.h>

#include <filesystem>
#include <iostream>

#include "base/paths.h"
#include "base/time.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/session.h"
#include "findings/size_text.h"
#include "texts/moves.h"
#include "texts/sharing.h"
#include "texts/wording.h"

namespace dw::cli {

namespace {

using DuplicateScanner::Scope;

Scope scopeNamed(const std::vector<std::string>& names) {
  Scope scope;
  for (const std::string& name : names) {
    if (name == "downloads") scope.insert(Scope::downloads);
    if (name == "movies" || name == "videos") scope.insert(Scope::movies);
    if (name == "music") scope.insert(Scope::music);
    if (name == "pictures") scope.insert(Scope::pictures);
  }
  return scope;
}

// The copy --keep names in a group: the newest or the oldest dated copy, or the first copy (in
// the order that puts the default keeper first) inside the folder named; none keeps the default.
const DuplicateScanner::FileRef* keeperOf(const DuplicateScanner::Group& group,
                                          const std::string& keep, const std::string& folder) {
  const DuplicateScanner::FileRef* chosen = nullptr;
  for (const auto& file : group.files) {
    if (keep == "newest" || keep == "oldest") {
      if (file.modified == DuplicateScanner::kDistantPast) continue;
      if (!chosen ||
          (keep == "newest" ? file.modified > chosen->modified : file.modified < chosen->modified))
        chosen = &file;
    } else if (paths::isStrictlyWithin(paths::standardize(file.path), folder)) {
      return &file;
    }
  }
  return chosen;
}

// The folder --keep names: one of the searched folders by its scope name ("pictures"), else a
// folder path (relative to the working folder). Throws UsageError for anything else.
std::string keepFolder(const std::string& keep, const Locations& places) {
  Scope named = scopeNamed({keep});
  if (!named.isEmpty()) {
    for (std::int64_t member : {Scope::downloads, Scope::movies, Scope::music, Scope::pictures}) {
      if (named.contains(member)) {
        const std::string& folder = member == Scope::downloads ? places.downloads
                                    : member == Scope::movies  ? places.movies
                                    : member == Scope::music   ? places.music
                                                               : places.pictures;
        if (folder.empty()) throw UsageError("this home has no " + keep + " folder");
        return paths::standardize(folder);
      }
    }
  }
  std::string path = keep;
  if (!path.empty() && path.front() != '/') {
    std::error_code error;
    path = std::filesystem::current_path(error).string() + "/" + path;
  }
  struct stat s {};
  if (keep.empty() || ::stat(path.c_str(), &s) != 0 || !S_ISDIR(s.st_mode)) {
    throw UsageError("--keep takes newest, oldest or a folder; " + displayText(keep) +
                     " is not a folder");
  }
  return paths::standardize(path);
}

std::string dateText(TimePoint when) {
  return when == DuplicateScanner::kDistantPast ? "no date" : timefmt::localDateTime(when);
}

json::Value resultJson(const ScanModel& model) {
  json::Array groups;
  for (const auto& group : model.duplicateGroups()) {
    json::Array files;
    for (const auto& file : group.files) {
      json::Value f{json::Object{}};
      f.set("path", file.path);
      f.set("bytes", file.bytes);
      f.set("modified", file.modified == DuplicateScanner::kDistantPast
                            ? json::Value(nullptr)
                            : json::Value(timefmt::isoUtc(file.modified)));
      files.push_back(std::move(f));
    }
    json::Value g{json::Object{}};
    g.set("hashHex", group.hashHex);
    g.set("bytes", group.bytes);
    g.set("files", std::move(files));
    groups.push_back(std::move(g));
  }
  json::Value out{json::Object{}};
  out.set("groups", std::move(groups));
  out.set("skipped", json::Array(model.duplicateSkipped().begin(), model.duplicateSkipped().end()));
  out.set("message", model.message());
  return out;
}

void printGroups(const ScanModel& model) {
  for (const auto& group : model.duplicateGroups()) {
    std::cout << sizeText(group.bytes) << " · "
              << countNoun(static_cast<std::int64_t>(group.files.size()), "copy") << '\n';
    auto kept = model.duplicateKeepPath().find(group.hashHex);
    for (const auto& file : group.files) {
      bool keeps = kept != model.duplicateKeepPath().end() && kept->second == file.path;
      std::cout << (keeps ? "  kept  " : "        ") << dateText(file.modified) << "  "
                << displayText(file.path) << '\n';
    }
  }
  for (const auto& path : model.duplicateSkipped())
    std::cout << "Skipped (not allowed to read): " << displayText(path) << '\n';
}

// A share: the review (each group's kept copy, then each extra copy that will share or stays,
// with why, and what sharing can free), the model's question, and the share through the move
// runner.
int shareCopies(Session& session, bool dryRun, bool yes) {
  ScanModel& model = session.model();
  if (!model.canShareDuplicates()) {
    std::cerr << "dustwhale: nothing can be shared: no two copies are on one file system that "
                 "shares blocks between files (such as Btrfs, or XFS with reflink). --clear "
                 "moves extra copies to the Trash instead.\n";
    return 1;
  }
  model.requestConfirm(ConfirmScope::sharing);
  const Sharing::Plan plan = model.sharePlan();
  // Paths are the only outside text in the lines: each line is shown escaped as a whole.
  for (const std::string& line : texts::sharing::review(plan))
    std::cout << displayText(line) << '\n';
  if (plan.sharing == 0) {
    std::cout << texts::sharing::planSummary(plan) << '\n';
    return 0;
  }
  if (auto ended = session.confirmMove(dryRun, yes)) return *ended;
  if (!session.runMove()) return 1;
  // Shared copies leave the selection: one that was to share and is still there did not.
  for (const auto& p : plan.copies) {
    if (p.reason.empty() && model.duplicateSelected().count(p.copy.path)) return 1;
  }
  return 0;
}

}  // namespace

Runner addDuplicates(CLI::App& app) {
  struct Options {
    PlaceOptions places;
    std::vector<std::string> scope;
    bool json = false;
    bool clear = false;
    bool share = false;
    std::string keep;
    bool dryRun = false;
    bool yes = false;
  };
  auto options = std::make_shared<Options>();
  // The help names the folders as this user's desktop does ("Videos" on Linux).
  CLI::App* cmd = app.add_subcommand(
      "duplicates",
      namingFolders("Find byte-identical copies in Downloads, Movies, Music and Pictures",
                    folderNames(Locations::platformDefault(currentHome()))));
  options->places.addTo(*cmd);
  cmd->add_option("--scope", options->scope,
                  "Folders to search: downloads, movies (or videos), music, pictures (default: "
                  "all four)")
      ->delimiter(',')
      ->check(CLI::IsMember({"downloads", "movies", "videos", "music", "pictures"}));
  auto* json = cmd->add_flag("--json", options->json, "Print one JSON object");
  auto* clear = cmd->add_flag(
      "--clear", options->clear,
      "Move every extra copy to the Trash (one copy of each file stays; never deletes)");
  auto* share = cmd->add_flag("--share", options->share,
                              "Make every extra copy use its kept copy's blocks, on file systems "
                              "that share them (Btrfs, XFS with reflink): every file stays where "
                              "it is and the space comes back at once")
                    ->excludes(clear);
  cmd->add_option("--keep", options->keep,
                  namingFolders("Which copy of each group stays: newest, oldest, or the one in "
                                "FOLDER (a path, or downloads, movies, music, pictures); by "
                                "default the one in Pictures, Music or Movies before Downloads, "
                                "the oldest first",
                                folderNames(Locations::platformDefault(currentHome()))))
      ->type_name("newest|oldest|FOLDER");
  cmd->add_flag("--dry-run", options->dryRun, "List what would move or share; change nothing");
  cmd->add_flag("--yes", options->yes, "Do not ask (needed without a terminal)");
  json->excludes(clear);
  json->excludes(share);

  return [options] {
    if ((!options->keep.empty() || options->dryRun || options->yes) && !options->clear &&
        !options->share) {
      std::cerr << "dustwhale: --keep, --dry-run and --yes go with --clear or --share\n";
      return 2;
    }
    Locations places = options->places.locations();
    std::string folder;
    if (!options->keep.empty() && options->keep != "newest" && options->keep != "oldest")
      folder = keepFolder(options->keep, places);
    if ((options->clear || options->share) && !options->dryRun) {
      if (auto refused = refuseInAnotherUsersHome(places)) return *refused;
    }
    Session session(std::move(places));
    ScanModel& model = session.model();
    if (!options->scope.empty()) model.setDuplicateScope(scopeNamed(options->scope));

    bool progress = stderrIsTerminal();
    bool finished = false;
    model.addObserver([&](ScanModel::Field field) {
      if (field == ScanModel::Field::duplicateGroups) finished = true;
      if (progress && field == ScanModel::Field::duplicateProgress && model.duplicateProgress())
        std::cerr << "\r\033[K" << displayText(*model.duplicateProgress()) << std::flush;
    });
    model.findDuplicates();
    session.runUntil([&] { return !model.isDuplicateSearchRunning(); },
                     [&model] { model.cancelDuplicates(); });
    if (progress) std::cerr << "\r\033[K" << std::flush;
    if (!finished) {
      std::cerr << displayText(model.message()) << '\n';
      return session.unfinishedStatus();
    }

    if (!options->clear && !options->share) {
      if (options->json) {
        printJson(resultJson(model));
      } else {
        printGroups(model);
        std::cout << displayText(model.message()) << '\n';
      }
      return 0;
    }

    if (!options->keep.empty()) {
      for (const auto& group : model.duplicateGroups()) {
        if (const auto* keeper = keeperOf(group, options->keep, folder))
          model.keepCopy(group.hashHex, keeper->path);
      }
    }
    model.selectExtraCopies();
    if (options->share) return shareCopies(session, options->dryRun, options->yes);
    if (model.duplicateSelected().empty()) {
      std::cout << displayText(model.message()) << '\n';
      return 0;
    }
    model.requestConfirm(ConfirmScope::duplicates);
    printLines(texts::toMoveCopies(displayItems(model.moves().items()), model.moves().bytes()));
    if (auto ended = session.confirmMove(options->dryRun, options->yes)) return *ended;
    if (!session.runMove()) return 1;
    // Moved copies leave the selection; whatever is still selected stayed in place.
    return model.duplicateSelected().empty() ? 0 : 1;
  };
}

}  // namespace dw::cli
