#pragma once

#include <optional>
#include <string>

#include "base/core.h"

namespace dw::timefmt {

// "2026-11-21T15:42:07Z"; whole seconds, UTC.
std::string isoUtc(TimePoint when);
// "20261121T154207Z": the same, fit for a file name.
std::string compactUtc(TimePoint when);
// "2026-11-21T16:42:07" in local time, without a zone (a .trashinfo's DeletionDate).
std::string isoLocal(TimePoint when);

// Seconds since 2001-01-01 00:00:00 UTC, the log's date form.
double referenceSeconds(TimePoint when);
TimePoint fromReferenceSeconds(double seconds);

TimePoint fromUnixSeconds(std::int64_t seconds);

// "2026-11-21 16:42:07" in local time, the form a person reads in a listing.
std::string localDateTime(TimePoint when);
// "Nov 21, 2026" in local time, for a "Last used" note.
std::string localDate(TimePoint when);

// How long ago then was, told in words from now: "5 minutes ago", "1 day ago"; a moment in the
// future reads "in 3 seconds".
std::string relativeText(TimePoint then, TimePoint now);

}  // namespace dw::timefmt
