#pragma once
// Runs a program as a person would from a shell (standard input from /dev/null, so never a
// terminal) and keeps what it printed.

#include <string>
#include <vector>

namespace dw::test {

struct CommandResult {
  int status = -1;  // exit status; -1 when the process did not exit normally
  std::string out, err;
};

CommandResult runCommand(const std::vector<std::string>& args);
// The dustwhale binary under test with these arguments.
CommandResult dustwhale(std::vector<std::string> args);

class HomeBuilder;
// dustwhale <command> over the tree (its root, home and layout), then extra.
CommandResult dustwhaleOn(const HomeBuilder& tree, const std::string& command,
                          std::vector<std::string> extra = {});

}  // namespace dw::test
