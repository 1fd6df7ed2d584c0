// dustwhale-gui: the desktop app. With --screenshot DIR it scans, renders every page and sheet
// to PNG files in DIR and exits.

#include <QCommandLineParser>
#include <QGuiApplication>
#include <cstdio>
#include <stdexcept>

#include "app_window.h"
#include "platform/updates.h"
#include "screenshot.h"

#include <QtQml/qqmlextensionplugin.h>
Q_IMPORT_QML_PLUGIN(DustwhalePlugin)

int main(int argc, char** argv) {
  bool screenshot = false;
  for (int i = 1; i < argc; ++i) {
    if (std::string_view(argv[i]) == "--screenshot") screenshot = true;
  }
  dw::ui::chooseDisplayBackend(screenshot);

  QGuiApplication app(argc, argv);
  QGuiApplication::setApplicationName("Dustwhale");
  QGuiApplication::setApplicationVersion(DUSTWHALE_VERSION);
  // The installed desktop entry is named after the application's identifier.
  QGuiApplication::setDesktopFileName(
      QString::fromUtf8(dw::kBundleID.data(), static_cast<qsizetype>(dw::kBundleID.size())));
  QGuiApplication::setWindowIcon(dw::ui::windowIcon());
  // The updater starts with the app when it carries one and its feed is configured.
  dw::platform::startUpdater(dw::platform::mainBundleInfo());

  QCommandLineParser parser;
  parser.setApplicationDescription("Gets disk space back, safely: everything goes to the Trash.");
  parser.addHelpOption();
  parser.addVersionOption();
  QCommandLineOption shotOption("screenshot", "Render every page and sheet to PNG files in DIR.",
                                "DIR");
  QCommandLineOption rootOption("root", "Scan a whole tree under R as if it were /.", "R");
  QCommandLineOption homeOption("home", "The home folder to scan.", "H");
  QCommandLineOption layoutOption("layout", "The layout of the home folder: linux or macos.",
                                  "LAYOUT");
  QCommandLineOption appearanceOption("appearance", "light or dark.", "APPEARANCE");
  parser.addOptions({shotOption, rootOption, homeOption, layoutOption, appearanceOption});
  // A mistake on the command line exits with 2, as the command line program's do; once the
  // arguments parse, process() answers --help, --help-all and --version.
  if (!parser.parse(QCoreApplication::arguments())) {
    std::fprintf(stderr, "dustwhale-gui: %s\n", qPrintable(parser.errorText()));
    return 2;
  }
  parser.process(app);

  QString appearance = parser.value(appearanceOption);
  if (!appearance.isEmpty() && appearance != "light" && appearance != "dark") {
    std::fprintf(stderr, "dustwhale-gui: --appearance is light or dark\n");
    return 2;
  }
  dw::Locations places;
  try {
    places = dw::Locations::resolve(parser.value(rootOption).toStdString(),
                                    parser.value(homeOption).toStdString(),
                                    parser.value(layoutOption).toStdString());
  } catch (const std::invalid_argument& e) {
    std::fprintf(stderr, "dustwhale-gui: %s\n", e.what());
    return 2;
  }

  dw::ui::AppWindow window = dw::ui::openAppWindow(places, appearance);
  if (!window.root) return 1;
  if (parser.isSet(shotOption)) {
    QStringList appearances =
        appearance.isEmpty() ? QStringList{"light", "dark"} : QStringList{appearance};
    return dw::ui::renderScreenshots(window, parser.value(shotOption), appearances) ? 0 : 1;
  }
  return app.exec();
}
