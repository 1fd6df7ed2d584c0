#include <iostream>
#include <map>
#include <set>

#include "base/paths.h"
#include "cli/commands.h"
#include "cli/findings_output.h"
#include "cli/output.h"
#include "cli/session.h"
#include "texts/moves.h"

namespace dw::cli {

Runner addClear(CLI::App& app) {
  struct Options {
    PlaceOptions places;
    std::optional<ConfirmScope> scope;
    bool suggested = false;
    std::vector<std::string> ids;
    bool dryRun = false;
    bool yes = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = app.add_subcommand(
      "clear", "Move findings to the Trash (never deletes; everything can be put back)");
  options->places.addTo(*cmd);
  cmd->add_option("--kind", options->scope, "Only this kind: cache, file or leftover")
      ->transform(CLI::CheckedTransformer(
          std::map<std::string, ConfirmScope>{{"cache", ConfirmScope::caches},
                                              {"file", ConfirmScope::files},
                                              {"leftover", ConfirmScope::leftovers}}));
  auto* suggested =
      cmd->add_flag("--suggested", options->suggested, "The findings a scan pre-selects");
  auto* ids =
      cmd->add_option("--id", options->ids, "Findings by id (a path, ~/path or leftover:ID)");
  suggested->excludes(ids);
  ids->excludes(suggested);
  cmd->add_flag("--dry-run", options->dryRun, "List what would move; move nothing");
  cmd->add_flag("--yes", options->yes, "Do not ask (needed without a terminal)");
  cmd->callback([cmd, suggested, ids] {
    if (!*suggested && !*ids) throw CLI::RequiredError("--suggested or --id");
  });

  return [options] {
    Locations places = options->places.locations();
    if (!options->dryRun) {
      if (auto refused = refuseInAnotherUsersHome(places)) return *refused;
    }
    Session session(std::move(places));
    ScanModel& model = session.model();
    if (!session.scan()) {
      std::cerr << displayText(model.message()) << '\n';
      return session.unfinishedStatus();
    }

    if (!options->ids.empty()) {
      std::set<std::string> chosen;
      for (std::string id : options->ids) {
        if (id.rfind("~/", 0) == 0) id = paths::join(model.places().home, id.substr(2));
        bool known = false;
        for (const auto& f : model.caches())
          known = known || f.id == id;
        if (!known) {
          std::cerr << "dustwhale: no finding with id " << displayText(id) << '\n';
          return 2;
        }
        chosen.insert(id);
      }
      model.select(std::move(chosen));
    }

    model.requestConfirm(options->scope);
    const MoveRunner& moves = model.moves();
    if (moves.items().empty()) {
      std::cout << texts::kNothingSelected << '\n';
      return 1;
    }
    printLines(texts::toMoveFindings(displayItems(moves.items()), moves.bytes()));
    if (auto ended = session.confirmMove(options->dryRun, options->yes)) return *ended;
    if (!session.runMove()) return 1;

    // Whatever is still listed stayed in place.
    for (const auto& item : moves.items()) {
      for (const auto& f : model.caches()) {
        if (f.id == item.path) return 1;
      }
    }
    return 0;
  };
}

}  // namespace dw::cli
