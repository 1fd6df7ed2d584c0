#pragma once
// The program's own ground, which no scanner lists and no clear moves: every Trash and what is
// in it, the folder of the log of moves (cleared.json and its journal), the settings, and any
// folder that holds one of these (moving it would move them too).

#include <string>

#include "platform/locations.h"

namespace dw::OwnGround {

// True for a Trash folder (home or top-directory), anything inside one, the program's own data
// folder (where cleared.json lives) and settings folder or anything inside them, and a folder
// that holds any of these. Never list, enter for candidates, or move such a path.
bool excludes(const std::string& path, const Locations& places);

}  // namespace dw::OwnGround
