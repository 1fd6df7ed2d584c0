#pragma once
// The icon an installed app is shown with: the one its bundle carries where it can be read,
// else a generic app icon of our own. "image://appicon/<bundle path, percent-encoded>" asks for
// the listed app with that bundle.

#include <QImage>
#include <QQuickImageProvider>
#include <QSize>

#include "model/scan_model.h"

namespace dw::ui {

// The bundle's own icon at size: Info.plist's CFBundleIconFile, looked up in
// Contents/Resources as named and with ".icns" and ".png", read by any image reader Qt has for
// it. A null image when there is none or it cannot be read.
QImage bundleIcon(const AppUninstaller::AppRecord& app, QSize size);
// The launcher's icon file when the scan found one, else bundleIcon, else the generic app icon.
QImage appIcon(const AppUninstaller::AppRecord& app, QSize size);

class AppIconProvider : public QQuickImageProvider {
 public:
  // Asked from the GUI thread only (the images are not loaded asynchronously), which is the
  // model's thread.
  explicit AppIconProvider(const ScanModel& model);
  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

 private:
  const ScanModel& model_;
};

}  // namespace dw::ui
