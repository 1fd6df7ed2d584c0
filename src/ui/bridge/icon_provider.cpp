#include "bridge/icon_provider.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <QUrlQuery>

namespace dw::ui {

IconProvider::IconProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

QImage IconProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
  QString symbol = id.section('?', 0, 0);
  QUrlQuery query(id.section('?', 1));
  QString color = query.queryItemValue("color");
  if (color.isEmpty()) color = "#000000";

  QSize target =
      requestedSize.isValid() && !requestedSize.isEmpty() ? requestedSize : QSize(24, 24);
  QImage image(target, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  if (size) *size = target;

  QFile file(":/Dustwhale/icons/" + symbol + ".svg");
  if (!file.open(QIODevice::ReadOnly)) return image;
  QByteArray svg = file.readAll();
  svg.replace("currentColor", color.toUtf8());
  QSvgRenderer renderer(svg);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  renderer.render(&painter);
  return image;
}

}  // namespace dw::ui
