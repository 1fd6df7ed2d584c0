#pragma once
// A workspace whose running applications the test decides, and whose launch and quit events
// the test sends. Everything else in these tests is real: files, folders and the Trash.

#include <mutex>
#include <set>
#include <string>

#include "platform/workspace.h"

namespace dw::test {

class TestWorkspace final : public platform::Workspace {
 public:
  bool isRunning(std::string_view bundleID) const override {
    std::lock_guard lock(mutex_);
    return running_.count(std::string(bundleID)) > 0;
  }
  std::set<std::string> runningBundleIDs() const override {
    std::lock_guard lock(mutex_);
    return running_;
  }
  void setAppEventHandler(AppEventHandler handler) override { handler_ = std::move(handler); }
  void setRunning(const std::string& bundleID, bool running) {
    std::lock_guard lock(mutex_);
    running ? void(running_.insert(bundleID)) : void(running_.erase(bundleID));
  }
  // Marks the app running (or not) and tells the handler, as the system would.
  void launch(const std::string& bundleID) { change(bundleID, true); }
  void quit(const std::string& bundleID) { change(bundleID, false); }

 private:
  void change(const std::string& bundleID, bool launched) {
    setRunning(bundleID, launched);
    if (handler_) handler_(bundleID, launched);
  }
  mutable std::mutex mutex_;
  std::set<std::string> running_;
  AppEventHandler handler_;
};

}  // namespace dw::test
