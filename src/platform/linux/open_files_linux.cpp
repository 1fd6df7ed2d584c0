#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string_view>
#include <utility>

#include "platform/known_programs.h"
#include "platform/open_files.h"

namespace dw::platform {

namespace {

std::string readLine(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::string line;
  std::getline(in, line);
  return line;
}

std::string linkTarget(const std::string& path) {
  char target[4096];
  ssize_t n = ::readlink(path.c_str(), target, sizeof target - 1);
  return n > 0 ? std::string(target, static_cast<size_t>(n)) : std::string();
}

}  // namespace

std::vector<HeldFile> filesHeldOpen(const std::vector<std::string>& folders) {
  const HeldFolders searched(folders);
  std::vector<HeldFile> held;
  if (searched.empty()) return held;

  DIR* proc = ::opendir("/proc");
  if (!proc) return held;
  const uid_t me = ::getuid();
  const std::string self = std::to_string(::getpid());
  while (dirent* entry = ::readdir(proc)) {
    std::string_view name = entry->d_name;
    if (name.empty() || name.find_first_not_of("0123456789") != std::string_view::npos) continue;
    if (name == self) continue;  // our own walks hold folders of the caches open
    std::string pidFolder = "/proc/" + std::string(name);
    struct stat s {};
    if (::stat(pidFolder.c_str(), &s) != 0 || s.st_uid != me) continue;
    DIR* fds = ::opendir((pidFolder + "/fd").c_str());
    if (!fds) continue;  // ended meanwhile, or not ours to read
    std::string program;
    while (dirent* fd = ::readdir(fds)) {
      if (fd->d_name[0] == '.') continue;
      std::string target = linkTarget(pidFolder + "/fd/" + fd->d_name);
      if (target.empty() || target.front() != '/' || !searched.contains(target)) continue;
      if (program.empty()) {
        program = programName(readLine(pidFolder + "/comm"), linkTarget(pidFolder + "/exe"));
        if (program.empty()) program = std::string(name);
      }
      held.push_back({std::move(target), program});
    }
    ::closedir(fds);
  }
  ::closedir(proc);
  return held;
}

}  // namespace dw::platform
