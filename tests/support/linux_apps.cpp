#include "support/linux_apps.h"

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace dw::test {

std::string flatpakData(HomeBuilder& b, const std::string& id, std::int64_t bytes) {
  std::string folder = b.inHome(".var/app/" + id);
  if (bytes == 0) return b.folder(folder + "/config"), folder;
  b.file(folder + "/data/state.bin", bytes);
  return folder;
}

std::string flatpakInstall(HomeBuilder& b, const std::string& installation, const std::string& id,
                           const std::string& name) {
  std::string app = installation + "/app/" + id;
  b.file(app + "/current/active/files/bin/app", 8192);
  if (!name.empty()) {
    launcher(installation + "/exports/share/applications/" + id + ".desktop", name,
             "/usr/bin/flatpak run " + id, id);
  }
  return app;
}

std::string appImage(const std::string& path, AppImageShape shape) {
  makeDirs(std::filesystem::path(path).parent_path());
  if (shape != AppImageShape::marked) {
    std::filesystem::copy_file("/bin/sleep", path);
    if (shape == AppImageShape::named) {
      // The mark sits in the ELF identification's padding, which the kernel does not read.
      std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
      file.seekp(8);
      file.write("AI\x02", 3);
    }
  } else {
    std::string header(
        "\x7f"
        "ELF\x02\x01\x01\x00"
        "AI\x02",
        11);
    header.resize(4096, '\0');
    writeFile(path, header);
  }
  ::chmod(path.c_str(), 0755);
  return path;
}

std::string launcher(const std::string& path, const std::string& name, const std::string& exec,
                     const std::string& icon, const std::string& extra) {
  std::string text = "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + exec + "\n";
  if (!icon.empty()) text += "Icon=" + icon + "\n";
  text += extra;
  writeFile(path, text);
  return path;
}

void dpkgPackage(HomeBuilder& b, const std::string& package, std::int64_t installedKiB,
                 const std::vector<std::string>& files) {
  std::string list;
  for (const std::string& f : files)
    list += f + "\n";
  writeFile(b.inRoot("var/lib/dpkg/info/" + package + ":amd64.list"), "/.\n/usr\n" + list);
  std::string status = b.inRoot("var/lib/dpkg/status");
  makeDirs(b.inRoot("var/lib/dpkg"));
  std::ofstream out(status, std::ios::app);
  out << "Package: " << package << "\nStatus: install ok installed\nPriority: optional\n"
      << "Installed-Size: " << installedKiB << "\nVersion: 1.0\n\n";
}

RunningFile::RunningFile(const std::string& path) {
  pid_ = ::fork();
  if (pid_ == 0) {
    ::execl(path.c_str(), path.c_str(), "600", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  if (pid_ < 0) throw std::runtime_error("cannot start " + path);
  // Until the exec has happened, /proc shows the test binary.
  std::string exe = "/proc/" + std::to_string(pid_) + "/exe";
  for (int i = 0; i < 200; ++i) {
    std::error_code ec;
    if (std::filesystem::read_symlink(exe, ec) == std::filesystem::path(path)) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

RunningFile::~RunningFile() {
  if (pid_ > 0) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
}

}  // namespace dw::test
