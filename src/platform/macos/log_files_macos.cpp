#include "platform/log_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/fd.h"

namespace dw::platform::logfiles {

int appendRecord(int fd, const std::string&, std::string_view bytes) {
  if (int e = writeAll(fd, bytes)) {
    errno = e;
    return -1;
  }
  return ::fsync(fd);
}

int beforeReplacingLog(const std::string&) {
  return 0;
}

int renameNoReplace(int dir, const std::string& name, const std::string& newName,
                    const std::string&) {
  struct stat s {};
  if (::fstatat(dir, newName.c_str(), &s, AT_SYMLINK_NOFOLLOW) == 0) {
    errno = EEXIST;
    return -1;
  }
  return ::renameat(dir, name.c_str(), dir, newName.c_str());
}

}  // namespace dw::platform::logfiles
