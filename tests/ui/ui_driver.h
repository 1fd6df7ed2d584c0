#pragma once
// Drives the app's real window as a person would: finds items by objectName, clicks them and
// types, and waits for the model's work to land.

#include <QQuickItem>
#include <QQuickWindow>
#include <QString>
#include <functional>
#include <string>
#include <vector>

#include "app_window.h"

#include <ostream>

// Readable texts in failure messages.
inline void PrintTo(const QString& text, std::ostream* out) {
  *out << '"' << text.toStdString() << '"';
}

namespace dw::test {

class UiDriver {
 public:
  // Opens the window over places and waits for its first scan to end.
  explicit UiDriver(const Locations& places);

  ui::AppBridge& bridge() { return *app_.bridge; }
  QQuickWindow* window() const;
  QObject* root() const { return app_.root; }

  // Visible items with this objectName, top to bottom, then left to right.
  std::vector<QQuickItem*> all(const QString& name) const;
  // The first of them; fails the test when there is none.
  QQuickItem* one(const QString& name) const;
  bool shows(const QString& name) const { return !all(name).empty(); }
  QString text(const QString& name) const;
  // The descendants of item with this objectName (visible or not).
  static QQuickItem* within(QQuickItem* item, const QString& name);

  void click(QQuickItem* item);
  void click(const QString& name) { click(one(name)); }
  void type(const QString& text);
  void key(Qt::Key key);
  void page(const std::string& key) { click(QString::fromStdString("sidebar." + key)); }
  bool waitFor(const std::function<bool()>& pred, int milliseconds = 60'000);

 private:
  ui::AppWindow app_;
};

// A row's named descendant: its text ("" when there is none), and whether it is shown.
QString field(QQuickItem* row, const char* name);
bool showing(QQuickItem* row, const char* name);

}  // namespace dw::test
