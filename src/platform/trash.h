#pragma once
// The platform's Trash: moving an item in, knowing where trashed items live, and moving one
// back. Nothing here deletes or overwrites a user's file: a move that cannot be done is refused
// with a reason and the item stays where it was.

#include <sys/stat.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/core.h"

namespace dw::platform {

struct TrashMove {
  std::string trashPath;          // where the item now is, on success
  std::string error;              // why it stayed, otherwise ("This volume has no Trash")
  bool permissionDenied = false;  // EACCES/EPERM, another user's item, or a parent folder the
                                  // user may not write
  bool notAsListed = false;       // the item there is not the one listed, or failed its checks
  bool ok() const { return error.empty(); }
};

// Where an item lies, as a move and a Put Back reach it: a folder of the user's (the home, a
// user folder, the cache folder) as it resolved, links followed up to it, and the item's path
// below that folder, along which no link is ever followed.
struct Placement {
  std::string folder;    // absolute and resolved
  std::string relative;  // below folder, standardised and never empty ("sub/report.pdf")
  // The folder lies outside the home: its open descriptor must show it the user's own, with
  // nobody else allowed to change it, or nothing moves out of or into it.
  bool mustBeOwn = false;
};

// The item about to move, as the folder held open for the move shows it.
struct ItemAt {
  int folder;  // the parent's descriptor, from which the item is renamed
  const std::string& name;
  const struct stat& stat;  // the item itself (never followed), read on that descriptor
};

// What a move checks on the open parent before anything is written: the item must be the one
// listed, owned by the user who moves it, and pass verify (its content, its size), read
// through that descriptor. It is checked once more just before the rename.
struct MoveChecks {
  std::optional<Placement> placement;  // none: the parent folder as it resolves now
  FileIdentity identity;               // as listed, measured or hashed; unknown: not compared
  std::function<bool(const ItemAt&)> verify;
};

// Called with the place an item is about to take in the Trash, before anything of it is written
// there (each name tried gets a call). A non-zero result is an errno: the move is then given up
// and the item stays.
using BeforeTrashing = std::function<int(const std::string& trashPath)>;

// Moves the item (file, folder or symbolic link, never followed) to the Trash of its volume. An
// item of another user is refused (permissionDenied): it would land where neither user could
// put it back. path is what the Trash records as the original place.
TrashMove moveToTrash(const std::string& path, const MoveChecks& checks,
                      const BeforeTrashing& beforeTrashing = {});
TrashMove moveToTrash(const std::string& path, const BeforeTrashing& beforeTrashing = {});

// Whether a path (symbolic links resolved, standardised) names an item of one of this user's
// real Trash folders (the home Trash, or a Trash at the top of a mount that passes the checks a
// move makes), as Put Back requires. resolvedHome is the user's home folder.
bool isInTrashFolder(const std::string& resolvedPath, const std::string& resolvedHome);

// The one test of "still in the Trash", shared by the status of a record and by Put Back: an
// item is at trashPath inside a real Trash, and it is the one trashed from originalPath (Linux:
// its .trashinfo names that path; a reused name after emptying the Trash does not).
bool trashItemMatches(const std::string& trashPath, const std::string& originalPath);

// Moves a trashed item back to its original place, making missing folders below the
// placement's folder and never replacing anything there, and then drops the Trash's own record
// of it. Returns the system's description of a failure, or "".
std::string moveOutOfTrash(const std::string& trashPath, const Placement& original);

// Makes the missing folders that hold a placed item, never through a symbolic link. 0, or the
// errno of the step that failed.
int makeFolders(const Placement& original);

// Bookkeeping left by an interrupted move or Put Back: when nothing is at trashPath, drops its
// .trashinfo if that names originalPath and was written at or after notBefore (so it is the one
// this program wrote then). True when such a record was dropped.
bool dropStaleRecord(const std::string& trashPath, const std::string& originalPath,
                     TimePoint notBefore);

// The [Trash Info] group of a .trashinfo file's text: Path= with its URI escapes undone (the
// bytes of the original path, absolute or relative to the Trash's top folder) and DeletionDate=
// when it reads as a local date. nullopt without a Path= that decodes.
struct TrashInfo {
  std::string path;
  std::optional<TimePoint> deleted;
};
std::optional<TrashInfo> parseTrashInfo(std::string_view text);

}  // namespace dw::platform
