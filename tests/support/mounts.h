#pragma once
// File-system conditions that only root can set up: a second file system (tmpfs), a bind mount
// and an immutable folder. Each reports why it could not be set up, so a test can skip with a
// reason.

#include <string>

#include "support/temp_dir.h"

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

// A file system of its own, made in an image file and loop-mounted on an existing folder for the
// life of the object: Btrfs, XFS with reflink (both share blocks between files) or ext4 (which
// cannot). error() says why it could not be made (no mkfs tool, no loop device, not root).
class ScopedLoopMount {
 public:
  enum class Kind { btrfs, xfs, ext4 };
  ScopedLoopMount(Kind kind, std::string mountPoint);
  ~ScopedLoopMount();
  ScopedLoopMount(const ScopedLoopMount&) = delete;
  ScopedLoopMount& operator=(const ScopedLoopMount&) = delete;

  bool mounted() const { return error_.empty(); }
  const std::string& error() const { return error_; }
  static const char* name(Kind kind);

 private:
  std::string point_;
  TempDir images_;  // the image file lives here, outside the tree under test
  std::string image_;
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
