#include "platform/plist.h"

#include <fcntl.h>
#include <plist/plist.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

namespace dw::platform {

namespace {

// Info.plist and launch-agent files are a few kilobytes; anything far bigger is not one of
// them, and reading it whole would only cost memory.
constexpr off_t kMaxPlistBytes = 8 * 1024 * 1024;

struct FdCloser {
  int fd;
  ~FdCloser() { ::close(fd); }
};

struct PlistFree {
  void operator()(void* node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistFree>;

struct CFree {
  void operator()(void* p) const { std::free(p); }
};
using CString = std::unique_ptr<char, CFree>;

std::optional<std::string> readSmallFile(const std::string& path) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  FdCloser closer{fd};
  struct stat s {};
  // A pipe or device named Info.plist could block or never end; only regular files are read.
  if (::fstat(fd, &s) != 0 || !S_ISREG(s.st_mode) || s.st_size > kMaxPlistBytes) {
    return std::nullopt;
  }
  std::string data;
  data.resize(static_cast<size_t>(s.st_size));
  size_t done = 0;
  while (done < data.size()) {
    ssize_t n = ::read(fd, data.data() + done, data.size() - done);
    if (n < 0) return std::nullopt;
    if (n == 0) break;  // the file shrank while being read
    done += static_cast<size_t>(n);
  }
  data.resize(done);
  return data;
}

std::optional<std::string> stringOf(plist_t node) {
  if (!node || plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
  char* raw = nullptr;
  plist_get_string_val(node, &raw);
  if (!raw) return std::nullopt;
  CString owned(raw);
  return std::string(owned.get());
}

}  // namespace

std::optional<std::string> PropertyList::string(const std::string& key) const {
  for (const auto& [k, v] : stringValues) {
    if (k == key) return v;
  }
  return std::nullopt;
}

std::vector<std::string> PropertyList::strings(const std::string& key) const {
  for (const auto& [k, v] : stringArrays) {
    if (k == key) return v;
  }
  return {};
}

std::optional<PropertyList> readPropertyList(const std::string& path) {
  auto data = readSmallFile(path);
  if (!data || data->empty()) return std::nullopt;

  plist_t raw = nullptr;
  plist_from_memory(data->data(), static_cast<uint32_t>(data->size()), &raw);
  PlistPtr root(raw);
  if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return std::nullopt;

  PropertyList list;
  plist_dict_iter rawIter = nullptr;
  plist_dict_new_iter(root.get(), &rawIter);
  if (!rawIter) return list;
  std::unique_ptr<void, CFree> iter(rawIter);
  while (true) {
    char* rawKey = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(root.get(), iter.get(), &rawKey, &value);
    CString key(rawKey);
    if (!value) break;
    if (!key) continue;
    if (auto text = stringOf(value)) {
      list.stringValues.emplace_back(key.get(), std::move(*text));
    } else if (plist_get_node_type(value) == PLIST_ARRAY) {
      std::vector<std::string> items;
      uint32_t count = plist_array_get_size(value);
      for (uint32_t i = 0; i < count; ++i) {
        if (auto item = stringOf(plist_array_get_item(value, i))) items.push_back(std::move(*item));
      }
      list.stringArrays.emplace_back(key.get(), std::move(items));
    }
  }
  return list;
}

}  // namespace dw::platform
