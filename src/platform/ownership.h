#pragma once
// Whose items and places these are. Every move uses the rights of the effective user: only what
// that user owns is offered and moved, a place outside the home is searched only when it is
// the user's own, and nothing moves out of, or into the Trash and log of, a home that belongs to
// someone else (root with another user's HOME, as `sudo -E` leaves it).

#include <sys/stat.h>

#include <optional>
#include <string>

#include "platform/locations.h"
#include "platform/trash.h"

namespace dw::Ownership {

// The effective user owns the item (its own owner, never a link's target).
bool owns(const struct stat& item);
// The same for the item at path (not followed); false when there is none.
bool ownsPath(const std::string& path);

// A folder outside the home that may serve as a place of the user's: theirs, and nobody else may
// change its entries (no group or other write). Root owns the whole system, so for root nothing
// outside its home counts as its own.
bool isOwnFolder(const struct stat& folder);
bool isOwnFolder(const std::string& path);

// Whether a place (a user folder of user-dirs.dirs, $XDG_CACHE_HOME) may be listed and moved
// from: as it resolves, inside the home, or a folder of the user's own.
bool isUsablePlace(const std::string& place, const std::string& home);

// Where an item lies among the user's places (the home, the user folders, the cache, config and
// data folders, the app and leftover folders), the one rule of both a move and a Put Back: the
// place it lies in (as written, or as the place resolves, or through a link that resolves to the
// place), that place resolved, and the rest of the path, along which no link may be followed.
enum class Where {
  usable,    // in a place of the user's that may be used
  refused,   // in a place that may not (another user's, one others may write, or a home that
             // is not this user's)
  elsewhere  // in none of them (an app in /Applications)
};
struct Place {
  Where where = Where::elsewhere;
  platform::Placement placement;  // set for usable and refused
};
Place placeOf(const std::string& path, const Locations& places);

// Why nothing may move for this user in these places: the home scanned, or the home whose Trash
// and log a move would write, belongs to another user. nullopt when both are the user's own.
std::optional<std::string> refusalToMove(const Locations& places);

}  // namespace dw::Ownership
