#include "app_window.h"

#include <dirent.h>

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QQuickStyle>
#include <QSvgRenderer>
#include <cstdlib>
#include <string_view>

#include "bridge/app_icon.h"
#include "bridge/icon_provider.h"
#include "milestones.h"

namespace dw::ui {

namespace {

// Whether a GPU could draw the window: a DRM render node. Without one, Mesa runs OpenGL on the
// CPU (llvmpipe), which for a window of flat shapes and text takes longer to set up and holds
// about 100 MiB more (its compiler and its compiled shaders) than Qt Quick's software renderer.
bool hasRenderNode() {
#ifdef __linux__
  DIR* dri = opendir("/dev/dri");
  if (!dri) return false;
  bool found = false;
  while (dirent* entry = readdir(dri)) {
    if (std::string_view(entry->d_name).starts_with("renderD")) found = true;
  }
  closedir(dri);
  return found;
#else
  return true;
#endif
}

}  // namespace

void chooseDisplayBackend(bool forceOffscreen) {
  if (std::getenv("QT_QPA_PLATFORM")) return;
  bool display = std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY");
  if (forceOffscreen || !display) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("QT_QUICK_BACKEND", "software", 1);
  } else if (!std::getenv("QT_QUICK_BACKEND") && !hasRenderNode()) {
    setenv("QT_QUICK_BACKEND", "software", 1);
  }
}

QIcon windowIcon() {
  QSvgRenderer svg(QStringLiteral(":/Dustwhale/icons/app/dustwhale.svg"));
  QIcon icon;
  for (int size : {16, 32, 48, 64, 128, 256}) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    svg.render(&painter);
    painter.end();
    icon.addPixmap(pixmap);
  }
  return icon;
}

AppWindow openAppWindow(const Locations& places, const QString& appearance) {
  // Our own controls draw every part of themselves; the Basic style only lends behaviour. The
  // style can be chosen once, before the first window.
  static const bool styled = (QQuickStyle::setStyle("Basic"), true);
  (void)styled;
  bool dark = appearance == "dark" ||
              (appearance.isEmpty() &&
               QGuiApplication::palette().color(QPalette::Window).lightness() < 128);
  AppWindow w;
  w.bridge = std::make_unique<AppBridge>(places, dark);
  milestones::mark("bridge");
  // The first scan runs on a worker while this thread builds the window.
  w.bridge->start();
  w.engine = std::make_unique<QQmlApplicationEngine>();
  w.engine->addImportPath("qrc:/");
  w.engine->addImageProvider("icon", new IconProvider);
  w.engine->addImageProvider("appicon", new AppIconProvider(w.bridge->model()));
  w.bridge->serve(*w.engine);
  w.engine->load(QUrl("qrc:/Dustwhale/Main.qml"));
  if (!w.engine->rootObjects().isEmpty()) w.root = w.engine->rootObjects().constFirst();
  milestones::mark("qml-loaded");
  return w;
}

}  // namespace dw::ui
