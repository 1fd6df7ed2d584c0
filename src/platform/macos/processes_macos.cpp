// The processes running now, read through libproc: the known programs among this user's
// processes, and the executables of every process this user may see.

#include <libproc.h>
#include <sys/param.h>
#include <sys/proc_info.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/macos/processes.h"
#include "platform/workspace.h"

namespace dw::platform {

namespace macos {

std::vector<pid_t> processes(std::optional<uid_t> user) {
  const std::uint32_t type = user ? PROC_UID_ONLY : PROC_ALL_PIDS;
  const std::uint32_t info = user ? *user : 0;
  // Asked twice: the first answer is the room needed; some more for processes started between.
  int bytes = ::proc_listpids(type, info, nullptr, 0);
  if (bytes <= 0) return {};
  std::vector<pid_t> pids(static_cast<size_t>(bytes) / sizeof(pid_t) + 64);
  bytes = ::proc_listpids(type, info, pids.data(), static_cast<int>(pids.size() * sizeof(pid_t)));
  if (bytes <= 0) return {};
  pids.resize(static_cast<size_t>(bytes) / sizeof(pid_t));
  std::erase(pids, 0);
  return pids;
}

std::string executablePath(pid_t pid) {
  char path[PROC_PIDPATHINFO_MAXSIZE];
  int n = ::proc_pidpath(pid, path, sizeof path);
  return n > 0 ? std::string(path, static_cast<size_t>(n)) : std::string();
}

std::string processName(pid_t pid) {
  char name[2 * MAXCOMLEN + 1] = {};
  int n = ::proc_name(pid, name, sizeof name);
  return n > 0 ? std::string(name, static_cast<size_t>(n)) : std::string();
}

}  // namespace macos

std::vector<const KnownProgram*> runningKnownPrograms() {
  std::vector<const KnownProgram*> running;
  for (pid_t pid : macos::processes(::getuid())) {
    std::string executable = macos::executablePath(pid);
    // Its own name is read only when the executable cannot be (see knownProgramOf).
    const KnownProgram* program = executable.empty() ? knownProgramOf(macos::processName(pid), "")
                                                     : knownProgramOf("", executable);
    if (program && std::find(running.begin(), running.end(), program) == running.end())
      running.push_back(program);
  }
  return running;
}

std::set<std::string> runningExecutables() {
  std::set<std::string> executables;
  for (pid_t pid : macos::processes(std::nullopt)) {
    std::string executable = macos::executablePath(pid);
    if (!executable.empty()) executables.insert(std::move(executable));
  }
  return executables;
}

}  // namespace dw::platform
