// The UI tests run the real QML in an offscreen window with Qt Quick's software renderer, so
// they need no display and no GPU.

#include <gtest/gtest.h>

#include <QtQml/qqmlextensionplugin.h>
#include <QGuiApplication>
#include <cstdlib>

Q_IMPORT_QML_PLUGIN(DustwhalePlugin)

int main(int argc, char** argv) {
  setenv("QT_QPA_PLATFORM", "offscreen", 1);
  setenv("QT_QUICK_BACKEND", "software", 1);
  testing::InitGoogleTest(&argc, argv);
  QGuiApplication app(argc, argv);
  return RUN_ALL_TESTS();
}
