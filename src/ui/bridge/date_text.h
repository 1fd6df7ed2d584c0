#pragma once
// Dates as the pages show them, in the user's locale.

#include <QString>
#include <QTime>

#include "base/core.h"

namespace dw::ui {

// The locale's short time, without seconds.
QString localShortTime(const QTime& time);
// "Today, 14:05", "Mar 4" this year, "Mar 4, 2024" before.
QString localDateText(TimePoint when, TimePoint now);

}  // namespace dw::ui
