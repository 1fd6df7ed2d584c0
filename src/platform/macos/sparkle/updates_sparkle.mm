// The updater of a Mac app built with the update framework: its standard updater controller,
// made once at launch when the bundle's update feed is configured. It checks on its own
// schedule and shows its own windows; "Check for Updates…" asks it to check now.

#import <Sparkle/Sparkle.h>

#include "platform/updates.h"

namespace dw::platform {

namespace {

// Lives as long as the process: the updater runs while the controller exists.
SPUStandardUpdaterController* controller = nil;

}  // namespace

bool startUpdater(const BundleInfo& info) {
  if (controller) return true;
  if (!updateFeedConfigured(info)) return false;
  controller = [[SPUStandardUpdaterController alloc] initWithStartingUpdater:YES
                                                             updaterDelegate:nil
                                                          userDriverDelegate:nil];
  return controller != nil;
}

bool updaterRunning() {
  return controller != nil;
}

void checkForUpdates() {
  // The check a user asks for: the framework shows what it finds, or that nothing is new.
  [controller checkForUpdates:nil];
}

}  // namespace dw::platform
