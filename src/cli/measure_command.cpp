#include <sys/stat.h>

#include <iostream>

#include "base/time.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "findings/size_text.h"
#include "measure/disk_sizer.h"

namespace dw::cli {

Runner addMeasure(CLI::App& app) {
  struct Options {
    bool json = false;
    std::vector<std::string> paths;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = app.add_subcommand(
      "measure", "Allocated size of each folder tree (hard links once, links not followed)");
  cmd->add_flag("--json", options->json, "Print a JSON array");
  cmd->add_option("paths", options->paths, "Folders or files to measure")->required();

  return [options] {
    int status = 0;
    json::Value rows{json::Array{}};
    for (const std::string& path : options->paths) {
      struct stat s {};
      if (::lstat(path.c_str(), &s) != 0) {
        std::cerr << "dustwhale: " << displayText(path) << ": no such file or folder\n";
        status = 1;
        continue;
      }
      DiskSizer::SizeReading reading = DiskSizer::measure(path);
      if (options->json) {
        json::Value row{json::Object{}};
        row.set("path", path);
        row.set("bytes", reading.bytes);
        row.set("newest", isoOrNull(reading.newest));
        rows.push(std::move(row));
      } else {
        std::cout << reading.bytes << '\t' << sizeText(reading.bytes) << '\t'
                  << (reading.newest ? timefmt::isoUtc(*reading.newest) : "-") << '\t'
                  << displayText(path) << '\n';
      }
    }
    if (options->json) printJson(rows);
    return status;
  };
}

}  // namespace dw::cli
