// Whether a folder is a package the Finder shows as one item (an app, a library, a document
// package): the system's own answer, the resource value "is package".

#import <Foundation/Foundation.h>

#include "platform/macos/cocoa_text.h"
#include "platform/package.h"

namespace dw::platform {

bool isPackage(std::string_view directoryPath) {
  @autoreleasepool {
    NSURL* url = cocoa::fileURL(std::string(directoryPath));
    id package = nil;
    if (!url || ![url getResourceValue:&package forKey:NSURLIsPackageKey error:nil]) return false;
    return [package isKindOfClass:[NSNumber class]] && [package boolValue];
  }
}

}  // namespace dw::platform
