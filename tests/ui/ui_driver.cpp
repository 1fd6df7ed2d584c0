#include "ui_driver.h"

#include <gtest/gtest.h>

#include <QTest>
#include <algorithm>

#include "screenshot.h"

namespace dw::test {

namespace {
void collect(QQuickItem* item, const QString& name, bool visibleOnly,
             std::vector<QQuickItem*>& out) {
  if (visibleOnly && !item->isVisible()) return;
  if (item->objectName() == name) out.push_back(item);
  for (QQuickItem* child : item->childItems())
    collect(child, name, visibleOnly, out);
}
}  // namespace

UiDriver::UiDriver(const Locations& places) : app_(ui::openAppWindow(places, "light")) {
  EXPECT_TRUE(app_.root) << "Main.qml did not load";
  EXPECT_TRUE(waitFor([this] { return !app_.bridge->scanning(); }));
  ui::settle(50);
}

QQuickWindow* UiDriver::window() const {
  return qobject_cast<QQuickWindow*>(app_.root);
}

std::vector<QQuickItem*> UiDriver::all(const QString& name) const {
  std::vector<QQuickItem*> out;
  collect(window()->contentItem(), name, true, out);
  std::stable_sort(out.begin(), out.end(), [](QQuickItem* a, QQuickItem* b) {
    QPointF pa = a->mapToScene({0, 0}), pb = b->mapToScene({0, 0});
    return pa.y() != pb.y() ? pa.y() < pb.y() : pa.x() < pb.x();
  });
  return out;
}

QQuickItem* UiDriver::one(const QString& name) const {
  auto items = all(name);
  EXPECT_FALSE(items.empty()) << "nothing visible named " << name.toStdString();
  return items.empty() ? nullptr : items.front();
}

QString UiDriver::text(const QString& name) const {
  QQuickItem* item = one(name);
  return item ? item->property("text").toString() : QString();
}

QQuickItem* UiDriver::within(QQuickItem* item, const QString& name) {
  std::vector<QQuickItem*> out;
  collect(item, name, false, out);
  return out.empty() ? nullptr : out.front();
}

void UiDriver::click(QQuickItem* item) {
  if (!item) return;
  QPointF centre = item->mapToScene({item->width() / 2, item->height() / 2});
  QTest::mouseClick(window(), Qt::LeftButton, {}, centre.toPoint());
  ui::settle(30);
}

void UiDriver::type(const QString& text) {
  for (QChar c : text)
    QTest::keyClick(window(), c.toLatin1());
  ui::settle(30);
}

void UiDriver::key(Qt::Key key) {
  QTest::keyClick(window(), key);
  ui::settle(30);
}

bool UiDriver::waitFor(const std::function<bool()>& pred, int milliseconds) {
  return ui::waitFor(pred, milliseconds);
}

QString field(QQuickItem* row, const char* name) {
  QQuickItem* item = UiDriver::within(row, name);
  return item ? item->property("text").toString() : QString();
}

bool showing(QQuickItem* row, const char* name) {
  QQuickItem* item = UiDriver::within(row, name);
  return item && item->isVisible();
}

}  // namespace dw::test
