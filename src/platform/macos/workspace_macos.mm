// Running applications and their launches and quits, as the shared workspace (NSWorkspace)
// tells them. Its notifications are delivered on the main queue, so they reach the app while its
// main run loop runs; the receiver moves them to its own thread as it does any event.

#import <AppKit/AppKit.h>

#include <memory>

#include "platform/macos/cocoa_text.h"
#include "platform/workspace.h"

namespace dw::platform {

namespace {

class SharedWorkspace final : public Workspace {
 public:
  ~SharedWorkspace() override { stopObserving(); }

  bool isRunning(std::string_view bundleID) const override {
    @autoreleasepool {
      NSString* identifier = cocoa::text(bundleID);
      return identifier &&
             [NSRunningApplication runningApplicationsWithBundleIdentifier:identifier].count > 0;
    }
  }

  std::set<std::string> runningBundleIDs() const override {
    std::set<std::string> running;
    @autoreleasepool {
      for (NSRunningApplication* app in [NSWorkspace sharedWorkspace].runningApplications) {
        if (auto identifier = cocoa::textOf(app.bundleIdentifier)) running.insert(*identifier);
      }
    }
    return running;
  }

  void setAppEventHandler(AppEventHandler handler) override {
    stopObserving();
    if (!handler) return;
    // Each block holds the handler it was made with, so a handler that replaces itself while
    // it runs stays alive until it returns.
    auto shared = std::make_shared<const AppEventHandler>(std::move(handler));
    NSNotificationCenter* center = [NSWorkspace sharedWorkspace].notificationCenter;
    auto observe = [&](NSNotificationName name, bool launched) -> id<NSObject> {
      return [center addObserverForName:name
                                 object:nil
                                  queue:[NSOperationQueue mainQueue]
                             usingBlock:^(NSNotification* note) {
                               NSRunningApplication* app = note.userInfo[NSWorkspaceApplicationKey];
                               if (auto identifier = cocoa::textOf(app.bundleIdentifier))
                                 (*shared)(*identifier, launched);
                             }];
    };
    launches_ = observe(NSWorkspaceDidLaunchApplicationNotification, true);
    quits_ = observe(NSWorkspaceDidTerminateApplicationNotification, false);
  }

 private:
  void stopObserving() {
    NSNotificationCenter* center = [NSWorkspace sharedWorkspace].notificationCenter;
    if (launches_) [center removeObserver:launches_];
    if (quits_) [center removeObserver:quits_];
    launches_ = nil;
    quits_ = nil;
  }

  id<NSObject> launches_ = nil;
  id<NSObject> quits_ = nil;
};

}  // namespace

std::unique_ptr<Workspace> systemWorkspace() {
  return std::make_unique<SharedWorkspace>();
}

}  // namespace dw::platform
