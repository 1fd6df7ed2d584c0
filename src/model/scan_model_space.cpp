// The space map flow of the model: building the home folder's size tree and stepping through it.

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "model/scan_model.h"
#include "scanners/spacemap/space_map.h"

namespace dw {

void ScanModel::buildSpaceMap() {
  // A test host sets this; then nothing starts by itself.
  if (std::getenv("XCTestConfigurationFilePath") != nullptr) return;
  if (spaceTask_) spaceTask_->cancel();
  std::uint64_t build = ++spaceBuild_;
  spaceScanning_ = true;
  notify(Field::spaceScanning);

  spaceTask_ =
      dispatcher_.start([this, build, home = places_.home, post = poster()](std::stop_token stop) {
        try {
          throwIfCancelled(stop);
          auto start = std::chrono::steady_clock::now();
          SpaceMap::Node root =
              SpaceMap::build(home, SpaceMap::kMaxDepth, SpaceMap::kChildLimit, stop);
          std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
          post([this, root = std::move(root), seconds = took.count(), build]() mutable {
            finishSpaceMap(std::move(root), seconds, build);
          });
        } catch (...) {
          post([this, build] { endSpaceMapWithError(build); });
        }
      });
}

void ScanModel::cancelSpaceMap() {
  if (spaceTask_) spaceTask_->cancel();
}

void ScanModel::finishSpaceMap(SpaceMap::Node root, double seconds, std::uint64_t build) {
  // A build that a newer one replaced publishes nothing.
  if (build != spaceBuild_) return;
  spaceTask_.reset();
  spaceRoot_ = std::move(root);
  notify(Field::spaceRoot);
  spacePath_.clear();
  notify(Field::spacePath);
  spaceSelected_.reset();
  notify(Field::spaceSelected);
  spaceScanning_ = false;
  notify(Field::spaceScanning);
  spaceElapsed_ = seconds;
  notify(Field::spaceElapsed);
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", seconds);
  message_ = std::string("Space Map ready in ") + text + " s. The map does not move anything.";
  notify(Field::message);
}

void ScanModel::endSpaceMapWithError(std::uint64_t build) {
  if (build != spaceBuild_) return;
  // The previous map, if any, stays.
  spaceTask_.reset();
  spaceScanning_ = false;
  notify(Field::spaceScanning);
  message_ = "Space Map could not finish. Try again.";
  notify(Field::message);
}

const SpaceMap::Node* ScanModel::spaceCurrent() const {
  if (!spaceRoot_) return nullptr;
  const SpaceMap::Node* node = &*spaceRoot_;
  for (const std::string& path : spacePath_) {
    const SpaceMap::Node* next = nullptr;
    for (const SpaceMap::Node& child : node->children) {
      if (child.path == path) next = &child;
    }
    if (!next) break;
    node = next;
  }
  return node;
}

void ScanModel::selectSpaceNode(const std::optional<std::string>& path) {
  if (spaceSelected_ == path) return;
  spaceSelected_ = path;
  notify(Field::spaceSelected);
}

bool ScanModel::enterSpaceNode(const std::string& path) {
  const SpaceMap::Node* current = spaceCurrent();
  if (!current) return false;
  for (const SpaceMap::Node& child : current->children) {
    if (child.path != path) continue;
    if (child.children.empty()) return false;
    spacePath_.push_back(path);
    notify(Field::spacePath);
    selectSpaceNode(std::nullopt);
    return true;
  }
  return false;
}

void ScanModel::leaveSpaceNodes(size_t level) {
  if (level >= spacePath_.size()) return;
  spacePath_.resize(level);
  notify(Field::spacePath);
  selectSpaceNode(std::nullopt);
}

}  // namespace dw
