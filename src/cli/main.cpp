// dustwhale: gets disk space back safely. Nothing is ever deleted: every clear moves items to
// the Trash, records the move, and can put it back.

#include <CLI/CLI.hpp>
#include <iostream>
#include <map>

#include "cli/commands.h"
#include "cli/output.h"

// Exit status: 0 done, 1 refused or failed, 2 a mistake on the command line, 130 stopped by
// Ctrl-C. The man page lists them.
int main(int argc, char** argv) {
  CLI::App app{"dustwhale: gets disk space back safely. Nothing is ever deleted.", "dustwhale"};
  app.set_version_flag("--version", std::string("dustwhale ") + DUSTWHALE_VERSION);
  // At most one here; a missing one is reported after parsing, so that an unknown option is
  // named as such instead of being hidden behind "A subcommand is required".
  app.require_subcommand(-1);

  std::map<std::string, dw::cli::Runner> runners;
  runners["scan"] = dw::cli::addScan(app);
  runners["clear"] = dw::cli::addClear(app);
  runners["history"] = dw::cli::addHistory(app);
  runners["put-back"] = dw::cli::addPutBack(app);
  runners["measure"] = dw::cli::addMeasure(app);
  runners["duplicates"] = dw::cli::addDuplicates(app);
  runners["space-map"] = dw::cli::addSpaceMap(app);
  runners["apps"] = dw::cli::addApps(app);
  runners["uninstall"] = dw::cli::addUninstall(app);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    // One line, never a crash; --help says the rest.
    std::cerr << "dustwhale: " << dw::cli::displayText(e.what()) << " (see dustwhale --help)\n";
    return 2;
  }
  if (app.get_subcommands().empty()) {
    std::cerr << "dustwhale: A subcommand is required (see dustwhale --help)\n";
    return 2;
  }
  for (CLI::App* sub : app.get_subcommands()) {
    auto it = runners.find(sub->get_name());
    if (it != runners.end()) {
      try {
        return it->second();
      } catch (const dw::cli::UsageError& e) {
        std::cerr << "dustwhale: " << dw::cli::displayText(e.what()) << '\n';
        return 2;
      } catch (const std::exception& e) {
        std::cerr << "dustwhale: " << dw::cli::displayText(e.what()) << '\n';
        return 1;
      }
    }
  }
  return 2;
}
