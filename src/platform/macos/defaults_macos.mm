// The two preference flags in the application's defaults domain (NSUserDefaults), where a Mac
// keeps an application's preferences; the system writes them to disk itself.

#import <Foundation/Foundation.h>

#include "platform/defaults.h"
#include "platform/macos/cocoa_text.h"

namespace dw::platform {

// The file names Linux's flags file; a Mac has the system's defaults instead.
UserDefaults::UserDefaults(std::string file) : file_(std::move(file)) {
  static_cast<void>(file_);
}

bool UserDefaults::boolValue(std::string_view key) const {
  @autoreleasepool {
    NSString* name = cocoa::text(key);
    // Absent, or not a value that reads as a flag: false.
    return name && [[NSUserDefaults standardUserDefaults] boolForKey:name];
  }
}

bool UserDefaults::setBool(std::string_view key, bool value) {
  @autoreleasepool {
    NSString* name = cocoa::text(key);
    if (!name) return false;
    [[NSUserDefaults standardUserDefaults] setBool:value forKey:name];
    return true;
  }
}

}  // namespace dw::platform
