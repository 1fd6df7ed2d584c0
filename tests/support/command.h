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

}  // namespace dw::test
