#include "base/fd.h"

#include <unistd.h>

#include <cerrno>

namespace dw {

void UniqueFd::reset(int fd) noexcept {
  if (fd_ >= 0 && fd_ != fd) ::close(fd_);
  fd_ = fd;
}

int UniqueFd::close() noexcept {
  if (fd_ < 0) return 0;
  int result = ::close(std::exchange(fd_, -1));
  return result == 0 ? 0 : errno;
}

int writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return 0;
}

}  // namespace dw
