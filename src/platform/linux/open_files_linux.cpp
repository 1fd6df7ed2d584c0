#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <string_view>
#include <utility>

#include "base/paths.h"
#include "platform/open_files.h"

namespace dw::platform {

namespace {

// Executables whose file name is not what their users call them. Content and helper processes
// of a browser run the same executable under other comm names ("Web Content"), so the
// executable decides.
constexpr std::array<std::pair<std::string_view, std::string_view>, 20> kKnownPrograms = {{
    {"firefox", "Firefox"},
    {"firefox-esr", "Firefox"},
    {"firefox-bin", "Firefox"},
    {"chrome", "Chrome"},
    {"google-chrome", "Chrome"},
    {"chromium", "Chromium"},
    {"brave", "Brave"},
    {"msedge", "Microsoft Edge"},
    {"vivaldi-bin", "Vivaldi"},
    {"opera", "Opera"},
    {"thunderbird", "Thunderbird"},
    {"code", "Visual Studio Code"},
    {"codium", "VSCodium"},
    {"spotify", "Spotify"},
    {"slack", "Slack"},
    {"discord", "Discord"},
    {"Discord", "Discord"},
    {"signal-desktop", "Signal"},
    {"telegram-desktop", "Telegram"},
    {"steam", "Steam"},
}};

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

std::string programName(const std::string& comm, const std::string& executable) {
  std::string exe = executable;
  constexpr std::string_view kDeleted = " (deleted)";  // the binary was replaced by an update
  if (exe.ends_with(kDeleted)) exe.resize(exe.size() - kDeleted.size());
  std::string_view file = paths::lastComponent(exe);
  for (const auto& [name, shown] : kKnownPrograms) {
    if (file == name || (file.empty() && comm == name)) return std::string(shown);
  }
  if (!comm.empty()) return comm;
  return std::string(file);
}

std::vector<HeldFile> filesHeldOpen(const std::vector<std::string>& folders) {
  std::vector<std::string> roots;
  for (const std::string& folder : folders) {
    if (!folder.empty()) roots.push_back(paths::resolveSymlinks(folder));
  }
  std::vector<HeldFile> held;
  if (roots.empty()) return held;
  auto inside = [&](std::string_view path) {
    for (const std::string& root : roots) {
      if (paths::isStrictlyWithin(path, root)) return true;
    }
    return false;
  };

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
      if (target.empty() || target.front() != '/' || !inside(target)) continue;
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
