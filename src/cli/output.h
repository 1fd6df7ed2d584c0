#pragma once
// Text at the edge: paths and names for a terminal, where bytes that are not UTF-8 are shown
// escaped rather than dropped.

#include <optional>
#include <string>
#include <string_view>

#include "base/core.h"
#include "base/json.h"

namespace dw::cli {

// Valid UTF-8 as it stands; any other byte as "\xNN"; control characters as "\n", "\t", ...
std::string displayText(std::string_view bytes);

json::Value isoOrNull(const std::optional<TimePoint>& when);

void printJson(const json::Value& value);

}  // namespace dw::cli
