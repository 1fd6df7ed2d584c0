// The main bundle's information dictionary (the app's Info.plist, as the system read it).

#import <Foundation/Foundation.h>

#include "platform/bundle_info.h"
#include "platform/macos/cocoa_text.h"

namespace dw::platform {

BundleInfo mainBundleInfo() {
  @autoreleasepool {
    NSDictionary<NSString*, id>* info = [NSBundle mainBundle].infoDictionary;
    // A value that is not text counts as missing.
    return BundleInfo{
        .identifier = cocoa::textOf(info[@"CFBundleIdentifier"]),
        .shortVersion = cocoa::textOf(info[@"CFBundleShortVersionString"]),
        .version = cocoa::textOf(info[@"CFBundleVersion"]),
        .feedURL = cocoa::textOf(info[@"SUFeedURL"]),
        .publicEDKey = cocoa::textOf(info[@"SUPublicEDKey"]),
    };
  }
}

}  // namespace dw::platform
