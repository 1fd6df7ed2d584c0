#pragma once
// Reads the names in an open folder as fast as the system allows: on Linux many entries per
// system call (getdents64), elsewhere through the C library. Nothing is opened or followed.

#include <memory>
#include <type_traits>

namespace dw::platform {

class FolderReader {
 public:
  // Calls each(name, type) for every entry of the open folder fd, "." and ".." included; type is
  // a DT_ value (DT_UNKNOWN where the file system does not tell). An error part-way (a folder
  // removed while it is read) keeps what was read. fd stays open and is not rewound.
  template <class Each>
  void read(int fd, Each&& each) {
    readEntries(fd, &call<std::remove_reference_t<Each>>, &each);
  }

 private:
  using Callback = void (*)(void* each, const char* name, unsigned char type);
  template <class Each>
  static void call(void* each, const char* name, unsigned char type) {
    (*static_cast<Each*>(each))(name, type);
  }
  void readEntries(int fd, Callback callback, void* each);

  std::unique_ptr<char[]> buffer_;  // made at the first read where the system reads in batches
};

}  // namespace dw::platform
