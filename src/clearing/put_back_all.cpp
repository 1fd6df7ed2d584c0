#include "clearing/put_back_all.h"

#include <algorithm>

#include "base/paths.h"
#include "clearing/clearing.h"

namespace dw::ClearedLog {

std::vector<Entry> ofClear(const std::vector<Entry>& entries, std::string_view sessionID) {
  std::vector<Entry> out;
  for (const Entry& e : entries) {
    if (paths::asciiLower(e.sessionID) == paths::asciiLower(sessionID)) out.push_back(e);
  }
  return out;
}

PutBackAllOutcome putBackAll(const std::vector<Entry>& entries, const Locations& places) {
  PutBackAllOutcome outcome;
  for (const Entry& e : entries) {
    Status status = ClearedLog::status(e, places);
    // One whose place Put Back does not accept is refused by Put Back itself, with its reason.
    if (status != Status::inTrash && status != Status::putBackByHand) continue;
    try {
      outcome.putBack.push_back(putBack(e, places));
      outcome.bytes = addBytes(outcome.bytes, e.bytes);
    } catch (const std::exception& error) {
      outcome.stayed.push_back({e, error.what()});
    }
  }
  return outcome;
}

std::vector<std::string> idsStartingWith(const std::vector<Entry>& entries, std::string_view text,
                                         bool sessions) {
  std::string wanted = paths::asciiLower(text);
  std::vector<std::string> exact, starting;
  if (wanted.empty()) return {};
  for (const Entry& e : entries) {
    const std::string& id = sessions ? e.sessionID : e.id;
    std::string lower = paths::asciiLower(id);
    if (lower == wanted) {
      if (std::find(exact.begin(), exact.end(), id) == exact.end()) exact.push_back(id);
    } else if (lower.starts_with(wanted)) {
      if (std::find(starting.begin(), starting.end(), id) == starting.end()) starting.push_back(id);
    }
  }
  return exact.empty() ? starting : exact;
}

}  // namespace dw::ClearedLog
