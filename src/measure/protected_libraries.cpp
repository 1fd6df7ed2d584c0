#include "measure/protected_libraries.h"

#include "base/paths.h"

namespace dw {

namespace {

constexpr std::string_view kPrivate = "/private";

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

bool endsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

// The folder itself or anything below it.
bool isAtOrBelow(std::string_view relative, std::string_view folder) {
  return relative == folder || (startsWith(relative, folder) && relative.size() > folder.size() &&
                                relative[folder.size()] == '/');
}

// "/Users/me" + "/" is a prefix of path: the rest, starting with its "/".
bool dropFolder(std::string_view& path, std::string_view folder) {
  if (folder.empty() || path.size() <= folder.size() || !startsWith(path, folder) ||
      path[folder.size()] != '/') {
    return false;
  }
  path.remove_prefix(folder.size());
  return true;
}

}  // namespace

ProtectedLibraries::ProtectedLibraries(std::string_view home)
    : home_(paths::resolveSymlinks(home)), homeWritten_(paths::standardize(home)) {
  if (startsWith(home_, kPrivate)) homeNoPrivate_ = home_.substr(kPrivate.size());
}

bool ProtectedLibraries::contains(std::string_view rawPath) const {
  std::string standard = paths::standardize(rawPath);
  std::string_view r = standard;
  // Relative to the home, reached directly, without the system's "/private", or through it; or
  // through the home as written, when that is a link.
  if (!dropFolder(r, home_) && !dropFolder(r, homeNoPrivate_) && !dropFolder(r, homeWritten_)) {
    std::string_view rest = r;
    if (startsWith(rest, kPrivate)) {
      rest.remove_prefix(kPrivate.size());
      if (dropFolder(rest, home_)) r = rest;
    }
  }
  return isAtOrBelow(r, "/Music/Music") || isAtOrBelow(r, "/Music/iTunes") ||
         isAtOrBelow(r, "/Movies/TV") || r.find(".photoslibrary") != std::string_view::npos ||
         r.find(".musiclibrary") != std::string_view::npos ||
         r.find("/Photo Booth Library/") != std::string_view::npos ||
         endsWith(r, "/Photo Booth Library");
}

bool isProtectedLibrary(std::string_view path, std::string_view home) {
  return ProtectedLibraries(home).contains(path);
}

}  // namespace dw
