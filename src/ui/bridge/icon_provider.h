#pragma once
// Our line icons, drawn in one colour: "image://icon/<symbol>?color=#rrggbb" renders
// icons/<symbol>.svg with its strokes and fills ("currentColor") in that colour, at the size
// the Image asks for.

#include <QQuickImageProvider>

namespace dw::ui {

class IconProvider : public QQuickImageProvider {
 public:
  IconProvider();
  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

}  // namespace dw::ui
