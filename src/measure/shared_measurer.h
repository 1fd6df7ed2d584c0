#pragma once
// The measuring work of one scan. A folder that two scanners both need (a Library/Caches child
// is also a leftover candidate) is walked once; lists of independent folders are measured on
// several threads. One instance lives for one scan and is dropped with it.

#include <future>
#include <map>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

#include "measure/disk_sizer.h"

namespace dw {

class SharedMeasurer {
 public:
  explicit SharedMeasurer(std::stop_token stop, unsigned threads = 0);

  // Throws Cancelled when the scan was cancelled.
  DiskSizer::SizeReading measure(const std::string& path);
  // The largest files below a folder (DiskSizer::kPeekCount of them, kPeekDepth deep), seen by
  // the walk that measured it: asking for them never walks the folder again.
  std::vector<DiskSizer::LargeFile> largestFiles(const std::string& path);
  // The readings of every path, in the order given, measured concurrently.
  std::vector<DiskSizer::SizeReading> measureAll(const std::vector<std::string>& paths);

  const std::stop_token& stopToken() const { return stop_; }
  unsigned threads() const { return threads_; }

 private:
  const DiskSizer::Walk& walk(const std::string& path);

  std::stop_token stop_;
  unsigned threads_;
  std::mutex mutex_;
  std::map<std::string, std::shared_future<DiskSizer::Walk>> walks_;
};

}  // namespace dw
