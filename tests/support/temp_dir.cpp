#include "support/temp_dir.h"

#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>

namespace dw::test {

namespace fs = std::filesystem;

TempDir::TempDir() {
  std::string base = fs::temp_directory_path().string() + "/dustwhale-test-XXXXXX";
  std::vector<char> buffer(base.begin(), base.end());
  buffer.push_back('\0');
  if (!::mkdtemp(buffer.data())) throw std::runtime_error("mkdtemp failed");
  path_ = buffer.data();
}

TempDir::~TempDir() {
  // A test's own fixture: make every folder writable again (tests make some read-only), then
  // remove it.
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(path_, fs::directory_options::skip_permission_denied, ec);
       !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    if (it->is_directory(ec) && !it->is_symlink(ec)) ::chmod(it->path().c_str(), 0700);
  }
  ::chmod(path_.c_str(), 0700);
  fs::remove_all(path_, ec);
}

std::string TempDir::operator/(const std::string& relative) const {
  return relative.empty() ? path_ : path_ + "/" + relative;
}

ScopedEnv::ScopedEnv(std::string name, const std::optional<std::string>& value)
    : name_(std::move(name)) {
  if (const char* old = std::getenv(name_.c_str())) old_ = old;
  if (value) {
    ::setenv(name_.c_str(), value->c_str(), 1);
  } else {
    ::unsetenv(name_.c_str());
  }
}

ScopedEnv::~ScopedEnv() {
  if (old_) {
    ::setenv(name_.c_str(), old_->c_str(), 1);
  } else {
    ::unsetenv(name_.c_str());
  }
}

TempHome::TempHome()
    : home_("HOME", dir_.path()),
      data_("XDG_DATA_HOME", dir_ / ".local/share"),
      config_("XDG_CONFIG_HOME", dir_ / ".config") {}

void makeDirs(const std::string& path) { fs::create_directories(path); }

void writeFile(const std::string& path, const std::string& contents) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream out(path, std::ios::binary);
  out << contents;
  if (!out) throw std::runtime_error("cannot write " + path);
}

void writeSized(const std::string& path, std::int64_t bytes, char fill) {
  fs::create_directories(fs::path(path).parent_path());
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (fd < 0) throw std::runtime_error("cannot create " + path);
  std::string chunk(1 << 20, fill);
  std::int64_t left = bytes;
  while (left > 0) {
    auto n = static_cast<size_t>(std::min<std::int64_t>(left, static_cast<std::int64_t>(chunk.size())));
    if (::write(fd, chunk.data(), n) != static_cast<ssize_t>(n)) {
      ::close(fd);
      throw std::runtime_error("short write " + path);
    }
    left -= static_cast<std::int64_t>(n);
  }
  ::close(fd);
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

bool exists(const std::string& path) {
  struct stat s {};
  return ::lstat(path.c_str(), &s) == 0;
}

std::vector<std::string> snapshot(const std::string& root) {
  std::vector<std::string> rows;
  std::error_code ec;
  if (!exists(root)) return rows;
  auto describe = [&](const fs::path& p) {
    std::string rel = fs::relative(p, root).string();
    struct stat s {};
    ::lstat(p.c_str(), &s);
    if (S_ISLNK(s.st_mode)) return rel + " -> " + fs::read_symlink(p).string();
    if (S_ISDIR(s.st_mode)) return rel + "/";
    std::string data = readFile(p.string());
    return rel + " " + std::to_string(data.size()) + " " +
           std::to_string(std::hash<std::string>{}(data));
  };
  for (auto it = fs::recursive_directory_iterator(root, ec);
       !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    rows.push_back(describe(it->path()));
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

}  // namespace dw::test
