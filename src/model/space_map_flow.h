#pragma once
// The space map: the home folder's size tree, built off the model's thread, and the way through
// it (the folders stepped into and the selected cell). It offers nothing to move. The quick map
// (three levels walked) is the first picture; then the whole home is walked once and every
// node's size is replaced by everything under it, keeping the way through it.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/flow_context.h"
#include "scanners/spacemap/space_map_types.h"

namespace dw {

class SpaceMapFlow {
 public:
  explicit SpaceMapFlow(FlowContext& context) : context_(context) {}
  SpaceMapFlow(const SpaceMapFlow&) = delete;
  SpaceMapFlow& operator=(const SpaceMapFlow&) = delete;

  const std::optional<SpaceMap::Node>& root() const { return root_; }
  // The paths of the nodes stepped into, from the root's child down.
  const std::vector<std::string>& path() const { return path_; }
  const std::optional<std::string>& selected() const { return selected_; }
  // True until the first picture is up.
  bool scanning() const { return scanning_; }
  // Whether the sizes count everything under each node (the full walk has ended).
  bool complete() const { return complete_; }
  // Whether the full walk runs (after the first picture).
  bool completing() const { return task_.running() && !scanning_; }
  const std::optional<double>& elapsed() const { return elapsed_; }
  bool running() const { return task_.running(); }
  // The node whose children the page shows: the last one stepped into, else the root.
  const SpaceMap::Node* current() const;

  // Maps the home folder, then (full) completes its sizes; a second call replaces a build still
  // running. False under a test host, where nothing starts by itself.
  bool build(bool full = true);
  void cancel();
  void select(const std::optional<std::string>& path);
  // Steps into a child of the current node that has children of its own; false otherwise.
  bool enter(const std::string& path);
  // Back to the level given (0 is the root).
  void leave(size_t level);

 private:
  void finish(SpaceMap::Node root, double seconds, std::uint64_t build, bool last);
  void complete(SpaceMap::Node root, double seconds, std::uint64_t build);
  void endWithError(std::uint64_t build);

  FlowContext& context_;
  std::optional<SpaceMap::Node> root_;
  std::vector<std::string> path_;
  std::optional<std::string> selected_;
  bool scanning_ = false;
  bool complete_ = false;
  std::optional<double> elapsed_;
  LatestTask task_;
};

}  // namespace dw
