#pragma once
// The theme's colour table (palette.h) as the QML's Theme reads it.

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QObject>
#include <QString>

namespace dw::ui {

class ThemeColors : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON

 public:
  using QObject::QObject;

  Q_INVOKABLE QColor color(const QString& name, bool dark) const;
  // A Space Map cell of this rank (largest first) and the colour of its labels.
  Q_INVOKABLE QColor spaceMapCell(int rank, bool dark) const;
  Q_INVOKABLE QColor spaceMapLabel(int rank, bool dark) const;
};

}  // namespace dw::ui
