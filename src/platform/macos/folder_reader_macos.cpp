#include "platform/folder_reader.h"

#include <dirent.h>
#include <unistd.h>

namespace dw::platform {

// Through the C library, on a copy of the descriptor that the stream may close.
void FolderReader::readEntries(int fd, Callback callback, void* each) {
  int copy = ::dup(fd);
  DIR* dir = copy >= 0 ? ::fdopendir(copy) : nullptr;
  if (!dir) {
    if (copy >= 0) ::close(copy);
    return;
  }
  while (dirent* d = ::readdir(dir))
    callback(each, d->d_name, d->d_type);
  ::closedir(dir);
}

}  // namespace dw::platform
