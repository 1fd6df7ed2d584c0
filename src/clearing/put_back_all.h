#pragma once
// Put Back of a whole clear: every item of one clear that is still in the Trash goes back, each
// with the same checks and refusals as Put Back of one item; what stays keeps its reason. And the
// ids a person types: a clear or an item named by the start of its id.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "clearing/cleared_log.h"

namespace dw::ClearedLog {

struct PutBackAllOutcome {
  std::vector<Entry> putBack;  // as they are now (with putBackAt)
  struct Stayed {
    Entry entry;
    std::string reason;
  };
  std::vector<Stayed> stayed;  // in the Trash still, each with why
  std::int64_t bytes = 0;      // of what went back
};

// The entries of the clear sessionID, in the order given.
std::vector<Entry> ofClear(const std::vector<Entry>& entries, std::string_view sessionID);

// Puts back each entry that is in the Trash, one after another (Put Back never replaces
// anything: an item whose place is taken stays, with that reason); one to put back by hand is
// refused as Put Back refuses it; an entry already back, emptied from the Trash or a share is
// passed over. Never throws for one item.
PutBackAllOutcome putBackAll(const std::vector<Entry>& entries, const Locations& places);

// The ids (or the sessionIDs, with sessions) of entries that the text names: an id written
// whole, else every id that starts with it (case ignored). More than one is ambiguous.
std::vector<std::string> idsStartingWith(const std::vector<Entry>& entries, std::string_view text,
                                         bool sessions = false);

}  // namespace dw::ClearedLog
