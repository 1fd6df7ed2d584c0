#include "model/space_map_flow.h"

#include <chrono>

#include "scanners/spacemap/space_map.h"
#include "texts/scan.h"

namespace dw {

bool SpaceMapFlow::build() {
  if (FlowContext::underTestHost()) return false;
  std::uint64_t build = task_.begin();
  scanning_ = true;
  context_.notify(ModelField::spaceScanning);

  task_.run(context_.dispatcher.start([this, build, home = context_.places.home,
                                       post = context_.poster()](std::stop_token stop) {
    try {
      throwIfCancelled(stop);
      auto start = std::chrono::steady_clock::now();
      SpaceMap::Node root = SpaceMap::build(home, SpaceMap::kMaxDepth, SpaceMap::kChildLimit, stop);
      std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
      post([this, root = std::move(root), seconds = took.count(), build]() mutable {
        finish(std::move(root), seconds, build);
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

void SpaceMapFlow::finish(SpaceMap::Node root, double seconds, std::uint64_t build) {
  // A build that a newer one replaced publishes nothing.
  if (!task_.isNewest(build)) return;
  task_.ended();
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

void SpaceMapFlow::endWithError(std::uint64_t build) {
  if (!task_.isNewest(build)) return;
  // The previous map, if any, stays.
  task_.ended();
  scanning_ = false;
  context_.notify(ModelField::spaceScanning);
  context_.say(std::string(texts::scan::kSpaceMapFailed), MessageTopic::spaceMap);
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
