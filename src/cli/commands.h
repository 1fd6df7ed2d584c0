#pragma once
// The dustwhale subcommands. Each registers itself on the app and returns the function that
// runs it once the command line has been parsed; that function returns the exit status.

#include <CLI/CLI.hpp>
#include <functional>

namespace dw::cli {

using Runner = std::function<int()>;

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
