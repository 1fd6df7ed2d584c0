#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "base/paths.h"
#include "platform/known_programs.h"
#include "platform/workspace.h"

namespace dw::platform {

namespace {

constexpr auto kPollInterval = std::chrono::seconds(1);

std::string readSmall(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::string text;
  char buffer[512];
  in.read(buffer, sizeof buffer);
  text.assign(buffer, static_cast<size_t>(in.gcount()));
  return text;
}

std::string linkTarget(const std::string& path) {
  char target[4096];
  ssize_t n = ::readlink(path.c_str(), target, sizeof target - 1);
  return n > 0 ? std::string(target, static_cast<size_t>(n)) : std::string();
}

// The known programs that have a process of this user right now, each once. A poller being
// stopped leaves off at once: its answer is not wanted any more.
std::vector<const KnownProgram*> knownProgramsRunning(const std::stop_token& stop = {}) {
  std::vector<const KnownProgram*> running;
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
    std::string folder = "/proc/" + std::string(name);
    std::string exe = linkTarget(folder + "/exe");
    // Its own names are read only when the executable cannot be (see knownProgramOf).
    const KnownProgram* program = exe.empty()
                                      ? knownProgramOf(readSmall(folder + "/comm"), "",
                                                       argv0Of(readSmall(folder + "/cmdline")))
                                      : knownProgramOf("", exe);
    if (program && std::find(running.begin(), running.end(), program) == running.end())
      running.push_back(program);
  }
  ::closedir(proc);
  return running;
}

// The identifiers the known programs running now count as.
std::set<std::string> runningKnownApps(const std::stop_token& stop = {}) {
  std::set<std::string> running;
  for (const KnownProgram* program : knownProgramsRunning(stop))
    running.insert(program->bundleIDs.begin(), program->bundleIDs.end());
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

std::vector<const KnownProgram*> runningKnownPrograms() {
  return knownProgramsRunning();
}

std::set<std::string> runningExecutables() {
  std::set<std::string> executables;
  DIR* proc = ::opendir("/proc");
  if (!proc) return executables;
  while (dirent* entry = ::readdir(proc)) {
    std::string_view name = entry->d_name;
    if (name.empty() || name.find_first_not_of("0123456789") != std::string_view::npos) continue;
    std::string exe = executableOf(linkTarget("/proc/" + std::string(name) + "/exe"));
    if (!exe.empty()) executables.insert(std::move(exe));
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
