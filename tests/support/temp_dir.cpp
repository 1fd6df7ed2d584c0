#include "support/temp_dir.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>

namespace dw::test {

namespace fs = std::filesystem;

namespace {
void setEnv(const std::string& name, const std::optional<std::string>& value) {
  value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
}
}  // namespace

TempDir::TempDir() : path_(fs::temp_directory_path().string() + "/dustwhale-test-XXXXXX") {
  if (!::mkdtemp(path_.data())) throw std::runtime_error("mkdtemp failed");
}

TempDir::~TempDir() {
  // Tests make some folders unreadable or read-only: open them all up again, then remove.
  std::error_code ec;
  fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
  for (auto it = fs::recursive_directory_iterator(path_, ec); !ec && it != fs::end(it);
       it.increment(ec)) {
    if (it->is_directory(ec) && !it->is_symlink(ec))
      fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
  }
  fs::remove_all(path_, ec);
}

std::string TempDir::operator/(const std::string& relative) const {
  return relative.empty() ? path_ : path_ + "/" + relative;
}

ScopedEnv::ScopedEnv(std::string name, const std::optional<std::string>& value)
    : name_(std::move(name)) {
  if (const char* old = std::getenv(name_.c_str())) old_ = old;
  setEnv(name_, value);
}

ScopedEnv::~ScopedEnv() {
  setEnv(name_, old_);
}

void makeDirs(const std::string& path) {
  fs::create_directories(path);
}

void writeFile(const std::string& path, const std::string& contents) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream out(path, std::ios::binary);
  if (!(out << contents)) throw std::runtime_error("cannot write " + path);
}

void writeSized(const std::string& path, std::int64_t bytes, char fill) {
  writeFile(path, std::string(static_cast<size_t>(bytes), fill));
}

std::string readFile(const std::string& path) {
  // One read: tests compare files of hundreds of megabytes.
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  if (!in) return {};
  std::string data(static_cast<size_t>(in.tellg()), '\0');
  in.seekg(0);
  in.read(data.data(), static_cast<std::streamsize>(data.size()));
  return data;
}

bool exists(const std::string& path) {
  std::error_code ec;
  return fs::exists(fs::symlink_status(path, ec));
}

std::vector<std::string> snapshot(const std::string& root) {
  std::vector<std::string> rows;
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::end(it);
       it.increment(ec)) {
    const fs::path& p = it->path();
    std::string row = fs::relative(p, root).string();
    if (it->is_symlink())
      row += " -> " + fs::read_symlink(p).string();
    else if (it->is_directory())
      row += "/";
    else
      row += " " + std::to_string(std::hash<std::string>{}(readFile(p)));
    rows.push_back(row);
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

}  // namespace dw::test
