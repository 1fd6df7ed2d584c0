#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "base/paths.h"
#include "platform/workspace.h"

namespace dw::platform {

namespace {

// Linux has no bundle identifiers; a known application is recognised by its process names.
// Chromium shares Chrome's profile layout and caches, so it counts as Chrome running.
struct KnownApp {
  std::string_view bundleID;
  std::array<std::string_view, 5> processNames;
};
constexpr std::array<KnownApp, 1> kKnownApps = {{
    {"com.google.Chrome",
     {"chrome", "google-chrome", "google-chrome-stable", "chromium", "chromium-browser"}},
}};

constexpr auto kPollInterval = std::chrono::seconds(1);

std::string readSmall(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::string text;
  char buffer[512];
  in.read(buffer, sizeof buffer);
  text.assign(buffer, static_cast<size_t>(in.gcount()));
  return text;
}

// The names a process goes by: its comm (cut to 15 bytes by the kernel), and the last component
// of its executable and of argv[0], which keep long names whole.
std::vector<std::string> processNames(const std::string& pidFolder) {
  std::vector<std::string> names;
  std::string comm = readSmall(pidFolder + "/comm");
  while (!comm.empty() && comm.back() == '\n')
    comm.pop_back();
  if (!comm.empty()) names.push_back(comm);

  char target[4096];
  ssize_t n = ::readlink((pidFolder + "/exe").c_str(), target, sizeof target - 1);
  if (n > 0) {
    std::string exe(target, static_cast<size_t>(n));
    constexpr std::string_view kDeleted = " (deleted)";  // the binary was replaced by an update
    if (exe.size() > kDeleted.size() && exe.ends_with(kDeleted)) {
      exe.resize(exe.size() - kDeleted.size());
    }
    names.emplace_back(paths::lastComponent(exe));
  }

  std::string cmdline = readSmall(pidFolder + "/cmdline");
  std::string argv0 = cmdline.substr(0, cmdline.find('\0'));
  if (!argv0.empty()) names.emplace_back(paths::lastComponent(argv0));
  return names;
}

// The bundle identifiers of the known applications that have a process of this user right now. A
// poller being stopped leaves off at once: its answer is not wanted any more.
std::set<std::string> runningKnownApps(const std::stop_token& stop = {}) {
  std::set<std::string> running;
  DIR* proc = ::opendir("/proc");
  if (!proc) return running;
  const uid_t me = ::getuid();
  while (dirent* entry = ::readdir(proc)) {
    if (stop.stop_requested()) break;
    std::string_view name = entry->d_name;
    if (name.empty() || name.find_first_not_of("0123456789") != std::string_view::npos) continue;
    // Only this user's programs: another user's browser does not hold this user's caches.
    struct stat s {};
    if (::fstatat(::dirfd(proc), entry->d_name, &s, 0) != 0 || s.st_uid != me) continue;
    for (const std::string& processName : processNames("/proc/" + std::string(name))) {
      for (const KnownApp& app : kKnownApps) {
        for (std::string_view known : app.processNames) {
          if (!known.empty() && processName == known) running.emplace(app.bundleID);
        }
      }
    }
    if (running.size() == kKnownApps.size()) break;
  }
  ::closedir(proc);
  return running;
}

// The identifiers of the Flatpak apps with a process of this user's right now. Each sandboxed
// process shows its app in /.flatpak-info under its own root; the cgroup answers when that root
// cannot be entered (another user's process, a sandbox being torn down).
std::set<std::string> runningFlatpakApps() {
  std::set<std::string> running;
  DIR* proc = ::opendir("/proc");
  if (!proc) return running;
  while (dirent* entry = ::readdir(proc)) {
    std::string_view name = entry->d_name;
    if (name.empty() || name.find_first_not_of("0123456789") != std::string_view::npos) continue;
    std::string folder = "/proc/" + std::string(name);
    std::string id = flatpakAppOfCgroup(readSmall(folder + "/cgroup"));
    if (id.empty()) id = flatpakAppOfInfo(readSmall(folder + "/root/.flatpak-info"));
    if (!id.empty()) running.insert(std::move(id));
  }
  ::closedir(proc);
  return running;
}

class ProcWorkspace final : public Workspace {
 public:
  ~ProcWorkspace() override { stopPolling(); }

