#pragma once
// The log of every item moved to the Trash ("Recently Cleared") and Put Back. The log is a
// JSON array in Locations::logFile, oldest first; it holds no state in memory.
//
// Every move and Put Back is first written to a journal beside the log (cleared.journal, one
// fsynced record per line): the intent before the item moves and the result after. The journal
// is merged into the log under the log's lock, and only then emptied; recover() finishes what an
// interrupted process left, from what the Trash holds.

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "base/core.h"
#include "platform/item_mark.h"
#include "platform/locations.h"

namespace dw::ClearedLog {

// A share: extra copies made to use their kept copy's blocks. Nothing moved, so its record has no
// Trash path and nothing to put back; its bytes are what the file system's free space grew by.
inline constexpr std::string_view kShareKind = "share";
struct SharedCopy {
  std::string path;      // the copy, still in its place
  std::string keptPath;  // the file whose blocks it now uses
  bool operator==(const SharedCopy&) const = default;
};

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
  std::vector<SharedCopy> shared;  // a share's copies; written only when there are some
  // The moved item's own mark, as it was about to move: tells it back in its original place
  // after another program restored it. Written (as an extra key) only when it was read.
  std::optional<platform::ItemMark> item;
  bool operator==(const Entry&) const = default;
};

inline bool isShare(const Entry& entry) {
  return entry.kind == kShareKind;
}
// What Recently Cleared says of shares, and Put Back's answer for one.
inline constexpr std::string_view kNothingToPutBack =
    "Shared copies stay where they are: there is nothing to put back.";

class PutBackError : public std::runtime_error {
 public:
  enum class Kind {
    moveFailed,
    alreadyPutBack,
    notInTrash,
    originalOccupied,
    refusedLocation,
    alreadyInPlace,  // another program (the file manager's Restore) put the item back
  };
  // The message names the item (name), except where text says all (moveFailed with no name).
  PutBackError(Kind kind, const std::string& text = {}, const std::string& name = {});
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

// The exact bytes of the file for these entries, and back. decode gives nullopt for anything
// that is not an array of entries.
std::string encode(const std::vector<Entry>& entries);
std::optional<std::vector<Entry>> decode(std::string_view text);

// Adds records after the existing ones (one already there by id is not added twice), together
// with whatever the journal holds; nothing for an empty list and an empty journal. Records that
// cannot be read stay as they are; a file that did not read as a whole is first copied to
// cleared.json.damaged-<UTC date-time>. Throws std::system_error when the folder cannot be
// created or the file cannot be written (a log that is a folder is never replaced). Safe
// against another process appending at the same time. A record whose id or sessionID is not a
// UUID is refused (std::invalid_argument, nothing written): it could never be read back.
void append(const std::vector<Entry>& entries, const Locations& places);
void save(const std::vector<Entry>& entries, const Locations& places);

struct Reading {
  std::vector<Entry> entries;  // oldest first, the journal's finished moves included
  int unreadable = 0;          // records kept as they are because they could not be read
  std::string problem;         // why the log itself could not be read ("" when it could)
  // One sentence for each journal that could not be read (whole) and is kept beside the log.
  std::vector<std::string> journalNotes;
};
Reading read(const Locations& places);

// The text forms as the files are read, for checking any input against the readers: how many
// of a log's records are entries (the log read record by record), and how many of a journal's
// lines are records (a line cut short read as far as it goes).
struct TextReading {
  int records = 0;
  int unreadable = 0;
};
TextReading readLogText(std::string_view text);
TextReading readJournalText(std::string_view text);
// Newest first; records that cannot be read are left out.
std::vector<Entry> load(const Locations& places);

// Finishes the bookkeeping of moves and Put Backs that a process did not finish (killed, power
// lost): a moved item gets its record, a put-back item its putBackAt, a .trashinfo this program
// wrote for a move that never happened goes. Then merges the journal into the log and removes
// it; a journal that cannot be read whole is kept beside the log (cleared.journal.damaged-<UTC
// date-time>, or cleared.journal.unread-<UTC date-time> while it cannot be read at all, merged
// by a later recovery that can read it), never dropped. Copies of the log a killed process left
// behind (.cleared.json.XXXXXX) are removed. Throws std::system_error when the log cannot be
// written; the journal then stays.
void recover(const Locations& places);

// One move or Put Back in progress: holds the log's lock so that no recovery runs meanwhile, and
// writes its records to the journal. Each call returns 0 or the errno that kept the record from
// disk; nothing may move without its intent on disk.
class Journal {
 public:
  explicit Journal(const Locations& places);  // throws std::system_error
  ~Journal();
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  int intendMove(const Entry& planned);
  int recordMove(const std::string& id, bool moved);
  int intendPutBack(const std::string& id, TimePoint at);
  int recordPutBack(const std::string& id, bool done);
  // Merges the journal into the log now (as recover does), under the lock already held.
  void merge();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// The location rule of Put Back: the Trash path names an item of one of this user's real Trash
// folders, and the original place is one a move accepts (Ownership::placeOf: in the home, or in
// a place of the user's that may be used, such as a Downloads that is a link to a folder of
// theirs elsewhere), with no link below that place.
bool isAllowed(const Entry& entry, const Locations& places);
// Where an entry's item is now. "In the Trash" and the location rule are the very tests Put Back
// makes, so the two never disagree.
enum class Status {
  inTrash,        // in the Trash, and Put Back can take it back
  putBack,        // put back (putBackAt), or back in its place by another program's Restore:
                  // the very item moved (its recorded mark) is at its original path
  trashEmptied,   // no longer in the Trash
  putBackByHand,  // in the Trash, but its original place is not one Put Back accepts (a
                  // folder outside the home that is not the user's own)
  shared,         // a share: never in the Trash, nothing to put back
};
Status status(const Entry& entry, const Locations& places);
// Whether the very item the entry moved (its recorded mark, not merely a name) is at its original
// path again, put back by another program.
bool isBackInPlace(const Entry& entry);

// Moves the item back and records when; throws PutBackError (or std::system_error when the
// parent folder cannot be made or the log cannot be written after the move). Refuses
// (moveFailed, with Ownership::refusalToMove's text) in a home of another user.
Entry putBack(const Entry& entry, const Locations& places);

}  // namespace dw::ClearedLog
