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

// Sets (or, given nullopt, unsets) an environment variable for the life of the object.
class ScopedEnv {
 public:
  ScopedEnv(std::string name, const std::optional<std::string>& value);
  ~ScopedEnv();

 private:
  std::string name_;
  std::optional<std::string> old_;
};

class TempHome : public TempDir {
 public:
  std::string trashFiles() const { return *this / ".local/share/Trash/files"; }
  std::string trashInfo() const { return *this / ".local/share/Trash/info"; }

 private:
  ScopedEnv home_{"HOME", path()}, data_{"XDG_DATA_HOME", *this / ".local/share"},
      config_{"XDG_CONFIG_HOME", *this / ".config"};
};

// File helpers that the tests use to build trees and check them afterwards. Parent folders are
// made as needed.
void makeDirs(const std::string& path);
void writeFile(const std::string& path, const std::string& contents);
// A file of `bytes` real (allocated) bytes.
void writeSized(const std::string& path, std::int64_t bytes, char fill = 'x');
std::string readFile(const std::string& path);
bool exists(const std::string& path);  // lstat: a dangling link exists
// Every path below root (relative, sorted) with a digest of its contents or link target, so a
// tree can be compared before and after an operation.
std::vector<std::string> snapshot(const std::string& root);

}  // namespace dw::test
