#pragma once
// Recently Cleared as a person reads it: one group per clear, newest clear first.

#include <cstdint>
#include <string>
#include <vector>

#include "clearing/cleared_log.h"

namespace dw::ClearedLog {

struct Group {
  std::string sessionID;
  TimePoint latest{};          // the group's date: its newest entry
  std::int64_t bytes = 0;      // all its entries
  std::vector<Entry> entries;  // in the log's order (newest first)
};

// Groups entries by sessionID; groups sorted by their latest date, newest first (stable).
std::vector<Group> groupBySession(const std::vector<Entry>& entries);

}  // namespace dw::ClearedLog
