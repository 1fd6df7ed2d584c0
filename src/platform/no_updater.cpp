// A build without an updater: every Linux build, and a Mac build made without the update
// framework or without a configured feed (macos/sparkle/ replaces this file where it has both).

#include "platform/updates.h"

namespace dw::platform {

bool startUpdater(const BundleInfo&) {
  return false;
}

bool updaterRunning() {
  return false;
}

void checkForUpdates() {}

}  // namespace dw::platform
