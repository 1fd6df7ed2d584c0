#pragma once
// Running applications and their launch and quit events.

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace dw::platform {

class Workspace {
 public:
  // bundleID of the application, and true when it launched, false when it quit.
  using AppEventHandler = std::function<void(const std::string& bundleID, bool launched)>;

  virtual ~Workspace() = default;
  virtual bool isRunning(std::string_view bundleID) const = 0;
  // Events arrive on a thread of the workspace's own; the receiver moves them to its thread.
  // Setting an empty handler stops them.
  virtual void setAppEventHandler(AppEventHandler handler) = 0;
};

// The system's workspace (Linux: processes under /proc).
std::unique_ptr<Workspace> systemWorkspace();

}  // namespace dw::platform
