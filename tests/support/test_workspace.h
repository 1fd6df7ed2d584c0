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
  void setAppEventHandler(AppEventHandler handler) override {
    std::lock_guard lock(mutex_);
    handler_ = std::move(handler);
  }
  // Marks the app running (or not) and tells the handler, as the system would.
  void launch(const std::string& bundleID) { change(bundleID, true); }
  void quit(const std::string& bundleID) { change(bundleID, false); }
  void setRunning(const std::string& bundleID, bool running) {
    std::lock_guard lock(mutex_);
    if (running) {
      running_.insert(bundleID);
    } else {
      running_.erase(bundleID);
    }
  }

 private:
  void change(const std::string& bundleID, bool launched) {
    setRunning(bundleID, launched);
    AppEventHandler handler;
    {
      std::lock_guard lock(mutex_);
      handler = handler_;
    }
    if (handler) handler(bundleID, launched);
  }

  mutable std::mutex mutex_;
  std::set<std::string> running_;
  AppEventHandler handler_;
};

}  // namespace dw::test
