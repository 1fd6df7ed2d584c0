#include "measure/shared_measurer.h"

#include <atomic>
#include <exception>
#include <thread>

namespace dw {

SharedMeasurer::SharedMeasurer(std::stop_token stop, unsigned threads)
    : stop_(std::move(stop)),
      threads_(threads ? threads : std::max(1u, std::thread::hardware_concurrency())) {}

const DiskSizer::Walk& SharedMeasurer::walk(const std::string& path) {
  std::promise<DiskSizer::Walk> promise;
  std::shared_future<DiskSizer::Walk> future;
  bool mine = false;
  {
    std::lock_guard lock(mutex_);
    auto it = walks_.find(path);
    if (it == walks_.end()) {
      future = promise.get_future().share();
      walks_.emplace(path, future);
      mine = true;
    } else {
      future = it->second;
    }
  }
  if (mine) {
    try {
      // The peek costs a comparison per file, far less than a second walk when it is wanted.
      promise.set_value(
          DiskSizer::measureWithLargest(path, DiskSizer::kPeekCount, DiskSizer::kPeekDepth, stop_));
    } catch (...) {
      promise.set_exception(std::current_exception());
    }
  }
  // Another thread may be walking the same folder right now: wait for its reading. The map
  // keeps the shared state alive for as long as this measurer lives.
  return future.get();
}

DiskSizer::SizeReading SharedMeasurer::measure(const std::string& path) {
  return walk(path).reading;
}

std::vector<DiskSizer::LargeFile> SharedMeasurer::largestFiles(const std::string& path) {
  return walk(path).largest;
}

std::vector<DiskSizer::SizeReading> SharedMeasurer::measureAll(
    const std::vector<std::string>& paths) {
  std::vector<DiskSizer::SizeReading> readings(paths.size());
  std::atomic<size_t> next{0};
  std::exception_ptr failure;
  std::mutex failureMutex;
  auto work = [&] {
    while (true) {
      size_t i = next.fetch_add(1);
      if (i >= paths.size()) return;
      try {
        readings[i] = measure(paths[i]);
      } catch (...) {
        std::lock_guard lock(failureMutex);
        if (!failure) failure = std::current_exception();
        next = paths.size();
        return;
      }
    }
  };
  size_t helpers = std::min<size_t>(threads_, paths.size());
  std::vector<std::jthread> pool;
  for (size_t t = 1; t < helpers; ++t)
    pool.emplace_back(work);
  work();
  pool.clear();  // joins
  if (failure) std::rethrow_exception(failure);
  return readings;
}

}  // namespace dw
