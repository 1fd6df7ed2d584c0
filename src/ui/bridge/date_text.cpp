#include "bridge/date_text.h"

#include <QDateTime>
#include <QLocale>
#include <chrono>

namespace dw::ui {

QString localShortTime(const QTime& time) {
  // A locale whose short form still shows seconds ("C") loses them.
  QString format = QLocale().timeFormat(QLocale::ShortFormat);
  format.remove(":ss");
  return QLocale().toString(time, format);
}

QString localDateText(TimePoint when, TimePoint now) {
  auto toQt = [](TimePoint t) {
    return QDateTime::fromMSecsSinceEpoch(
        std::chrono::duration_cast<std::chrono::milliseconds>(t.time_since_epoch()).count());
  };
  QDateTime at = toQt(when), today = toQt(now);
  QLocale locale;
  if (at.date() == today.date()) return "Today, " + localShortTime(at.time());
  if (at.date().year() == today.date().year()) return locale.toString(at.date(), "MMM d");
  return locale.toString(at.date(), "MMM d, yyyy");
}

}  // namespace dw::ui
