// Renders the app icon's SVG to the PNG sizes a Linux desktop looks for:
//   dustwhale-render-icons SVG OUTDIR  ->  OUTDIR/<N>x<N>/apps/dustwhale.png
// Run at build time, so the PNGs always match the drawing.

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: dustwhale-render-icons SVG OUTDIR\n");
    return 2;
  }
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  QGuiApplication app(argc, argv);
  QSvgRenderer svg(QString::fromLocal8Bit(argv[1]));
  if (!svg.isValid()) {
    std::fprintf(stderr, "dustwhale-render-icons: cannot read %s\n", argv[1]);
    return 1;
  }
  const QDir out(QString::fromLocal8Bit(argv[2]));
  for (int size : {16, 32, 48, 64, 128, 256, 512}) {
    const QString dir = QString("%1x%1/apps").arg(size);
    if (!out.mkpath(dir)) {
      std::fprintf(stderr, "dustwhale-render-icons: cannot make %s\n", qPrintable(dir));
      return 1;
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
      QPainter painter(&image);
      painter.setRenderHint(QPainter::Antialiasing);
      svg.render(&painter);
    }
    const QString path = out.filePath(dir + "/dustwhale.png");
    if (!image.save(path)) {
      std::fprintf(stderr, "dustwhale-render-icons: cannot write %s\n", qPrintable(path));
      return 1;
    }
  }
  return 0;
}
