#pragma once

#include <QString>
#include <QStringList>

#include "app_window.h"

namespace dw::ui {

// Waits for the window's first scan, then renders every page, onboarding step and sheet, in
// each appearance, to DIR/<appearance>-<what>.png. False when a file could not be written.
bool renderScreenshots(AppWindow& window, const QString& dir, const QStringList& appearances);

// Runs the event loop until pred holds or the time is up; returns pred's last value.
bool waitFor(const std::function<bool()>& pred, int milliseconds);
// Runs the event loop for a while, so bindings, layouts and images settle.
void settle(int milliseconds);

}  // namespace dw::ui
