#include "theme_colors.h"

#include "palette.h"

namespace dw::ui {

namespace {
QColor toQColor(const palette::Rgba& c) {
  return QColor::fromRgbF(static_cast<float>(c.r / 255.0), static_cast<float>(c.g / 255.0),
                          static_cast<float>(c.b / 255.0), static_cast<float>(c.a));
}
}  // namespace

QColor ThemeColors::color(const QString& name, bool dark) const {
  return toQColor(palette::colour(name.toStdString(), dark));
}

QColor ThemeColors::spaceMapCell(int rank, bool dark) const {
  return toQColor(palette::spaceMapCell(rank, dark));
}

QColor ThemeColors::spaceMapLabel(int rank, bool dark) const {
  return toQColor(palette::spaceMapLabel(rank, dark));
}

}  // namespace dw::ui
