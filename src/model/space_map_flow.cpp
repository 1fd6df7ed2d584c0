#include "model/space_map_flow.h"

#include <chrono>

#include "scanners/spacemap/space_map.h"
#include "texts/scan.h"

namespace dw {

bool SpaceMapFlow::build(bool full) {
  if (FlowContext::underTestHost()) return false;
  std::uint64_t build = task_.begin();
  scanning_ = true;
  context_.notify(ModelField::spaceScanning);
  if (complete_) {
    complete_ = false;
    context_.notify(ModelField::spaceComplete);
  }

  task_.run(context_.dispatcher.start([this, build, full, home = context_.places.home,
                                       post = context_.poster()](std::stop_token stop) {
    try {
      throwIfCancelled(stop);
      auto start = std::chrono::steady_clock::now();
      SpaceMap::Node root = SpaceMap::build(home, SpaceMap::kMaxDepth, SpaceMap::kChildLimit, stop);
      std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
      post([this, root = std::move(root), seconds = took.count(), build, full]() mutable {
        finish(std::move(root), seconds, build, !full);
      });
      if (!full) return;
      // The whole home once, in the background of the page that shows the first picture.
      SpaceMap::Node whole =
          SpaceMap::buildFull(home, SpaceMap::kMaxDepth, SpaceMap::kChildLimit, stop);
      took = std::chrono::steady_clock::now() - start;
      post([this, whole = std::move(whole), seconds = took.count(), build]() mutable {
        complete(std::move(whole), seconds, build);
      });
    } catch (...) {
      post([this, build] { endWithError(build); });
    }
  }));
  return true;
}

void SpaceMapFlow::cancel() {
  task_.cancel();
}

void SpaceMapFlow::finish(SpaceMap::Node root, double seconds, std::uint64_t build, bool last) {
  // A build that a newer one replaced publishes nothing.
  if (!task_.isNewest(build)) return;
  if (last) task_.ended();
  root_ = std::move(root);
  context_.notify(ModelField::spaceRoot);
  path_.clear();
  context_.notify(ModelField::spacePath);
  selected_.reset();
  context_.notify(ModelField::spaceSelected);
  scanning_ = false;
  context_.notify(ModelField::spaceScanning);
  elapsed_ = seconds;
  context_.notify(ModelField::spaceElapsed);
  context_.say(texts::scan::spaceMapReady(seconds), MessageTopic::spaceMap);
}

void SpaceMapFlow::complete(SpaceMap::Node root, double seconds, std::uint64_t build) {
  if (!task_.isNewest(build)) return;
  task_.ended();
  // The same folders with their whole sizes: the folders stepped into and the selection stay
  // while they are still on the map (a folder may have left the biggest sixteen).
  root_ = std::move(root);
  context_.notify(ModelField::spaceRoot);
  size_t kept = 0;
  for (const SpaceMap::Node* node = &*root_; kept < path_.size(); ++kept) {
    const SpaceMap::Node* next = nullptr;
    for (const SpaceMap::Node& child : node->children) {
      if (child.path == path_[kept] && !child.children.empty()) next = &child;
    }
    if (!next) break;
    node = next;
  }
  if (kept < path_.size()) {
    path_.resize(kept);
    context_.notify(ModelField::spacePath);
  }
  if (selected_) {
    const SpaceMap::Node* node = current();
    bool there = false;
    for (const SpaceMap::Node& child : node->children)
      there = there || child.path == *selected_;
    if (!there) select(std::nullopt);
  }
  complete_ = true;
  context_.notify(ModelField::spaceComplete);
  elapsed_ = seconds;
  context_.notify(ModelField::spaceElapsed);
  context_.say(texts::scan::spaceMapComplete(seconds), MessageTopic::spaceMap);
}

void SpaceMapFlow::endWithError(std::uint64_t build) {
  if (!task_.isNewest(build)) return;
  // The previous map, if any, stays; so does a first picture whose full walk failed.
  task_.ended();
  bool picture = !scanning_;
  scanning_ = false;
  context_.notify(ModelField::spaceScanning);
  // Both stages end here: the flow is no longer completing.
  context_.notify(ModelField::spaceComplete);
  if (!picture) context_.say(std::string(texts::scan::kSpaceMapFailed), MessageTopic::spaceMap);
}

const SpaceMap::Node* SpaceMapFlow::current() const {
  if (!root_) return nullptr;
  const SpaceMap::Node* node = &*root_;
  for (const std::string& path : path_) {
    const SpaceMap::Node* next = nullptr;
    for (const SpaceMap::Node& child : node->children) {
      if (child.path == path) next = &child;
    }
    if (!next) break;
    node = next;
  }
  return node;
}

void SpaceMapFlow::select(const std::optional<std::string>& path) {
  if (selected_ == path) return;
  selected_ = path;
  context_.notify(ModelField::spaceSelected);
}

bool SpaceMapFlow::enter(const std::string& path) {
  const SpaceMap::Node* node = current();
  if (!node) return false;
  for (const SpaceMap::Node& child : node->children) {
    if (child.path != path) continue;
    if (child.children.empty()) return false;
    path_.push_back(path);
    context_.notify(ModelField::spacePath);
    select(std::nullopt);
    return true;
  }
  return false;
}

void SpaceMapFlow::leave(size_t level) {
  if (level >= path_.size()) return;
  path_.resize(level);
  context_.notify(ModelField::spacePath);
  select(std::nullopt);
}

}  // namespace dw
