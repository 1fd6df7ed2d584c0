#pragma once
// The log of every item moved to the Trash ("Recently Cleared") and Put Back. The log is a
// JSON array in Locations::logFile, oldest first; it holds no state in memory.

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/core.h"
#include "platform/locations.h"

namespace dw::ClearedLog {

struct Entry {
  std::string id;         // UUID, upper-case
  std::string sessionID;  // the same for every item of one clear
  std::string originalPath;
  std::string trashPath;
  std::int64_t bytes = 0;
  std::string kind;  // "cache", "file", "leftover", "duplicate", "app", "app-data"
  std::string name;
  TimePoint date;
  std::optional<TimePoint> putBackAt;
  bool operator==(const Entry&) const = default;
};

class PutBackError : public std::runtime_error {
 public:
  enum class Kind { moveFailed, alreadyPutBack, notInTrash, originalOccupied, refusedLocation };
  PutBackError(Kind kind, const std::string& text = {});
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

// The exact bytes of the file for these entries, and back. decode gives nullopt for anything
// that is not an array of entries.
std::string encode(const std::vector<Entry>& entries);
std::optional<std::vector<Entry>> decode(std::string_view text);

// Adds records after the existing ones; nothing for an empty list. A missing or corrupt file
// counts as empty and is replaced. Throws std::system_error when the folder cannot be created
// or the file cannot be written. Safe against another process appending at the same time.
// A record whose id or sessionID is not a UUID is refused (std::invalid_argument, nothing
// written): it would make the whole log unreadable.
void append(const std::vector<Entry>& entries, const Locations& places);
void save(const std::vector<Entry>& entries, const Locations& places);
// Newest first; a missing or corrupt file gives an empty list.
std::vector<Entry> load(const Locations& places);

bool isAllowed(const std::string& trashPath, const std::string& originalPath,
               const std::string& home);
// 0: in the Trash, 1: put back, 2: no longer in the Trash.
int status(const Entry& entry);
// Status as a person reads it: "In the Trash", "Put back <date>", "Trash emptied".
std::string statusText(const Entry& entry);

// Moves the item back and records when; throws PutBackError (or std::system_error when the
// parent folder cannot be made or the log cannot be written after the move).
Entry putBack(const Entry& entry, const Locations& places);

}  // namespace dw::ClearedLog
