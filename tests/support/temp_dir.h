#pragma once
// Real folders for real tests: a temporary folder removed with the test, and a temporary home
// (HOME, XDG_DATA_HOME, XDG_CONFIG_HOME pointed into it) restored afterwards.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace dw::test {

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  std::string operator/(const std::string& relative) const;

 private:
  std::string path_;
};

// Sets an environment variable for the life of the object.
class ScopedEnv {
 public:
  ScopedEnv(std::string name, const std::optional<std::string>& value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string name_;
  std::optional<std::string> old_;
};

// A home of its own for one test: HOME, XDG_DATA_HOME and XDG_CONFIG_HOME point into it.
class TempHome {
 public:
  TempHome();
  const std::string& path() const { return dir_.path(); }
  std::string operator/(const std::string& relative) const { return dir_ / relative; }
  std::string dataHome() const { return dir_ / ".local/share"; }
  std::string trashFiles() const { return dir_ / ".local/share/Trash/files"; }
  std::string trashInfo() const { return dir_ / ".local/share/Trash/info"; }

 private:
  TempDir dir_;
  ScopedEnv home_, data_, config_;
};

// File helpers that the tests use to build trees and check them afterwards.
void makeDirs(const std::string& path);
void writeFile(const std::string& path, const std::string& contents);
// A file of `bytes` real (allocated) bytes of a repeating pattern.
void writeSized(const std::string& path, std::int64_t bytes, char fill = 'x');
std::string readFile(const std::string& path);
bool exists(const std::string& path);  // lstat: a dangling link exists
// Every path below root (relative, sorted) with a digest of its contents or link target, so a
// tree can be compared before and after an operation.
std::vector<std::string> snapshot(const std::string& root);

}  // namespace dw::test
