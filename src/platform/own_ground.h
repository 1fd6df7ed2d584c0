#pragma once
// The program's own ground, which no scanner lists and no clear moves: every Trash and what is
// in it, the folder of the log of moves (cleared.json and its journal), the settings, and any
// folder that holds one of these (moving it would move them too).

#include <string>
#include <string_view>
#include <vector>

#include "platform/locations.h"

namespace dw::OwnGround {

// True for a Trash folder (home or top-directory), anything inside one, the program's own data
// folder (where cleared.json lives) and settings folder or anything inside them, and a folder
// that holds any of these. Never list, enter for candidates, or move such a path.
bool excludes(const std::string& path, const Locations& places);

// True for own ground itself and anything inside it, but not for a folder that only holds some:
// a walk for files may enter such a folder and must not enter these.
bool contains(const std::string& path, const Locations& places);

// Our ground resolved once, for the many paths of one batch (the re-checks of a long clear of
// copies): the same answer as excludes(), without resolving our places again for each path.
class Ground {
 public:
  explicit Ground(const Locations& places);
  // excludes() of a path, given as written (standardised) and as itself: its parent folder's
  // links resolved, its own last component not followed.
  bool excludes(std::string_view written, std::string_view itself) const;

 private:
  std::vector<std::string> own_;
};

}  // namespace dw::OwnGround
