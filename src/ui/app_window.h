#pragma once
// Starting the desktop app: the display it runs on, the QML engine with our icons and the
// bridge, and the window.

#include <QIcon>
#include <QQmlApplicationEngine>
#include <QString>
#include <memory>

#include "bridge/app_bridge.h"

namespace dw::ui {

// Before the application object exists: with no display (and no platform chosen), the app
// draws offscreen with Qt Quick's software renderer, so it runs on a machine with no GPU; on a
// display, it draws with that renderer too where no GPU could (unless QT_QUICK_BACKEND says).
void chooseDisplayBackend(bool forceOffscreen);

struct AppWindow {
  std::unique_ptr<AppBridge> bridge;
  std::unique_ptr<QQmlApplicationEngine> engine;
  QObject* root = nullptr;  // the ApplicationWindow; null when the QML failed to load
};

// The app icon (the same drawing as the installed icons and the About sheet's) at the sizes a
// window manager asks for.
QIcon windowIcon();

// Starts the bridge for places (its first scan runs while the window is built), then loads
// Main.qml over it; appearance is "light", "dark" or "" (the system palette decides). The window
// is shown.
AppWindow openAppWindow(const Locations& places, const QString& appearance);

}  // namespace dw::ui
