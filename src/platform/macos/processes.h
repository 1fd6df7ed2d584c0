#pragma once
// The Mac's processes through libproc, for the sources of macos/ only.

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace dw::platform::macos {

// The identifiers of the processes of this user (or of every process), as proc_listpids gives.
std::vector<pid_t> processes(std::optional<uid_t> user);
// The executable a process runs (proc_pidpath); "" when it cannot be read.
std::string executablePath(pid_t pid);
// A process's own name (proc_name); "" when it cannot be read.
std::string processName(pid_t pid);

}  // namespace dw::platform::macos
