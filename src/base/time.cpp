#include "base/time.h"

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

std::string isoUtc(TimePoint when) { return format(when, "%Y-%m-%dT%H:%M:%SZ", true); }

double referenceSeconds(TimePoint when) {
  using namespace std::chrono;
  auto since = duration_cast<duration<double>>(when.time_since_epoch()).count();
  return since - static_cast<double>(kReferenceEpoch);
}

TimePoint fromReferenceSeconds(double seconds) {
  using namespace std::chrono;
  double unix = seconds + static_cast<double>(kReferenceEpoch);
  return TimePoint(duration_cast<Clock::duration>(duration<double>(unix)));
}

TimePoint fromUnixSeconds(std::int64_t seconds) {
  return TimePoint(std::chrono::seconds(seconds));
}

std::string localDateTime(TimePoint when) { return format(when, "%Y-%m-%d %H:%M:%S", false); }

std::string localDate(TimePoint when) { return format(when, "%b %-d, %Y", false); }

}  // namespace dw::timefmt
