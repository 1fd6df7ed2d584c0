#include "support/home_builder.h"

#include <fcntl.h>
#include <grp.h>
#include <plist/plist.h>
#include <signal.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <thread>

#include "measure/disk_sizer.h"

namespace dw::test {

namespace fs = std::filesystem;

namespace {

constexpr uid_t kNobody = kNobodyUid;

void fail(const std::string& what) {
  throw std::runtime_error("HomeBuilder: " + what);
}

// Creates path (and its parents) for writing; it must not exist yet.
int create(const std::string& path) {
  makeDirs(fs::path(path).parent_path());
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (fd < 0) fail("cannot create " + path);
  return fd;
}

void writeData(int fd, std::int64_t bytes) {
  static const std::string chunk(1 << 20, 'd');
  while (bytes > 0) {
    auto n = static_cast<size_t>(std::min<std::int64_t>(bytes, chunk.size()));
    if (::write(fd, chunk.data(), n) != static_cast<ssize_t>(n)) fail("short write");
    bytes -= static_cast<std::int64_t>(n);
  }
}

}  // namespace

void writePlist(const std::string& path, const PlistEntries& entries, PlistFormat format) {
  plist_t dict = plist_new_dict();
  for (const auto& [key, value] : entries) {
    const auto* text = std::get_if<std::string>(&value);
    plist_t item = text ? plist_new_string(text->c_str()) : plist_new_array();
    for (const std::string& s : text ? std::vector<std::string>{} : std::get<1>(value))
      plist_array_append_item(item, plist_new_string(s.c_str()));
    plist_dict_set_item(dict, key.c_str(), item);
  }
  char* data = nullptr;
  uint32_t length = 0;
  bool xml = format == PlistFormat::xml;
  (xml ? plist_to_xml : plist_to_bin)(dict, &data, &length);
  plist_free(dict);
  if (!data) fail("cannot encode " + path);
  std::string bytes(data, length);
  (xml ? plist_to_xml_free : plist_to_bin_free)(data);
  writeFile(path, bytes);
}

HomeBuilder::HomeBuilder() : HomeBuilder(Locations::Layout::macos) {}

HomeBuilder::HomeBuilder(Locations::Layout layout)
    : layout_(layout),
      root_(dir_.path()),
      home_(dir_ / (layout == Locations::Layout::linux ? "home/me" : "Users/me")) {
  if (layout == Locations::Layout::linux) {
    for (const char* f : {"usr/bin", "var/lib", "tmp"})
      makeDirs(inRoot(f));
    for (const char* f : {".cache", ".config", ".local/share", "Desktop", "Documents", "Downloads",
                          "Videos", "Music", "Pictures"})
      makeDirs(inHome(f));
    return;
  }
  for (const char* f : {"Applications/Utilities", "Library", "System"})
    makeDirs(inRoot(f));
  for (const char* f : {"Library/Caches", "Library/Application Support", "Library/Preferences",
                        "Desktop", "Documents", "Downloads", "Movies"})
    makeDirs(inHome(f));
}

std::string HomeBuilder::folderOfSize(const std::string& path, std::int64_t bytes) {
  if (bytes % 4096 != 0) fail("sizes are whole 4096-byte blocks: " + std::to_string(bytes));
  makeDirs(path);
  auto over = [&] { return DiskSizer::measure(path).bytes - bytes; };
  if (over() > 0) fail(path + " is already larger than " + std::to_string(bytes));
  if (over() == 0) return path;
  int fd = create(path + "/filler.bin");
  writeData(fd, -over());
  // The file system may still add a block of its own (an extent index for a fragmented file);
  // trim or extend the data until the walk measures the size asked for.
  for (int round = 0; round < 4 && (::fsync(fd), over() != 0); ++round) {
    if (over() < 0) {
      ::lseek(fd, 0, SEEK_END);
      writeData(fd, -over());
    } else if (::ftruncate(fd, ::lseek(fd, 0, SEEK_END) - over()) != 0) {
      fail("cannot trim " + path);
    }
  }
  ::close(fd);
  if (over() != 0) fail(path + " measures " + std::to_string(over()) + " bytes off");
  return path;
}

std::string HomeBuilder::cache(const std::string& name, std::int64_t bytes) {
  bool linux = layout_ == Locations::Layout::linux;
  return folderOfSize(inHome((linux ? ".cache/" : "Library/Caches/") + name), bytes);
}

std::string HomeBuilder::toolCache(const std::string& tool, const std::string& path,
                                   std::int64_t bytes) {
  std::string inner;
  if (tool == "cargo") {
    inner = "index.crates.io-6f17d22bba15001f";
  } else if (tool == "cargo-git") {
    inner = "serde-1a2b3c4d5e6f7a8b";
  } else if (tool == "go") {
    writeFile(path + "/golang.org/x/text/@v/list", "v0.14.0\n");
    inner = "github.com/user/module/@v";
  } else if (tool == "npm") {
    makeDirs(path + "/index-v5");
    inner = "content-v2/sha512";
  } else if (tool == "npx") {
    inner = "0123456789abcdef";
  } else if (tool == "gradle") {
    makeDirs(path + "/8.5");
    inner = "modules-2/files-2.1";
  } else if (tool == "nuget") {
    writeFile(path + "/newtonsoft.json/13.0.1/.nupkg.metadata", "{}");
    inner = "newtonsoft.json/13.0.1";
  } else if (tool == "bun") {
    writeFile(path + "/3f2a9c.npm", "manifest");
    makeDirs(path + "/@types/node@20.0.0@@@1");
    inner = "react@18.2.0@@@1";
  } else {
    fail("no such tool: " + tool);
  }
  folderOfSize(path + "/" + inner, bytes);
  return path;
}

std::string HomeBuilder::userDirs(const std::vector<std::pair<std::string, std::string>>& entries) {
  std::string text = "# written by the test, as xdg-user-dirs-update would\n";
  for (const auto& [key, value] : entries)
    text += "XDG_" + key + "_DIR=\"" + value + "\"\n";
  std::string path = inHome(".config/user-dirs.dirs");
  writeFile(path, text);
  return path;
}

std::string HomeBuilder::chromeProfileCache(const std::string& browser, const std::string& profile,
                                            const std::string& folder, std::int64_t bytes) {
  return folderOfSize(inHome(".config/" + browser + "/" + profile + "/" + folder), bytes);
}

std::string HomeBuilder::file(const std::string& path, std::int64_t bytes) {
  int fd = create(path);
  writeData(fd, bytes);
  ::fsync(fd);  // so that its blocks are final
  return ::close(fd), path;
}

std::string HomeBuilder::sparseFile(const std::string& path, std::int64_t logicalBytes) {
  int fd = create(path);
  if (::ftruncate(fd, logicalBytes) != 0) fail("cannot size " + path);
  ::close(fd);
  return path;
}

std::string HomeBuilder::symlink(const std::string& target, const std::string& linkPath) {
  makeDirs(fs::path(linkPath).parent_path());
  if (::symlink(target.c_str(), linkPath.c_str()) != 0) fail("cannot link " + linkPath);
  return linkPath;
}

std::string HomeBuilder::app(const std::string& path, const std::string& bundleID,
                             PlistFormat format) {
  writePlist(path + "/Contents/Info.plist", {{"CFBundleIdentifier", bundleID}}, format);
  makeDirs(path + "/Contents/MacOS");
  return path;
}

std::string HomeBuilder::launchAgent(const std::string& label, const std::string& program,
                                     PlistFormat format, const std::string& fileName) {
  std::string path =
      inHome("Library/LaunchAgents/" + (fileName.empty() ? label + ".plist" : fileName));
  writePlist(path, {{"Label", label}, {"ProgramArguments", std::vector{program}}}, format);
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
  // unreadable on purpose stay closed to it; and back afterwards, so that the test's own user
  // still owns what it built (only the user's own items are ever offered).
  auto giveTree = [this](uid_t user, gid_t group) {
    std::error_code ec;
    ::lchown(dir_.path().c_str(), user, group);
    for (auto it = fs::recursive_directory_iterator(dir_.path(), ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec))
      ::lchown(it->path().c_str(), user, group);
  };
  giveTree(kNobody, kNobody);
  std::shared_ptr<void> giveBack(nullptr, [&](void*) { giveTree(::geteuid(), ::getegid()); });

  return runAsNobody(fn);
}

std::optional<std::string> runAsNobody(const std::function<std::string()>& fn) {
  if (::geteuid() != 0) return fn();
  // The child hands its answer back in a file of its own folder.
  TempDir out;
  ::chown(out.path().c_str(), kNobody, kNobody);
  pid_t child = ::fork();
  if (child < 0) return std::nullopt;
  if (child == 0) {
    if (::setgroups(0, nullptr) != 0 || ::setresgid(kNobody, kNobody, kNobody) != 0 ||
        ::setresuid(kNobody, kNobody, kNobody) != 0)
      ::_exit(2);
    try {
      writeFile(out / "result", fn());
    } catch (...) {
      ::_exit(3);
    }
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
  return readFile(out / "result");
}

RunningProgram::RunningProgram(const std::string& name, const std::string& holdOpen,
                               std::optional<uid_t> user) {
  std::string program = dir_ / name, arg0 = name, seconds = "30";
  fs::copy_file("/bin/sleep", program);
  ::chmod(program.c_str(), 0755);
  if (user) ::chmod(dir_.path().c_str(), 0755);  // the other user must reach the program
  char* argv[] = {arg0.data(), seconds.data(), nullptr};
  pid_t parent = ::getpid();
  pid_ = ::fork();
  if (pid_ < 0) fail("cannot start " + program);
  if (pid_ == 0) {
    // Ends with the test process, so that an interrupted run leaves no stray "chrome" that
    // another run would see.
#ifdef __linux__
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    if (::getppid() != parent) ::_exit(1);
    // Opened without O_CLOEXEC, so the program holds it open as long as it runs.
    if (!holdOpen.empty() && ::open(holdOpen.c_str(), O_RDONLY) < 0) ::_exit(126);
    if (user && (::setgid(*user) != 0 || ::setuid(*user) != 0)) ::_exit(125);
    ::execv(program.c_str(), argv);
    ::_exit(127);
  }
}

void RunningProgram::stop() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGTERM);
  ::waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

bool eventually(const std::function<bool()>& pred, std::chrono::milliseconds limit) {
  auto deadline = std::chrono::steady_clock::now() + limit;
  while (!pred()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return true;
}

}  // namespace dw::test
