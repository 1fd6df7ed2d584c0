#pragma once
// File descriptors: one owner that closes each exactly once, and one loop that writes all of a
// buffer.

#include <string_view>
#include <utility>

namespace dw {

// Owns a file descriptor and closes it when it goes out of scope or is given another; -1 is
// none. Moving hands the descriptor over.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) noexcept : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd() { reset(); }

  int get() const noexcept { return fd_; }
  bool valid() const noexcept { return fd_ >= 0; }
  explicit operator bool() const noexcept { return valid(); }
  // Gives the descriptor up without closing it.
  int release() noexcept { return std::exchange(fd_, -1); }
  // Closes the descriptor held (if any) and holds fd instead.
  void reset(int fd = -1) noexcept;
  // Closes now: 0, or the errno of close (where a file system reports a failed write late).
  int close() noexcept;

 private:
  int fd_ = -1;
};

// Writes all of bytes to fd, again after a short write or an interruption: 0, or the errno of
// the write that failed.
int writeAll(int fd, std::string_view bytes);

}  // namespace dw
