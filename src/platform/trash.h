#pragma once
// The platform's Trash: moving an item in, knowing where trashed items live, and moving one
// back. Nothing here deletes or overwrites a user's file: a move that cannot be done is refused
// with a reason and the item stays where it was.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/core.h"

namespace dw::platform {

struct TrashMove {
  std::string trashPath;          // where the item now is, on success
  std::string error;              // why it stayed, otherwise ("This volume has no Trash")
  bool permissionDenied = false;  // EACCES/EPERM, or a parent folder the user may not write
  bool ok() const { return error.empty(); }
};

// Called with the place an item is about to take in the Trash, before anything of it is written
// there (each name tried gets a call). A non-zero result is an errno: the move is then given up
// and the item stays.
using BeforeTrashing = std::function<int(const std::string& trashPath)>;

// Moves the item (file, folder or symbolic link, never followed) to the Trash of its volume.
TrashMove moveToTrash(const std::string& path, const BeforeTrashing& beforeTrashing = {});

// Whether a path (symbolic links resolved, standardised) names an item of one of this user's
// real Trash folders (the home Trash, or a Trash at the top of a mount that passes the checks a
// move makes), as Put Back requires. resolvedHome is the user's home folder.
bool isInTrashFolder(const std::string& resolvedPath, const std::string& resolvedHome);

// The one test of "still in the Trash", shared by the status of a record and by Put Back: an
// item is at trashPath inside a real Trash, and it is the one trashed from originalPath (Linux:
// its .trashinfo names that path; a reused name after emptying the Trash does not).
bool trashItemMatches(const std::string& trashPath, const std::string& originalPath);

// Moves a trashed item back to originalPath, making missing parent folders and never replacing
// anything there, and then drops the Trash's own record of it. Returns the system's description
// of a failure, or "".
std::string moveOutOfTrash(const std::string& trashPath, const std::string& originalPath);

// Makes the folder at path and the missing folders above it, never through a symbolic link put
// in the way after the path was checked. 0, or the errno of the step that failed.
int makeFolders(const std::string& path);

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
