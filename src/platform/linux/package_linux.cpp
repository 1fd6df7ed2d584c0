#include <array>
#include <string>

#include "base/paths.h"
#include "platform/package.h"

namespace dw::platform {

bool isPackage(std::string_view directoryPath) {
  // One table: the bundle and package extensions a Mac user meets. Compared without case, as
  // the Mac's file system does.
  static constexpr std::array<std::string_view, 32> kExtensions = {
      // bundles
      "app", "appex", "bundle", "framework", "plugin", "kext", "xpc", "systemextension",
      "qlgenerator", "mdimporter", "prefpane", "saver", "component", "wdgt",
      // libraries
      "photoslibrary", "musiclibrary", "tvlibrary", "photobooth", "aplibrary", "fcpbundle",
      "imovielibrary", "logicx", "band",
      // document packages
      "pages", "numbers", "key", "rtfd", "xcodeproj", "xcworkspace", "playground", "dSYM", "pkg"};
  std::string_view name = paths::lastComponent(directoryPath);
  auto dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size()) return false;
  std::string extension = paths::asciiLower(name.substr(dot + 1));
  for (auto known : kExtensions) {
    if (paths::asciiLower(known) == extension) return true;
  }
  return false;
}

}  // namespace dw::platform
