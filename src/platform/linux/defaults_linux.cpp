#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>
#include <vector>

#include "base/fd.h"
#include "base/json.h"
#include "base/paths.h"
#include "platform/defaults.h"

namespace dw::platform {

namespace {

// The flags file is tiny; anything bigger is not ours to parse.
constexpr off_t kMaxBytes = 1024 * 1024;

enum class Read { missing, ok, unreadable };

Read readObject(const std::string& file, json::Value& out) {
  int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errno == ENOENT ? Read::missing : Read::unreadable;
  struct stat s {};
  std::string text;
  bool ok = ::fstat(fd, &s) == 0 && S_ISREG(s.st_mode) && s.st_size <= kMaxBytes;
  if (ok) {
    char buffer[4096];
    ssize_t n;
    while ((n = ::read(fd, buffer, sizeof buffer)) > 0)
      text.append(buffer, static_cast<size_t>(n));
    ok = n == 0;
  }
  ::close(fd);
  if (!ok) return Read::unreadable;
  auto value = json::parse(text);
  if (!value || !value->isObject()) return Read::unreadable;
  out = std::move(*value);
  return Read::ok;
}

bool makeFolders(const std::string& folder) {
  if (folder.empty() || folder == "/") return true;
  struct stat s {};
  if (::stat(folder.c_str(), &s) == 0) return S_ISDIR(s.st_mode);
  if (!makeFolders(std::string(paths::parent(folder)))) return false;
  return ::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST;
}

}  // namespace

UserDefaults::UserDefaults(std::string file) : file_(std::move(file)) {}

bool UserDefaults::boolValue(std::string_view key) const {
  if (file_.empty()) return false;
  json::Value object;
  if (readObject(file_, object) != Read::ok) return false;
  const json::Value* value = object.find(key);
  return value && value->isBool() && value->boolean();
}

bool UserDefaults::setBool(std::string_view key, bool value) {
  if (file_.empty()) return false;
  json::Value object{json::Object{}};
  // A file that exists but cannot be read or parsed is left as it is rather than replaced by
  // one holding only this flag.
  if (readObject(file_, object) == Read::unreadable) return false;
  object.set(std::string(key), value);
  std::string text = json::write(object, {.indent = 2}) + "\n";

  std::string folder(paths::parent(file_));
  if (!makeFolders(folder)) return false;
  std::string temp = file_ + ".XXXXXX";
  std::vector<char> name(temp.begin(), temp.end());
  name.push_back('\0');
  int fd = ::mkstemp(name.data());
  if (fd < 0) return false;
  bool ok = writeAll(fd, text) == 0 && ::fsync(fd) == 0;
  ok = ::close(fd) == 0 && ok;
  // The rename replaces only this program's own preferences file, never anything of the
  // user's; readers see the old flags or the new ones, never half a file.
  if (ok) ok = ::rename(name.data(), file_.c_str()) == 0;
  if (!ok) {
    // The unfinished copy this call just made; nothing else is removed.
    ::unlink(name.data());
    return false;
  }
  int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir >= 0) {
    ::fsync(dir);  // makes the rename itself durable
    ::close(dir);
  }
  return true;
}

}  // namespace dw::platform
