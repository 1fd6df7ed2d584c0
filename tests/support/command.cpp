#include "support/command.h"

#include <sys/wait.h>

#include <cstdio>

#include "support/home_builder.h"
#include "support/temp_dir.h"

namespace dw::test {

namespace {
std::string quoted(const std::string& arg) {
  std::string q = "'";
  for (char c : arg)
    q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}
}  // namespace

CommandResult runCommand(const std::vector<std::string>& args) {
  TempDir scratch;
  std::string command;
  for (const auto& a : args)
    command += quoted(a) + " ";
  command += "</dev/null 2>" + quoted(scratch / "stderr");
  CommandResult r;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return r;
  char buffer[4096];
  while (size_t n = std::fread(buffer, 1, sizeof buffer, pipe))
    r.out.append(buffer, n);
  int status = ::pclose(pipe);
  if (WIFEXITED(status)) r.status = WEXITSTATUS(status);
  r.err = readFile(scratch / "stderr");
  return r;
}

CommandResult dustwhale(std::vector<std::string> args) {
#ifdef DUSTWHALE_BINARY
  args.insert(args.begin(), DUSTWHALE_BINARY);
#else
  args.insert(args.begin(), "dustwhale");
#endif
  return runCommand(args);
}

CommandResult dustwhaleOn(const HomeBuilder& tree, const std::string& command,
                          std::vector<std::string> extra) {
  const char* layout = tree.locations().layout == Locations::Layout::linux ? "linux" : "macos";
  std::vector<std::string> args{command,     "--root",   tree.root(), "--home",
                                tree.home(), "--layout", layout};
  args.insert(args.end(), extra.begin(), extra.end());
  return dustwhale(args);
}

}  // namespace dw::test
