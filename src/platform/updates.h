#pragma once
// The application's updater. Where the app carries one (a Mac app built with the update
// framework) and its bundle's update feed is configured, it is started once at launch and
// checks on its own schedule, and "Check for Updates…" asks it to check now. Elsewhere there is
// none and the command stays unavailable: a Linux build is updated by the system's packages.
// Only the desktop app links this; the command line never carries an updater.

#include "platform/bundle_info.h"

namespace dw::platform {

// Starts the updater when the app carries one and info's feed is configured; true when it runs.
// Called once, on the main thread, once the application object exists.
bool startUpdater(const BundleInfo& info);
bool updaterRunning();
// The user's own check; nothing when no updater runs.
void checkForUpdates();

}  // namespace dw::platform
