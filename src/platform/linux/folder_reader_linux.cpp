#include "platform/folder_reader.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace dw::platform {

namespace {

constexpr size_t kListingBuffer = 128 * 1024;

// The fixed part of a getdents64 record; the name follows d_type.
struct LinuxDirent64 {
  ino64_t d_ino;
  off64_t d_off;
  unsigned short d_reclen;
  unsigned char d_type;
};
constexpr size_t kNameOffset = offsetof(LinuxDirent64, d_type) + 1;

}  // namespace

void FolderReader::readEntries(int fd, Callback callback, void* each) {
  if (!buffer_) buffer_ = std::make_unique<char[]>(kListingBuffer);
  while (true) {
    long n = ::syscall(SYS_getdents64, fd, buffer_.get(), kListingBuffer);
    if (n < 0 && errno == EINTR) continue;
    // An error part-way (a folder removed while it is read) keeps what was read.
    if (n <= 0) break;
    for (long at = 0; at < n;) {
      auto* d = reinterpret_cast<LinuxDirent64*>(buffer_.get() + at);
      callback(each, buffer_.get() + at + kNameOffset, d->d_type);
      at += d->d_reclen;
    }
  }
}

}  // namespace dw::platform
