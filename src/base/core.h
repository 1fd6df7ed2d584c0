#pragma once
// Types every layer shares: time points, byte counts, file identities and cooperative
// cancellation.

#include <chrono>
#include <compare>
#include <cstdint>
#include <exception>
#include <stop_token>

namespace dw {

using Clock = std::chrono::system_clock;
using TimePoint = Clock::time_point;

// The only exception a scanner lets out: the calling task was cancelled.
struct Cancelled : std::exception {
  const char* what() const noexcept override { return "cancelled"; }
};

inline void throwIfCancelled(const std::stop_token& stop) {
  if (stop.stop_requested()) throw Cancelled{};
}

// What makes a file itself on this machine: its device and inode. Two paths with one identity
// are one file (a hard link, a folder reached twice through a link or a bind mount); a file
// replaced under the same name has another. {0, 0} is no identity at all.
struct FileIdentity {
  std::uint64_t dev = 0;
  std::uint64_t ino = 0;
  bool known() const { return dev != 0 || ino != 0; }
  auto operator<=>(const FileIdentity&) const = default;
};

// Adds byte counts, which cannot overflow in practice: an overflow is a programming error and
// ends the program rather than showing a wrong amount.
std::int64_t addBytes(std::int64_t a, std::int64_t b);

// The identity a stat structure (struct stat, an fts entry's) gives.
template <class Stat>
FileIdentity identityOf(const Stat& s) {
  return {static_cast<std::uint64_t>(s.st_dev), static_cast<std::uint64_t>(s.st_ino)};
}

}  // namespace dw
