#pragma once
// The home folder as a small size tree for the space-map page: the home folder, its biggest
// entries, theirs, and one level more. The quick build walks and counts nothing deeper than the
// maximum depth, a first picture of the upper levels; the full build walks the whole tree and
// each node's bytes are everything under it.

#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

#include "scanners/spacemap/space_map_types.h"

namespace dw::SpaceMap {

inline constexpr int kMaxDepth = 3;
inline constexpr size_t kChildLimit = 16;

// Builds the tree of root, at most maxDepth levels below it and childLimit children a node (the
// rest folded into one "Other"). A root that cannot be opened is a node of 0 bytes. Checks stop
// every 1000 entries and throws Cancelled, nothing else. threads is the most the walk uses.
Node build(const std::string& root, int maxDepth = kMaxDepth, size_t childLimit = kChildLimit,
           std::stop_token stop = {}, unsigned threads = 2);
// The same tree with complete sizes: the whole tree is walked (one file system, links not
// followed, a file with several names counted once, under the name a one-thread walk meets
// first), and each node counts the allocated bytes of everything under it, as du -x would, so
// the children are ordered and folded by those sizes. Memory grows with the nodes within
// maxDepth levels, not with the tree.
Node buildFull(const std::string& root, int maxDepth = kMaxDepth, size_t childLimit = kChildLimit,
               std::stop_token stop = {}, unsigned threads = 2);

// One cell of the row that shows a node's children.
struct Cell {
  const Node* node;
  double x = 0;  // from the row's left edge
  double width = 0;
  bool operator==(const Cell&) const = default;
};

inline constexpr double kCellGap = 3;
inline constexpr double kMinCellWidth = 36;

// The row of node's children with bytes above 0, in the tree's order, each as wide as its share
// of areaWidth but never narrower than kMinCellWidth. The gaps are not taken from the shares and
// the row is not scaled back, so many small children make a row wider than the area.
std::vector<Cell> layoutRow(const Node& node, double areaWidth);

}  // namespace dw::SpaceMap
