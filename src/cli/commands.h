#pragma once
// The dustwhale subcommands. Each registers itself on the app and returns the function that
// runs it once the command line has been parsed; that function returns the exit status.

#include <CLI/CLI.hpp>
#include <functional>
#include <stdexcept>

namespace dw::cli {

using Runner = std::function<int()>;

// A mistake on the command line that only shows once it is read (a home folder that does not
// exist, an id that names nothing): the program says so and exits with status 2, as it does
// for an unknown option.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

Runner addMeasure(CLI::App& app);
Runner addScan(CLI::App& app);
Runner addClear(CLI::App& app);
Runner addHistory(CLI::App& app);
Runner addPutBack(CLI::App& app);
Runner addDuplicates(CLI::App& app);
Runner addSpaceMap(CLI::App& app);
Runner addApps(CLI::App& app);
Runner addUninstall(CLI::App& app);

}  // namespace dw::cli