  bool isRunning(std::string_view bundleID) const override {
    return runningBundleIDs().contains(std::string(bundleID));
  }
  std::set<std::string> runningBundleIDs() const override {
    std::set<std::string> running = runningKnownApps();
    running.merge(runningFlatpakApps());
    return running;
  }

  // Called from one thread (the receiver's), or from inside the handler itself.
  void setAppEventHandler(AppEventHandler handler) override {
    bool wanted = static_cast<bool>(handler);
    bool start = false;
    {
      std::lock_guard lock(mutex_);
      handler_ = std::move(handler);
      start = wanted && !polling_;
      if (start) polling_ = true;
    }
    // From inside the handler the poller is this thread: it reads the new handler on its next
    // round and ends by itself when that is empty; it cannot join itself.
    if (std::this_thread::get_id() == poller_.get_id()) return;
    if (!wanted) {
      stopPolling();
    } else if (start) {
      if (poller_.joinable()) poller_.join();  // a poller that already ended by itself
      poller_ = std::jthread([this](std::stop_token stop) { poll(stop); });
    }
  }

 private:
  void stopPolling() {
    if (poller_.joinable()) {
      poller_.request_stop();
      poller_.join();
    }
    poller_ = std::jthread();
    std::lock_guard lock(mutex_);
    polling_ = false;
  }

  void poll(std::stop_token stop) {
    std::set<std::string> before = runningKnownApps(stop);
    while (true) {
      {
        std::unique_lock lock(mutex_);
        // Wakes early only when stop is requested.
        wake_.wait_for(lock, stop, kPollInterval, [] { return false; });
      }
      if (stop.stop_requested()) return;
      std::set<std::string> now = runningKnownApps(stop);
      if (stop.stop_requested()) return;
      AppEventHandler handler;
      {
        std::lock_guard lock(mutex_);
        if (!handler_) {
          polling_ = false;
          return;
        }
        handler = handler_;
      }
      // Called without the lock, so the handler may set another handler.
      for (const std::string& id : now) {
        if (!before.contains(id)) handler(id, true);
      }
      for (const std::string& id : before) {
        if (!now.contains(id)) handler(id, false);
      }
      before = std::move(now);
    }
  }

  std::mutex mutex_;
  std::condition_variable_any wake_;
  AppEventHandler handler_;
  bool polling_ = false;
  std::jthread poller_;  // last: stopped before the members it uses go away
};

}  // namespace

std::set<std::string> runningExecutables() {
  std::set<std::string> executables;
  DIR* proc = ::opendir("/proc");
  if (!proc) return executables;
  while (dirent* entry = ::readdir(proc)) {
    std::string_view name = entry->d_name;
    if (name.empty() || name.find_first_not_of("0123456789") != std::string_view::npos) continue;
    char target[4096];
    ssize_t n =
        ::readlink(("/proc/" + std::string(name) + "/exe").c_str(), target, sizeof target - 1);
    if (n <= 0) continue;
    std::string exe(target, static_cast<size_t>(n));
    constexpr std::string_view kDeleted = " (deleted)";
    if (exe.size() > kDeleted.size() && exe.ends_with(kDeleted))
      exe.resize(exe.size() - kDeleted.size());
    executables.insert(std::move(exe));
  }
  ::closedir(proc);
  return executables;
}

std::unique_ptr<Workspace> systemWorkspace() {
  return std::make_unique<ProcWorkspace>();
}

std::optional<TimePoint> appLastUsed(const std::string&) {
  return std::nullopt;  // no record of application use on Linux; see the header
}

}  // namespace dw::platform
