// Which of this user's processes holds a file open in the given folders, through libproc: each
// process's descriptors (proc_pidinfo with PROC_PIDLISTFDS), and for each one on a file its path
// (proc_pidfdinfo with PROC_PIDFDVNODEPATHINFO). Memory maps are not read, as on Linux.

#include <libproc.h>
#include <sys/proc_info.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/macos/processes.h"
#include "platform/open_files.h"

namespace dw::platform {

namespace {

// The paths of the files a process holds open; empty when it ended or is not ours to read.
std::vector<std::string> openFilesOf(pid_t pid) {
  std::vector<std::string> files;
  int bytes = ::proc_pidinfo(pid, PROC_PIDLISTFDS, 0, nullptr, 0);
  if (bytes <= 0) return files;
  std::vector<proc_fdinfo> fds(static_cast<size_t>(bytes) / PROC_PIDLISTFD_SIZE + 16);
  bytes = ::proc_pidinfo(pid, PROC_PIDLISTFDS, 0, fds.data(),
                         static_cast<int>(fds.size() * PROC_PIDLISTFD_SIZE));
  if (bytes <= 0) return files;
  fds.resize(static_cast<size_t>(bytes) / PROC_PIDLISTFD_SIZE);
  for (const proc_fdinfo& fd : fds) {
    if (fd.proc_fdtype != PROX_FDTYPE_VNODE) continue;  // sockets, pipes, kernel queues
    vnode_fdinfowithpath info{};
    if (::proc_pidfdinfo(pid, fd.proc_fd, PROC_PIDFDVNODEPATHINFO, &info,
                         PROC_PIDFDVNODEPATHINFO_SIZE) != PROC_PIDFDVNODEPATHINFO_SIZE) {
      continue;  // closed meanwhile
    }
    if (info.pvip.vip_path[0] == '/') files.emplace_back(info.pvip.vip_path);
  }
  return files;
}

}  // namespace

std::vector<HeldFile> filesHeldOpen(const std::vector<std::string>& folders) {
  const HeldFolders searched(folders);
  std::vector<HeldFile> held;
  if (searched.empty()) return held;
  const pid_t self = ::getpid();
  for (pid_t pid : macos::processes(::getuid())) {
    if (pid == self) continue;  // our own walks hold folders of the caches open
    std::string program;
    for (std::string& path : openFilesOf(pid)) {
      if (!searched.contains(path)) continue;
      if (program.empty()) {
        program = programName(macos::processName(pid), macos::executablePath(pid));
        if (program.empty()) program = std::to_string(pid);
      }
      held.push_back({std::move(path), program});
    }
  }
  return held;
}

}  // namespace dw::platform
