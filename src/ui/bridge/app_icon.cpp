#include "bridge/app_icon.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QPainter>
#include <QSvgRenderer>
#include <QUrl>

#include "platform/plist.h"

namespace dw::ui {

namespace {

QImage readScaled(const QString& path, QSize size) {
  QImageReader reader(path);
  if (!reader.canRead()) return {};
  // A drawing is rendered at the size wanted rather than scaled from its default.
  if (reader.format() == "svg") reader.setScaledSize(size);
  // An .icns holds several sizes: the reader starts at the largest, which scales down well.
  QImage image = reader.read();
  if (image.isNull()) return {};
  return image.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

QImage genericIcon(QSize size) {
  QImage image(size, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QFile file(":/Dustwhale/icons/app.generic.svg");
  if (!file.open(QIODevice::ReadOnly)) return image;
  QSvgRenderer renderer(file.readAll());
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  renderer.render(&painter);
  return image;
}

}  // namespace

QImage bundleIcon(const AppUninstaller::AppRecord& app, QSize size) {
  const QString contents = QString::fromStdString(app.bundlePath) + "/Contents/";
  auto plist = platform::readPropertyList((contents + "Info.plist").toStdString());
  if (!plist) return {};
  auto name = plist->string("CFBundleIconFile");
  if (!name || name->empty()) return {};
  QString file = QString::fromStdString(*name);
  // The name is a file in Resources, never a path elsewhere.
  if (file.contains('/')) return {};
  const QString base = contents + "Resources/" + file;
  QStringList candidates{base};
  if (QFileInfo(file).suffix().isEmpty()) candidates = {base + ".icns", base + ".png", base};
  for (const QString& path : candidates) {
    if (!QFileInfo(path).isFile()) continue;
    QImage image = readScaled(path, size);
    if (!image.isNull()) return image;
  }
  return {};
}

QImage appIcon(const AppUninstaller::AppRecord& app, QSize size) {
  // A launcher's icon (AppImage, Flatpak, package) is an image file named by the scan.
  QImage image = app.iconPath.empty() ? bundleIcon(app, size)
                                      : readScaled(QString::fromStdString(app.iconPath), size);
  return image.isNull() ? genericIcon(size) : image;
}

AppIconProvider::AppIconProvider(const ScanModel& model)
    : QQuickImageProvider(QQuickImageProvider::Image), model_(model) {}

QImage AppIconProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
  QSize target =
      requestedSize.isValid() && !requestedSize.isEmpty() ? requestedSize : QSize(64, 64);
  if (size) *size = target;
  const std::string path = QUrl::fromPercentEncoding(id.toUtf8()).toStdString();
  for (const auto& app : model_.installedApps()) {
    if (app.bundlePath == path) return appIcon(app, target);
  }
  return genericIcon(target);
}

}  // namespace dw::ui
