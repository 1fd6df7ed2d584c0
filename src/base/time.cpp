#include "base/time.h"

#include <algorithm>
#include <cmath>
#include <ctime>

namespace dw::timefmt {

namespace {
constexpr std::int64_t kReferenceEpoch = 978307200;  // 2001-01-01T00:00:00Z in Unix seconds

std::string format(TimePoint when, const char* pattern, bool utc) {
  std::time_t t = Clock::to_time_t(when);
  std::tm parts{};
  if (utc) {
    gmtime_r(&t, &parts);
  } else {
    localtime_r(&t, &parts);
  }
  char buffer[64];
  size_t n = std::strftime(buffer, sizeof buffer, pattern, &parts);
  return std::string(buffer, n);
}
}  // namespace

std::string isoUtc(TimePoint when) {
  return format(when, "%Y-%m-%dT%H:%M:%SZ", true);
}

std::string compactUtc(TimePoint when) {
  return format(when, "%Y%m%dT%H%M%SZ", true);
}

std::string isoLocal(TimePoint when) {
  return format(when, "%Y-%m-%dT%H:%M:%S", false);
}

// Whole seconds and the fraction are converted apart, so that a date read from the log and
// written again keeps the same number (a double of nanoseconds since 1970 cannot hold it).
double referenceSeconds(TimePoint when) {
  using namespace std::chrono;
  auto whole = floor<seconds>(when);
  auto fraction = duration_cast<nanoseconds>(when - whole).count();
  return static_cast<double>(whole.time_since_epoch().count() - kReferenceEpoch) +
         static_cast<double>(fraction) / 1e9;
}

TimePoint fromReferenceSeconds(double seconds) {
  using namespace std::chrono;
  double whole = std::floor(seconds);
  auto fraction = nanoseconds(std::llround((seconds - whole) * 1e9));
  auto since = std::chrono::seconds(static_cast<std::int64_t>(whole) + kReferenceEpoch);
  return TimePoint(duration_cast<Clock::duration>(since + fraction));
}

TimePoint fromUnixSeconds(std::int64_t seconds) {
  // A file's date may be set to anything (the year 30000); past what a time point holds it reads
  // as the farthest one it can hold.
  constexpr std::int64_t kLimit =
      std::chrono::duration_cast<std::chrono::seconds>(Clock::duration::max()).count() - 1;
  return TimePoint(std::chrono::seconds(std::clamp(seconds, -kLimit, kLimit)));
}

std::string localDateTime(TimePoint when) {
  return format(when, "%Y-%m-%d %H:%M:%S", false);
}

std::string localDate(TimePoint when) {
  return format(when, "%b %-d, %Y", false);
}

std::string relativeText(TimePoint then, TimePoint now) {
  using std::chrono::duration_cast;
  std::int64_t seconds = duration_cast<std::chrono::seconds>(now - then).count();
  bool future = seconds < 0;
  std::int64_t span = future ? -seconds : seconds;
  struct Unit {
    std::int64_t seconds;
    const char* name;
  };
  // The largest unit of which at least one whole fits.
  static constexpr Unit kUnits[] = {{365 * 86400, "year"}, {30 * 86400, "month"},
                                    {7 * 86400, "week"},   {86400, "day"},
                                    {3600, "hour"},        {60, "minute"}};
  std::int64_t count = span;
  std::string name = "second";
  for (const Unit& unit : kUnits) {
    if (span >= unit.seconds) {
      count = span / unit.seconds;
      name = unit.name;
      break;
    }
  }
  std::string words = std::to_string(count) + " " + name + (count == 1 ? "" : "s");
  return future ? "in " + words : words + " ago";
}

}  // namespace dw::timefmt
