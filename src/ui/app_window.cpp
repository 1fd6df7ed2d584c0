#include "app_window.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QQuickStyle>
#include <QSvgRenderer>
#include <cstdlib>

#include "bridge/app_icon.h"
#include "bridge/icon_provider.h"

namespace dw::ui {

void chooseDisplayBackend(bool forceOffscreen) {
  bool display = std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY");
  if ((forceOffscreen || !display) && !std::getenv("QT_QPA_PLATFORM")) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
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
  w.engine = std::make_unique<QQmlApplicationEngine>();
  w.engine->addImportPath("qrc:/");
  w.engine->addImageProvider("icon", new IconProvider);
  w.engine->addImageProvider("appicon", new AppIconProvider(w.bridge->model()));
  w.bridge->serve(*w.engine);
  w.engine->load(QUrl("qrc:/Dustwhale/Main.qml"));
  if (!w.engine->rootObjects().isEmpty()) w.root = w.engine->rootObjects().constFirst();
  return w;
}

}  // namespace dw::ui
