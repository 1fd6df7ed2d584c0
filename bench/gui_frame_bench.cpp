// How long the desktop app takes from the model's change to the first painted frame of a page
// holding thousands of rows, and the process's peak memory. The rows are real, found by the real
// search of a Mac-shaped tree in a temporary folder:
//   leftovers N   N folders left in Application Support by apps that are not installed, on the
//                 App leftovers page (the same CleanListPage frame as every clean list);
//   duplicates N  N/2 groups of three identical files in Downloads, so N extra copies, on the
//                 Duplicates page. The files are 1 MiB (the search's least size), sparse after
//                 their first block, each group's different there.
//
// usage: dustwhale-gui-bench [leftovers|duplicates] [N]   (default leftovers 5000; duplicates
// 10000). A bare number means leftovers.

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QtQml/qqmlextensionplugin.h>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQuickWindow>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "app_window.h"
#include "platform/defaults.h"
#include "screenshot.h"

Q_IMPORT_QML_PLUGIN(DustwhalePlugin)

namespace fs = std::filesystem;

namespace {

void makeLeftovers(const std::string& home, int n) {
  for (int i = 0; i < n; ++i) {
    std::string folder =
        home + "/Library/Application Support/com.benchvendor" + std::to_string(i) + ".App";
    fs::create_directories(folder);
    std::ofstream(folder + "/state.db") << std::string(4096 + i % 512, 'x');
  }
}

// A 1 MiB file whose first block says which group it belongs to; the rest is a hole.
bool makeCopy(const std::string& path, int group) {
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (fd < 0) return false;
  std::string head = "group " + std::to_string(group) + "\n";
  bool ok = ::write(fd, head.data(), head.size()) == static_cast<ssize_t>(head.size()) &&
            ::ftruncate(fd, 1 << 20) == 0;  // extends the file made just now (O_EXCL)
  return ::close(fd) == 0 && ok;
}

bool makeDuplicates(const std::string& home, int extraCopies) {
  const int groups = extraCopies / 2;
  for (int g = 0; g < groups; ++g) {
    std::string folder = home + "/Downloads/set" + std::to_string(g / 500);
    fs::create_directories(folder);
    for (int copy = 0; copy < 3; ++copy) {
      if (!makeCopy(folder + "/file" + std::to_string(g) + "-" + std::to_string(copy) + ".bin", g))
        return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  std::string mode = "leftovers";
  int argi = 1;
  if (argc > 1 &&
      (std::strcmp(argv[1], "leftovers") == 0 || std::strcmp(argv[1], "duplicates") == 0)) {
    mode = argv[1];
    argi = 2;
  }
  const bool duplicates = mode == "duplicates";
  int n = argc > argi ? std::atoi(argv[argi]) : (duplicates ? 10000 : 5000);
  dw::ui::chooseDisplayBackend(true);
  char pattern[] = "/tmp/dustwhale-gui-bench-XXXXXX";
  if (!mkdtemp(pattern)) return 1;
  std::string root = pattern, home = root + "/Users/me";
  setenv("XDG_CONFIG_HOME", (root + "/config").c_str(), 1);
  setenv("XDG_DATA_HOME", (root + "/data").c_str(), 1);
  fs::create_directories(root + "/Applications");
  fs::create_directories(home);
  bool built = true;
  if (duplicates) {
    built = makeDuplicates(home, n);
  } else {
    makeLeftovers(home, n);
  }

  QGuiApplication app(argc, argv);
  dw::Locations places = dw::Locations::macos(root, home);
  dw::platform::UserDefaults(places.defaultsFile).setBool(dw::platform::kOnboardingShownKey, true);
  dw::ui::AppWindow window = dw::ui::openAppWindow(places, "light");
  if (!window.root || !built) return 1;
  QMetaObject::invokeMethod(window.root, "showPage", Q_ARG(QString, QString::fromStdString(mode)));
  auto* quick = qobject_cast<QQuickWindow*>(window.root);

  QElapsedTimer clock;
  qint64 changed = -1, painted = -1;
  auto* leftovers = window.bridge->findings(dw::ui::FindingListModel::Kind::Leftover);
  auto* copies = window.bridge->duplicates();
  auto listed = [&] { return duplicates ? copies->totalCount() : leftovers->totalCount(); };
  auto start = [&] {
    if (changed < 0 && listed() > 0) {
      clock.start();
      changed = 0;
    }
  };
  if (duplicates) {
    QObject::connect(copies, &dw::ui::DuplicateListModel::listChanged, start);
  } else {
    QObject::connect(leftovers, &dw::ui::FindingListModel::listChanged, start);
  }
  QObject::connect(quick, &QQuickWindow::frameSwapped, [&] {
    if (changed == 0 && painted < 0) painted = clock.nsecsElapsed();
  });
  if (duplicates) {
    // The main scan first, as the app does; then the search the page's button starts.
    dw::ui::waitFor([&] { return !window.bridge->scanning(); }, 600'000);
    window.bridge->model().findDuplicates();
  }
  bool done = dw::ui::waitFor([&] { return painted >= 0; }, 1'200'000);

  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  int count = listed();
  if (duplicates) {
    int extra = 0;
    for (const auto& group : window.bridge->model().duplicateGroups())
      extra += static_cast<int>(group.files.size()) - 1;
    std::printf("duplicate groups: %d, extra copies: %d\n", copies->groupCount(), extra);
  }
  std::printf("%s listed: %d\n", duplicates ? "copies" : "findings", count);
  if (!done) {
    std::printf("no frame was painted after the change\n");
  } else {
    std::printf("model change to first painted frame: %.1f ms (target < 250 ms)\n",
                static_cast<double>(painted) / 1e6);
  }
  std::printf("peak memory: %.1f MiB (target < 150 MiB)\n",
              static_cast<double>(usage.ru_maxrss) / 1024.0);
  fs::remove_all(root);  // the benchmark's own temporary tree
  int expected = duplicates ? n / 2 * 3 : n;
  return done && count == expected ? 0 : 1;
}
