#include <iostream>

#include "cli/commands.h"
#include "cli/findings_output.h"
#include "cli/output.h"
#include "cli/session.h"

namespace dw::cli {

Runner addScan(CLI::App& app) {
  struct Options {
    PlaceOptions places;
    bool json = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = app.add_subcommand(
      "scan", "Find caches, leftovers of removed apps and large files (reads only)");
  options->places.addTo(*cmd);
  cmd->add_flag("--json", options->json, "Print one JSON object");

  return [options] {
    Session session(options->places.locations());
    bool finished = session.scan();
    if (!finished) {
      std::cerr << displayText(session.model().message()) << '\n';
      return session.unfinishedStatus();
    }
    if (options->json) {
      printJson(scanJson(session.model()));
    } else {
      printScanText(session.model());
    }
    return 0;
  };
}

}  // namespace dw::cli
