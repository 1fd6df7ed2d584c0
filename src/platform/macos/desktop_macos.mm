#import <AppKit/AppKit.h>

#include "platform/desktop.h"

namespace dw::platform {

bool openUrl(const std::string& url) {
  NSURL* link = [NSURL URLWithString:[NSString stringWithUTF8String:url.c_str()]];
  // A text that is no URL is skipped.
  if (!link) return false;
  return [[NSWorkspace sharedWorkspace] openURL:link];
}

bool revealInFileManager(const std::string& path) {
  NSURL* item = [NSURL fileURLWithPath:[NSString stringWithUTF8String:path.c_str()]];
  [[NSWorkspace sharedWorkspace] activateFileViewerSelectingURLs:@[ item ]];
  return true;
}

std::string trashToShow(const std::string&, const std::string& home) {
  return "file://" + home + "/.Trash";
}

bool showTrash(const std::string&, const std::string& home) {
  NSString* trash = [NSString stringWithUTF8String:(home + "/.Trash").c_str()];
  return [[NSWorkspace sharedWorkspace] openURL:[NSURL fileURLWithPath:trash]];
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
