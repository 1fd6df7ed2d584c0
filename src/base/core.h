#pragma once
// Types every layer shares: time points, byte counts and cooperative cancellation.

#include <chrono>
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

}  // namespace dw
