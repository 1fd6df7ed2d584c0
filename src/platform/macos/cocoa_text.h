#pragma once
// Paths and texts between the program (bytes) and Foundation (NSString, NSURL), for the Mac's
// Objective-C++ sources only. A path keeps its bytes: it goes through the file manager's
// file-system representation, never through a UTF-8 decoding that could refuse it.

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

namespace dw::platform::cocoa {

// nil for an empty path.
inline NSString* pathText(const std::string& path) {
  if (path.empty()) return nil;
  return [[NSFileManager defaultManager] stringWithFileSystemRepresentation:path.c_str()
                                                                     length:path.size()];
}

// A file URL for the path; nil for an empty path.
inline NSURL* fileURL(const std::string& path) {
  NSString* text = pathText(path);
  return text ? [NSURL fileURLWithPath:text] : nil;
}

// The path of a file URL as bytes; "" for nil.
inline std::string pathOf(NSURL* url) {
  const char* bytes = url ? url.fileSystemRepresentation : nullptr;
  return bytes ? std::string(bytes) : std::string();
}

// A UTF-8 text as NSString; nil when the bytes are not UTF-8.
inline NSString* text(std::string_view utf8) {
  return [[NSString alloc] initWithBytes:utf8.data()
                                  length:utf8.size()
                                encoding:NSUTF8StringEncoding];
}

// The value as UTF-8 text when it is an NSString; nullopt for anything else.
inline std::optional<std::string> textOf(id value) {
  if (![value isKindOfClass:[NSString class]]) return std::nullopt;
  NSString* string = value;
  const char* utf8 = string.UTF8String;
  return utf8 ? std::optional<std::string>(utf8) : std::nullopt;
}

}  // namespace dw::platform::cocoa
