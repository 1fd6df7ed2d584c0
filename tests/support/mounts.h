#pragma once
// File-system conditions that only root can set up: a second file system (tmpfs), a bind mount
// and an immutable folder. Each reports why it could not be set up, so a test can skip with a
// reason.

#include <string>

namespace dw::test {

// A small tmpfs mounted on an existing folder for the life of the object. flags are mount(2)'s
// (MS_STRICTATIME: every read of a file sets its access time).
class ScopedTmpfs {
 public:
  explicit ScopedTmpfs(std::string mountPoint, unsigned long flags = 0);
  ~ScopedTmpfs();
  ScopedTmpfs(const ScopedTmpfs&) = delete;
  ScopedTmpfs& operator=(const ScopedTmpfs&) = delete;

  bool mounted() const { return error_.empty(); }
  const std::string& error() const { return error_; }

 private:
  std::string point_;
  std::string error_;
};

// The folder `from` mounted again at the existing folder `at` (mount --bind) for the life of
// the object: one folder reached by two paths, each with its own mount.
class ScopedBindMount {
 public:
  ScopedBindMount(const std::string& from, std::string at);
  ~ScopedBindMount();
  ScopedBindMount(const ScopedBindMount&) = delete;
  ScopedBindMount& operator=(const ScopedBindMount&) = delete;

  bool mounted() const { return error_.empty(); }
  const std::string& error() const { return error_; }

 private:
  std::string at_;
  std::string error_;
};

// Sets the immutable flag on a folder: not even root can then add, remove or rename entries in
// it. Cleared again at the end.
class ScopedImmutable {
 public:
  explicit ScopedImmutable(std::string path);
  ~ScopedImmutable();
  ScopedImmutable(const ScopedImmutable&) = delete;
  ScopedImmutable& operator=(const ScopedImmutable&) = delete;

  bool set() const { return error_.empty(); }
  const std::string& error() const { return error_; }

 private:
  std::string path_;
  std::string error_;
};

}  // namespace dw::test
