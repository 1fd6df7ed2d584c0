#include "platform/log_files.h"

#include "platform/linux/syscalls.h"

namespace dw::platform::logfiles {

int appendRecord(int fd, const std::string& path, std::string_view bytes) {
  return sys::appendRecord(fd, path, bytes);
}

int beforeReplacingLog(const std::string& path) {
  return sys::checkpoint(sys::Step::replaceLog, path);
}

int renameNoReplace(int dir, const std::string& name, const std::string& newName,
                    const std::string& path) {
  return sys::renameNoReplace(dir, name, dir, newName, path);
}

}  // namespace dw::platform::logfiles
