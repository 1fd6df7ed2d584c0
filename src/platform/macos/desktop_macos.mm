// The desktop around the program on a Mac: the shared workspace opens links (System Settings
// panes included) and shows items in the Finder.

#import <AppKit/AppKit.h>

#include "platform/desktop.h"
#include "platform/macos/cocoa_text.h"

namespace dw::platform {

bool openUrl(const std::string& url) {
  @autoreleasepool {
    NSString* text = cocoa::text(url);
    NSURL* link = text ? [NSURL URLWithString:text] : nil;
    // A text that is no URL is skipped.
    if (!link) return false;
    return [[NSWorkspace sharedWorkspace] openURL:link];
  }
}

bool revealInFileManager(const std::string& path) {
  @autoreleasepool {
    NSURL* item = cocoa::fileURL(path);
    if (!item) return false;
    [[NSWorkspace sharedWorkspace] activateFileViewerSelectingURLs:@[ item ]];
    return true;
  }
}

bool openTrashFolder(const std::string& home) {
  @autoreleasepool {
    NSURL* trash = cocoa::fileURL(home + "/.Trash");
    return trash && [[NSWorkspace sharedWorkspace] openURL:trash];
  }
}

std::string_view revealActionTitle() {
  return "Reveal in Finder";
}

std::string_view systemName() {
  return "macOS";
}

bool hasFullDiskAccessSetting() {
  return true;
}

}  // namespace dw::platform
