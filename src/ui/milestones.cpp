#include "milestones.h"

#include <pthread.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QQuickWindow>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "bridge/app_bridge.h"

namespace dw::ui::milestones {

namespace {

const char* setting() {
  static const char* value = std::getenv("DUSTWHALE_MILESTONES");
  return value && *value ? value : nullptr;
}

// Seconds since boot at which this process started: field 22 of /proc/self/stat, in clock
// ticks since boot (the clock CLOCK_BOOTTIME reads). The name in field 2 may hold spaces and
// parentheses; the fields after it follow the last ')'.
double processStart() {
  std::ifstream in("/proc/self/stat");
  std::string line;
  std::getline(in, line);
  size_t close = line.rfind(')');
  if (close == std::string::npos) return -1;
  std::istringstream fields(line.substr(close + 2));
  std::string field;
  // Field 3 (the state) is the first after the name; the start time is field 22.
  for (int i = 3; i <= 22 && fields >> field; ++i) {
    if (i == 22)
      return std::strtod(field.c_str(), nullptr) / static_cast<double>(sysconf(_SC_CLK_TCK));
  }
  return -1;
}

// The main thread's CPU time in milliseconds (it calls mark first, at main): how much of the
// time to a milestone was its own work rather than waiting for a core or for the disk.
double mainThreadCpu() {
  static const clockid_t clock = [] {
    clockid_t id = CLOCK_THREAD_CPUTIME_ID;
    pthread_getcpuclockid(pthread_self(), &id);
    return id;
  }();
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) * 1000.0 + static_cast<double>(now.tv_nsec) / 1e6;
}

double sinceStart() {
  static const double start = processStart();
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  double seconds = static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
  return start < 0 ? -1 : (seconds - start) * 1000.0;
}

struct Watch {
  std::atomic<bool> firstFrame{false};
  std::atomic<bool> scanDone{false};
  std::atomic<bool> synced{false};  // a frame synchronized after the scan's results
  std::atomic<bool> overview{false};
};

}  // namespace

bool enabled() {
  return setting() != nullptr;
}

void mark(std::string_view name) {
  if (!enabled()) return;
  // Called from the render thread too: one write per line.
  std::fprintf(stderr, "dustwhale-gui: milestone %.*s %.1f main-thread-cpu %.1f\n",
               static_cast<int>(name.size()), name.data(), sinceStart(), mainThreadCpu());
}

void watch(QQuickWindow& window, AppBridge& bridge) {
  if (!enabled()) return;
  auto state = std::make_shared<Watch>();
  const bool quit = std::strcmp(setting(), "quit") == 0;
  // The bridge's results land on the main thread; the scene is synchronized from them (the GUI
  // thread blocked) before the frame that shows them is rendered and swapped.
  auto published = [state, &bridge] {
    if (state->scanDone || bridge.scanning() || !bridge.model().lastScannedAt()) return;
    state->scanDone = true;
    mark("scan-done");
  };
  QObject::connect(&bridge, &AppBridge::scanStatusChanged, &window, published);
  published();
  QObject::connect(
      &window, &QQuickWindow::afterSynchronizing, &window,
      [state] {
        if (state->scanDone) state->synced = true;
      },
      Qt::DirectConnection);
  QObject::connect(
      &window, &QQuickWindow::frameSwapped, &window,
      [state, quit] {
        if (!state->firstFrame.exchange(true)) mark("first-frame");
        if (!state->synced || state->overview.exchange(true)) return;
        mark("overview");
        if (!quit) return;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [] {
              rusage usage{};
              getrusage(RUSAGE_SELF, &usage);
              std::fprintf(stderr, "dustwhale-gui: milestone peak-memory-kib %ld\n",
                           usage.ru_maxrss);
              QCoreApplication::quit();
            },
            Qt::QueuedConnection);
      },
      Qt::DirectConnection);
}

}  // namespace dw::ui::milestones
