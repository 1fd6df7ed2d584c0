#pragma once
// The platform's Trash: moving an item in, knowing where trashed items live, and moving one
// back. Nothing here deletes or overwrites a user's file: a move that cannot be done is refused
// with a reason and the item stays where it was.

#include <string>

namespace dw::platform {

struct TrashMove {
  std::string trashPath;  // where the item now is, on success
  std::string error;      // why it stayed, otherwise ("This volume has no Trash")
  // It stayed for lack of rights: the system refused the rename (EACCES, EPERM), or the user
  // may not write the folder that holds it. Someone with more rights could move it.
  bool permissionDenied = false;
  bool ok() const { return error.empty(); }
};

// Moves the item (file, folder or symbolic link, never followed) to the Trash of its volume.
TrashMove moveToTrash(const std::string& path);

// Whether a path (symbolic links resolved, standardised) names an item inside one of this
// platform's Trash folders, as Put Back requires. resolvedHome is the user's home folder.
bool isInTrashFolder(const std::string& resolvedPath, const std::string& resolvedHome);

// Whether the item at trashPath is the one trashed from originalPath (Linux: its .trashinfo
// names that path; a reused name after emptying the Trash does not).
bool trashItemMatches(const std::string& trashPath, const std::string& originalPath);

// Moves a trashed item back to originalPath, never replacing anything there, and then drops
// the Trash's own record of it. Returns the system's description of a failure, or "".
std::string moveOutOfTrash(const std::string& trashPath, const std::string& originalPath);

}  // namespace dw::platform
