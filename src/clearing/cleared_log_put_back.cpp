#include "clearing/cleared_log.h"

#include <sys/stat.h>

#include "base/paths.h"
#include "clearing/cleared_log_parts.h"
#include "platform/ownership.h"
#include "platform/trash.h"

namespace dw::ClearedLog {

namespace {

using Kind = PutBackError::Kind;

// Every refusal names the item it refuses.
std::string describe(Kind kind, const std::string& text, const std::string& name) {
  const std::string item = name.empty() ? std::string("This item") : name;
  switch (kind) {
    case Kind::moveFailed:
      return name.empty() ? text : name + " was not put back: " + text;
    case Kind::alreadyPutBack:
      return item + " was already put back.";
    case Kind::notInTrash:
      return item + " is no longer in the Trash (it may have been emptied).";
    case Kind::originalOccupied:
      return item + " was not put back: something already exists at its original location.";
    case Kind::refusedLocation:
      return item +
             " cannot be put back: the recorded Trash path or original location is not "
             "allowed.";
    case Kind::alreadyInPlace:
      return item + " is already back in its original location.";
  }
  return text;
}

bool absolute(const std::string& path) {
  return !path.empty() && path.front() == '/';
}

// An app bundle that lay in one of the Applications folders the uninstaller lists (directly, or
// in a vendor folder one level down): that folder as it resolves, and the rest of the path. The
// folder is the system's (not the user's own), so it is opened as it resolves, never through a
// link below it, and the rename back never replaces anything; the system's rights decide.
std::optional<platform::Placement> applicationPlacement(const std::string& original,
                                                        const Locations& places) {
  const std::string item = paths::standardize(original);
  if (!paths::lastComponent(item).ends_with(".app")) return std::nullopt;
  for (const std::string& folder : places.applicationFolders) {
    if (folder.empty()) continue;
    const std::string written = paths::standardize(folder);
    for (const std::string& form : {written, paths::resolveSymlinks(written)}) {
      if (!paths::isStrictlyWithin(item, form)) continue;
      std::string relative = item.substr(form == "/" ? 1 : form.size() + 1);
      if (paths::split(relative, '/').size() > 2) return std::nullopt;
      return platform::Placement{paths::resolveSymlinks(written), relative, false};
    }
  }
  return std::nullopt;
}

// A record's two places as Put Back takes them.
struct Accepted {
  std::string trash;             // links resolved
  platform::Placement original;  // the place a move accepted, and the path below it
};

// The location rule of Put Back: the Trash path names an item of one of this user's real Trash
// folders, and the original place is one that a move accepts (in the home or a place of the
// user's that may be used, Ownership::placeOf), with no link in the folders below that place:
// one put there since the move would send the item elsewhere.
std::optional<Accepted> acceptedPlaces(const Entry& entry, const Locations& places) {
  if (!absolute(entry.trashPath) || !absolute(entry.originalPath) || !absolute(places.home)) {
    return std::nullopt;
  }
  // From here on only the resolved Trash path is used, so the item moved is the one checked,
  // whatever links or ".." the record holds.
  Accepted accepted{paths::resolveParentSymlinks(entry.trashPath), {}};
  if (!platform::isInTrashFolder(accepted.trash, paths::resolveSymlinks(places.home))) {
    return std::nullopt;
  }
  Ownership::Place place = Ownership::placeOf(entry.originalPath, places);
  if (place.where == Ownership::Where::elsewhere) {
    // An app the uninstaller moved from an Applications folder goes back there.
    std::optional<platform::Placement> app = applicationPlacement(entry.originalPath, places);
    if (!app) return std::nullopt;
    place.where = Ownership::Where::usable;
    place.placement = std::move(*app);
  }
  if (place.where != Ownership::Where::usable) return std::nullopt;
  accepted.original = place.placement;
  std::string folder = accepted.original.folder;
  std::vector<std::string_view> parts = paths::split(accepted.original.relative, '/');
  parts.pop_back();  // the item's own name: whatever stands there is checked as occupying it
  for (std::string_view part : parts) {
    folder = paths::join(folder, part);
    struct stat s {};
    if (::lstat(folder.c_str(), &s) != 0) break;  // made again by Put Back
    if (S_ISLNK(s.st_mode)) return std::nullopt;
  }
  return accepted;
}

std::string originalPathOf(const platform::Placement& original) {
  return paths::join(original.folder, original.relative);
}

}  // namespace

PutBackError::PutBackError(Kind kind, const std::string& text, const std::string& name)
    : std::runtime_error(describe(kind, text, name)), kind_(kind) {}

bool isBackInPlace(const Entry& entry) {
  return entry.item && platform::isSameItem(entry.originalPath, *entry.item);
}

bool isAllowed(const Entry& entry, const Locations& places) {
  return acceptedPlaces(entry, places).has_value();
}

Status status(const Entry& entry, const Locations& places) {
  if (entry.putBackAt) return Status::putBack;
  if (isShare(entry)) return Status::shared;
  if (!platform::trashItemMatches(entry.trashPath, entry.originalPath))
    return isBackInPlace(entry) ? Status::putBack : Status::trashEmptied;
  return isAllowed(entry, places) ? Status::inTrash : Status::putBackByHand;
}

Entry putBack(const Entry& entry, const Locations& places) {
  if (entry.putBackAt) throw PutBackError(Kind::alreadyPutBack, {}, entry.name);
  if (isShare(entry)) throw PutBackError(Kind::moveFailed, std::string(kNothingToPutBack));
  // Nothing goes back into a home of another user (root with that user's HOME).
  if (std::optional<std::string> refusal = Ownership::refusalToMove(places)) {
    throw PutBackError(Kind::moveFailed, *refusal);
  }
  std::optional<Accepted> accepted = acceptedPlaces(entry, places);
  if (!accepted) throw PutBackError(Kind::refusedLocation, {}, entry.name);
  const std::string& trash = accepted->trash;
  const std::string original = originalPathOf(accepted->original);

  if (!platform::trashItemMatches(trash, entry.originalPath)) {
    throw PutBackError(isBackInPlace(entry) ? Kind::alreadyInPlace : Kind::notInTrash, {},
                       entry.name);
  }
  if (existsAt(original)) throw PutBackError(Kind::originalOccupied, {}, entry.name);

  if (int e = platform::makeFolders(accepted->original)) {
    throw systemError(e, "Cannot create " + std::string(paths::parent(original)));
  }

  Entry updated = entry;
  updated.id = upper(entry.id);
  updated.putBackAt = Clock::now();
  Journal journal(places);
  if (int e = journal.intendPutBack(updated.id, *updated.putBackAt)) {
    throw systemError(e, "Cannot write " + journalFile(places));
  }
  std::string failure = platform::moveOutOfTrash(trash, accepted->original);
  if (!failure.empty()) {
    journal.recordPutBack(updated.id, false);
    try {
      journal.merge();  // nothing to record; the journal goes
    } catch (const std::exception&) {
      // The refusal is what matters; the journal is settled at the next start.
    }
    throw PutBackError(Kind::moveFailed, failure, entry.name);
  }
  // The item is back. A failure to note it (here or in the merge) is reported, and the next
  // start finds it back from the Trash and the journal.
  if (int e = journal.recordPutBack(updated.id, true)) {
    throw systemError(e, "Cannot write " + journalFile(places));
  }
  journal.merge();
  return updated;
}

}  // namespace dw::ClearedLog
