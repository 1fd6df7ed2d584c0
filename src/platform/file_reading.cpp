#include "platform/file_reading.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "base/fd.h"

namespace dw::platform {

namespace {

#ifdef O_NOATIME
constexpr int kNoAccessTime = O_NOATIME;
#else
constexpr int kNoAccessTime = 0;  // the system keeps no access time worth sparing
#endif

// Reads from fd until limit bytes or the end; nullopt on a read error.
std::optional<std::string> readUpTo(int fd, std::size_t limit) {
  std::string data;
  char buffer[65536];
  while (data.size() < limit) {
    std::size_t want = std::min(sizeof buffer, limit - data.size());
    ssize_t n = ::read(fd, buffer, want);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return std::nullopt;
    if (n == 0) break;
    data.append(buffer, static_cast<std::size_t>(n));
  }
  return data;
}

std::optional<std::string> readRegular(const std::string& path, std::size_t limit, bool whole) {
  int fd = openUntouched(path, O_RDONLY | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  UniqueFd closer{fd};
  struct stat s {};
  if (::fstat(fd, &s) != 0 || !S_ISREG(s.st_mode)) return std::nullopt;
  if (whole && static_cast<std::uint64_t>(s.st_size) > limit) return std::nullopt;
  // One byte more than allowed tells a file that grew meanwhile from one that fits.
  std::optional<std::string> data = readUpTo(fd, whole ? limit + 1 : limit);
  if (data && whole && data->size() > limit) return std::nullopt;
  return data;
}

}  // namespace

int openUntouched(const std::string& path, int flags) {
  int fd = ::open(path.c_str(), flags | kNoAccessTime | O_CLOEXEC);
  // O_NOATIME is allowed only on the user's own files; another's is read as anyone would.
  if (fd < 0 && errno == EPERM && kNoAccessTime != 0) fd = ::open(path.c_str(), flags | O_CLOEXEC);
  return fd;
}

std::optional<std::string> readWholeFile(const std::string& path, std::size_t limit) {
  return readRegular(path, limit, true);
}

std::optional<std::string> readFileHead(const std::string& path, std::size_t limit) {
  return readRegular(path, limit, false);
}

}  // namespace dw::platform
