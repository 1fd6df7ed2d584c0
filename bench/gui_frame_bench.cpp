// How long the desktop app takes from the model's change to the first painted frame of a clean
// list holding thousands of findings, and the process's peak memory. The findings are real:
// N folders left behind in Application Support by apps that are not installed, found by a real
// scan of a Mac-shaped tree in a temporary folder, listed on the App leftovers page (the same
// CleanListPage frame as every clean list).
//
// usage: dustwhale-gui-bench [N]   (default 5000)

#include <sys/resource.h>

#include <QtQml/qqmlextensionplugin.h>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQuickWindow>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "app_window.h"
#include "platform/defaults.h"
#include "screenshot.h"

Q_IMPORT_QML_PLUGIN(DustwhalePlugin)

namespace fs = std::filesystem;

int main(int argc, char** argv) {
  int n = argc > 1 ? std::atoi(argv[1]) : 5000;
  dw::ui::chooseDisplayBackend(true);
  char pattern[] = "/tmp/dustwhale-gui-bench-XXXXXX";
  if (!mkdtemp(pattern)) return 1;
  std::string root = pattern, home = root + "/Users/me";
  setenv("XDG_CONFIG_HOME", (root + "/config").c_str(), 1);
  setenv("XDG_DATA_HOME", (root + "/data").c_str(), 1);
  for (int i = 0; i < n; ++i) {
    std::string folder =
        home + "/Library/Application Support/com.benchvendor" + std::to_string(i) + ".App";
    fs::create_directories(folder);
    std::ofstream(folder + "/state.db") << std::string(4096 + i % 512, 'x');
  }
  fs::create_directories(root + "/Applications");

  QGuiApplication app(argc, argv);
  dw::Locations places = dw::Locations::macos(root, home);
  dw::platform::UserDefaults(places.defaultsFile).setBool(dw::platform::kOnboardingShownKey, true);
  dw::ui::AppWindow window = dw::ui::openAppWindow(places, "light");
  if (!window.root) return 1;
  QMetaObject::invokeMethod(window.root, "showPage", Q_ARG(QVariant, QString("leftovers")));
  auto* quick = qobject_cast<QQuickWindow*>(window.root);

  QElapsedTimer clock;
  qint64 changed = -1, painted = -1;
  auto* list = qobject_cast<dw::ui::FindingListModel*>(window.bridge->leftovers());
  QObject::connect(list, &dw::ui::FindingListModel::listChanged, [&] {
    if (changed < 0 && list->totalCount() > 0) {
      clock.start();
      changed = 0;
    }
  });
  QObject::connect(quick, &QQuickWindow::frameSwapped, [&] {
    if (changed == 0 && painted < 0) painted = clock.nsecsElapsed();
  });
  bool done = dw::ui::waitFor([&] { return painted >= 0; }, 600'000);

  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  int listed = list->totalCount();
  std::printf("findings listed: %d\n", listed);
  if (!done) {
    std::printf("no frame was painted after the change\n");
  } else {
    std::printf("model change to first painted frame: %.1f ms (target < 250 ms)\n",
                static_cast<double>(painted) / 1e6);
  }
  std::printf("peak memory: %.1f MiB (target < 150 MiB)\n",
              static_cast<double>(usage.ru_maxrss) / 1024.0);
  fs::remove_all(root);  // the benchmark's own temporary tree
  return done && listed == n ? 0 : 1;
}
