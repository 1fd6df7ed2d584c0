#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace dw::SpaceMap {

// One folder of the home folder's size tree; children largest first.
struct Node {
  std::string name;
  std::string path;  // a folded node's is its parent's path + "/.other"
  std::int64_t bytes = 0;
  std::vector<Node> children;
  bool operator==(const Node&) const = default;
};

}  // namespace dw::SpaceMap
