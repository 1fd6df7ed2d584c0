#include "support/home_builder.h"

#include <fcntl.h>
#include <grp.h>
#include <plist/plist.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "base/paths.h"
#include "measure/disk_sizer.h"

namespace dw::test {

namespace fs = std::filesystem;

namespace {

constexpr uid_t kNobody = 65534;
constexpr std::int64_t kBlock = 4096;

void fail(const std::string& what) {
  throw std::runtime_error("HomeBuilder: " + what);
}

void writeData(int fd, std::int64_t bytes, const std::string& path) {
  std::string chunk(1 << 20, 'd');
  while (bytes > 0) {
    auto n =
        static_cast<size_t>(std::min<std::int64_t>(bytes, static_cast<std::int64_t>(chunk.size())));
    if (::write(fd, chunk.data(), n) != static_cast<ssize_t>(n)) fail("short write " + path);
    bytes -= static_cast<std::int64_t>(n);
  }
}

std::string bundleName(const std::string& bundleID) {
  auto dot = bundleID.rfind('.');
  return dot == std::string::npos ? bundleID : bundleID.substr(dot + 1);
}

}  // namespace

void writePlist(const std::string& path, const PlistEntries& entries, PlistFormat format) {
  plist_t dict = plist_new_dict();
  for (const auto& [key, value] : entries) {
    if (const auto* text = std::get_if<std::string>(&value)) {
      plist_dict_set_item(dict, key.c_str(), plist_new_string(text->c_str()));
    } else {
      plist_t array = plist_new_array();
      for (const std::string& item : std::get<std::vector<std::string>>(value)) {
        plist_array_append_item(array, plist_new_string(item.c_str()));
      }
      plist_dict_set_item(dict, key.c_str(), array);
    }
  }
  char* data = nullptr;
  uint32_t length = 0;
  if (format == PlistFormat::xml) {
    plist_to_xml(dict, &data, &length);
  } else {
    plist_to_bin(dict, &data, &length);
  }
  plist_free(dict);
  if (!data) fail("cannot encode " + path);
  std::string bytes(data, length);
  if (format == PlistFormat::xml) {
    plist_to_xml_free(data);
  } else {
    plist_to_bin_free(data);
  }
  writeFile(path, bytes);
}

HomeBuilder::HomeBuilder() : root_(dir_.path()), home_(dir_ / "Users/me") {
  for (const char* folder : {"Applications", "Applications/Utilities", "Library", "System"}) {
    makeDirs(inRoot(folder));
  }
  for (const char* folder : {"Library/Caches", "Library/Application Support", "Library/Preferences",
                             "Desktop", "Documents", "Downloads", "Movies"}) {
    makeDirs(inHome(folder));
  }
}

std::string HomeBuilder::inHome(const std::string& relative) const {
  return paths::join(home_, relative);
}

std::string HomeBuilder::inRoot(const std::string& relative) const {
  return paths::join(root_, relative);
}

std::string HomeBuilder::folder(const std::string& path) {
  makeDirs(path);
  return path;
}

std::string HomeBuilder::folderOfSize(const std::string& path, std::int64_t bytes) {
  if (bytes % kBlock != 0) fail("sizes are whole 4096-byte blocks: " + std::to_string(bytes));
  makeDirs(path);
  std::int64_t missing = bytes - DiskSizer::measure(path).bytes;
  if (missing < 0) fail(path + " is already larger than " + std::to_string(bytes));
  if (missing == 0) return path;

  std::string filler = paths::join(path, "filler.bin");
  int fd = ::open(filler.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (fd < 0) fail("cannot create " + filler);
  writeData(fd, missing, filler);
  // The file system may still add a block of its own (an extent index for a fragmented file);
  // trim or extend the data until the walk measures the size asked for.
  for (int round = 0; round < 4; ++round) {
    ::fsync(fd);
    std::int64_t over = DiskSizer::measure(path).bytes - bytes;
    if (over == 0) break;
    struct stat s {};
    ::fstat(fd, &s);
    if (over > 0) {
      if (::ftruncate(fd, s.st_size - over) != 0) fail("cannot trim " + filler);
    } else {
      ::lseek(fd, 0, SEEK_END);
      writeData(fd, -over, filler);
    }
  }
  ::close(fd);
  std::int64_t measured = DiskSizer::measure(path).bytes;
  if (measured != bytes) {
    fail(path + " measures " + std::to_string(measured) + ", not " + std::to_string(bytes));
  }
  return path;
}

std::string HomeBuilder::cache(const std::string& name, std::int64_t bytes) {
  return folderOfSize(inHome("Library/Caches/" + name), bytes);
}

std::string HomeBuilder::file(const std::string& path, std::int64_t bytes) {
  makeDirs(std::string(paths::parent(path)));
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (fd < 0) fail("cannot create " + path);
  writeData(fd, bytes, path);
  ::fsync(fd);
  ::close(fd);
  return path;
}

std::string HomeBuilder::sparseFile(const std::string& path, std::int64_t logicalBytes) {
  makeDirs(std::string(paths::parent(path)));
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (fd < 0) fail("cannot create " + path);
  if (::ftruncate(fd, logicalBytes) != 0) fail("cannot size " + path);
  ::close(fd);
  return path;
}

std::string HomeBuilder::symlink(const std::string& target, const std::string& linkPath) {
  makeDirs(std::string(paths::parent(linkPath)));
  if (::symlink(target.c_str(), linkPath.c_str()) != 0) fail("cannot link " + linkPath);
  return linkPath;
}

std::string HomeBuilder::hardLink(const std::string& existing, const std::string& linkPath) {
  makeDirs(std::string(paths::parent(linkPath)));
  if (::link(existing.c_str(), linkPath.c_str()) != 0) fail("cannot link " + linkPath);
  return linkPath;
}

std::string HomeBuilder::app(const std::string& path, const std::string& bundleID,
                             PlistFormat format) {
  writePlist(paths::join(path, "Contents/Info.plist"),
             {{"CFBundleIdentifier", bundleID},
              {"CFBundleName", bundleName(bundleID)},
              {"CFBundleShortVersionString", "1.0"}},
             format);
  makeDirs(paths::join(path, "Contents/MacOS"));
  return path;
}

std::string HomeBuilder::nestedBundle(const std::string& appPath, const std::string& relative,
                                      const std::string& bundleID, PlistFormat format) {
  return app(paths::join(appPath, relative), bundleID, format);
}

std::string HomeBuilder::launchAgent(const std::string& label, const std::string& program,
                                     PlistFormat format, const std::string& fileName) {
  std::string path =
      inHome("Library/LaunchAgents/" + (fileName.empty() ? label + ".plist" : fileName));
  writePlist(path, {{"Label", label}, {"ProgramArguments", std::vector<std::string>{program}}},
             format);
  return path;
}

std::string HomeBuilder::preference(const std::string& bundleID) {
  std::string path = inHome("Library/Preferences/" + bundleID + ".plist");
  writePlist(path, {{"LastWindow", "main"}}, PlistFormat::binary);
  return path;
}

std::optional<std::string> HomeBuilder::runUnprivileged(const std::function<std::string()>& fn) {
  if (::geteuid() != 0) return fn();

  // The whole temporary tree goes to the unprivileged user, so that only the folders made
  // unreadable on purpose stay closed to it.
  std::error_code ec;
  ::lchown(dir_.path().c_str(), kNobody, kNobody);
  for (auto it = fs::recursive_directory_iterator(dir_.path(), ec);
       !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    ::lchown(it->path().c_str(), kNobody, kNobody);
  }

  int pipeFds[2];
  if (::pipe(pipeFds) != 0) return std::nullopt;
  pid_t child = ::fork();
  if (child < 0) return std::nullopt;
  if (child == 0) {
    ::close(pipeFds[0]);
    if (::setgroups(0, nullptr) != 0 || ::setresgid(kNobody, kNobody, kNobody) != 0 ||
        ::setresuid(kNobody, kNobody, kNobody) != 0) {
      ::_exit(2);
    }
    std::string out;
    try {
      out = fn();
    } catch (...) {
      ::_exit(3);
    }
    size_t done = 0;
    while (done < out.size()) {
      ssize_t n = ::write(pipeFds[1], out.data() + done, out.size() - done);
      if (n <= 0) ::_exit(4);
      done += static_cast<size_t>(n);
    }
    ::_exit(0);
  }
  ::close(pipeFds[1]);
  std::string out;
  char buffer[4096];
  ssize_t n;
  while ((n = ::read(pipeFds[0], buffer, sizeof buffer)) > 0)
    out.append(buffer, static_cast<size_t>(n));
  ::close(pipeFds[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
  return out;
}

RunningProgram::RunningProgram(const std::string& name) {
  std::string program = dir_ / name;
  fs::copy_file("/bin/sleep", program);
  ::chmod(program.c_str(), 0755);
  std::string arg0 = name;
  std::string seconds = "30";
  char* argv[] = {arg0.data(), seconds.data(), nullptr};
  pid_t parent = ::getpid();
  pid_ = ::fork();
  if (pid_ < 0) fail("cannot start " + program);
  if (pid_ == 0) {
    // Ends with the test process, so that an interrupted run leaves no stray "chrome" that
    // another run would see.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(1);
    ::execv(program.c_str(), argv);
    ::_exit(127);
  }
}

RunningProgram::~RunningProgram() {
  stop();
}

void RunningProgram::stop() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGTERM);
  int status = 0;
  ::waitpid(pid_, &status, 0);
  pid_ = -1;
}

bool eventually(const std::function<bool()>& pred, std::chrono::milliseconds limit) {
  auto deadline = std::chrono::steady_clock::now() + limit;
  while (true) {
    if (pred()) return true;
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

}  // namespace dw::test
