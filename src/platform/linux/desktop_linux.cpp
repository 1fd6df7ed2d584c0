#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cctype>
#include <cerrno>
#include <cstdlib>

#include <string>
#include <vector>

#include "base/paths.h"
#include "platform/desktop.h"
#include "platform/locations.h"

extern char** environ;

namespace dw::platform {

namespace {

bool onPath(const std::string& program) {
  const char* path = std::getenv("PATH");
  if (!path) return false;
  for (std::string_view dir : paths::split(path, ':')) {
    if (dir.empty()) continue;
    if (access((std::string(dir) + "/" + program).c_str(), X_OK) == 0) return true;
  }
  return false;
}

// Runs the script in a shell that puts the desktop's helper in the background and returns at
// once, so the helper is never our child and never waited for.
bool runDetached(const std::string& script, const std::vector<std::string>& args) {
  std::vector<std::string> argv = {"/bin/sh", "-c", script, "sh"};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<char*> raw;
  for (auto& a : argv)
    raw.push_back(a.data());
  raw.push_back(nullptr);
  pid_t pid = -1;
  if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, raw.data(), environ) != 0) return false;
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::string fileUri(const std::string& path) {
  static const char* hex = "0123456789ABCDEF";
  std::string out = "file://";
  for (unsigned char c : path) {
    if (std::isalnum(c) ||
        std::string_view("/-._~").find(static_cast<char>(c)) != std::string_view::npos) {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
  return out;
}

}  // namespace

bool openUrl(const std::string& url) {
  if (!onPath("xdg-open")) return false;
  return runDetached("xdg-open \"$1\" >/dev/null 2>&1 &", {url});
}

bool revealInFileManager(const std::string& path) {
  std::string parent(paths::parent(path));
  if (onPath("gdbus")) {
    // The file manager selects the item itself; without one on the bus, the folder opens.
    return runDetached(
        "{ gdbus call --session --dest org.freedesktop.FileManager1 "
        "--object-path /org/freedesktop/FileManager1 "
        "--method org.freedesktop.FileManager1.ShowItems \"['$1']\" '' >/dev/null 2>&1 "
        "|| xdg-open \"$2\" >/dev/null 2>&1; } &",
        {fileUri(path), parent});
  }
  return openUrl(fileUri(parent));
}

namespace {

constexpr std::string_view kTrashView = "trash:///";

// The user's own home Trash, where the moves of their home go: $XDG_DATA_HOME/Trash, else
// ~/.local/share/Trash of the user running us (whatever home a scan was given).
std::string homeTrashFolder() {
  const char* data = std::getenv("XDG_DATA_HOME");
  std::string base =
      data && *data == '/' ? paths::standardize(data) : paths::join(currentHome(), ".local/share");
  return paths::join(base, "Trash");
}

}  // namespace

std::string trashToShow(const std::string& trashPath, const std::string&) {
  std::string files(paths::parent(trashPath));
  if (trashPath.empty() || paths::lastComponent(files) != "files") return std::string(kTrashView);
  std::string trash(paths::parent(files));
  if (paths::resolveSymlinks(trash) == paths::resolveSymlinks(homeTrashFolder()))
    return std::string(kTrashView);
  return fileUri(files);
}

bool showTrash(const std::string& trashPath, const std::string& home) {
  std::string where = trashToShow(trashPath, home);
  if (where != kTrashView || !onPath("xdg-open")) return openUrl(where);
  // A desktop without a Trash view (no handler for trash:) shows the folder itself.
  return runDetached("{ xdg-open \"$1\" >/dev/null 2>&1 || xdg-open \"$2\" >/dev/null 2>&1; } &",
                     {where, fileUri(paths::join(homeTrashFolder(), "files"))});
}

std::string_view revealActionTitle() {
  return "Show in Folder";
}

std::string_view systemName() {
  return "The system";
}

bool hasFullDiskAccessSetting() {
  return false;
}

}  // namespace dw::platform
