#include "base/paths.h"

#include <sys/stat.h>
#include <unistd.h>
#include <climits>
#include <cstdlib>
#include <vector>

namespace dw::paths {

std::string join(std::string_view folder, std::string_view name) {
  std::string out(folder);
  if (out.empty() || out.back() != '/') out += '/';
  while (!name.empty() && name.front() == '/')
    name.remove_prefix(1);
  out += name;
  return out;
}

std::string_view lastComponent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/')
    path.remove_suffix(1);
  auto slash = path.rfind('/');
  if (slash == std::string_view::npos || path.size() == 1) return path;
  return path.substr(slash + 1);
}

std::string_view parent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/')
    path.remove_suffix(1);
  auto slash = path.rfind('/');
  if (slash == std::string_view::npos) return {};
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

std::string standardize(std::string_view path) {
  std::vector<std::string_view> parts;
  bool absolute = !path.empty() && path.front() == '/';
  size_t i = 0;
  while (i <= path.size()) {
    size_t j = path.find('/', i);
    if (j == std::string_view::npos) j = path.size();
    std::string_view part = path.substr(i, j - i);
    if (part.empty() || part == ".") {
    } else if (part == "..") {
      if (!parts.empty() && parts.back() != "..") {
        parts.pop_back();
      } else if (!absolute) {
        parts.push_back(part);
      }
    } else {
      parts.push_back(part);
    }
    i = j + 1;
  }
  std::string out = absolute ? "/" : "";
  for (size_t k = 0; k < parts.size(); ++k) {
    if (k) out += '/';
    out += parts[k];
  }
  if (out.empty()) out = absolute ? "/" : ".";
  return out;
}

std::string resolveSymlinks(std::string_view path) {
  std::string standard = standardize(path);
  // Walk back from the full path to the longest prefix that exists, resolve that with
  // realpath and keep the missing tail as it was written.
  std::string head = standard;
  std::string tail;
  while (true) {
    char buffer[PATH_MAX];
    if (::realpath(head.c_str(), buffer) != nullptr) {
      std::string resolved = buffer;
      return tail.empty() ? resolved : standardize(join(resolved, tail));
    }
    if (head == "/" || head.empty()) return standard;
    std::string_view last = lastComponent(head);
    tail = tail.empty() ? std::string(last) : join(last, tail);
    head = std::string(parent(head));
  }
}

std::string resolveParentSymlinks(std::string_view path) {
  std::string standard = standardize(path);
  if (standard == "/") return standard;
  return join(resolveSymlinks(parent(standard)), lastComponent(standard));
}

std::string stripPrivate(std::string_view path) {
  constexpr std::string_view kPrivate = "/private";
  if (path.substr(0, kPrivate.size()) == kPrivate &&
      (path.size() == kPrivate.size() || path[kPrivate.size()] == '/')) {
    std::string rest(path.substr(kPrivate.size()));
    return rest.empty() ? "/" : rest;
  }
  return std::string(path);
}

bool isWithin(std::string_view path, std::string_view folder) {
  while (folder.size() > 1 && folder.back() == '/')
    folder.remove_suffix(1);
  if (folder == "/") return !path.empty() && path.front() == '/';
  if (path.substr(0, folder.size()) != folder) return false;
  return path.size() == folder.size() || path[folder.size()] == '/';
}

bool isStrictlyWithin(std::string_view path, std::string_view folder) {
  while (path.size() > 1 && path.back() == '/')
    path.remove_suffix(1);
  while (folder.size() > 1 && folder.back() == '/')
    folder.remove_suffix(1);
  return path != folder && isWithin(path, folder);
}

std::string tilde(std::string_view path, std::string_view home) {
  if (home.empty()) return std::string(path);
  std::string out;
  size_t i = 0;
  while (true) {
    size_t j = path.find(home, i);
    if (j == std::string_view::npos) break;
    out.append(path.substr(i, j - i));
    out += '~';
    i = j + home.size();
  }
  out.append(path.substr(i));
  return out;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  size_t i = 0;
  while (i < text.size()) {
    size_t j = text.find(separator, i);
    if (j == std::string_view::npos) j = text.size();
    if (j > i) parts.push_back(text.substr(i, j - i));
    i = j + 1;
  }
  return parts;
}

std::string asciiLower(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

bool containsInsensitive(std::string_view text, std::string_view word) {
  return asciiLower(text).find(asciiLower(word)) != std::string::npos;
}

}  // namespace dw::paths
