#pragma once
// Text at the edge: paths and names for a terminal, where bytes that are not UTF-8 are shown
// escaped rather than dropped.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/core.h"
#include "base/json.h"
#include "texts/moves.h"

namespace dw::cli {

// Valid UTF-8 as it stands; any other byte as "\xNN"; control characters as "\n", "\t", ...
std::string displayText(std::string_view bytes);

// The items of a move's question with their names and paths shown as displayText shows them.
std::vector<texts::MoveItem> displayItems(std::vector<texts::MoveItem> items);

json::Value isoOrNull(const std::optional<TimePoint>& when);

void printJson(const json::Value& value);

}  // namespace dw::cli
