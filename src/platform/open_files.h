#pragma once
// Which running program of this user holds a file open: read once for a whole scan, so that a
// cache a program is using right now is listed without being chosen for it.

#include <string>
#include <string_view>
#include <vector>

namespace dw::platform {

struct HeldFile {
  std::string path;     // as the kernel names it: links resolved
  std::string program;  // the name the user knows the program by ("Firefox", "sleep")
  // A folder the running program uses whole (its own cache folder): everything in it is in use
  // too, whether or not a file of it is open right now.
  bool wholeFolder = false;
};

// Every file or folder inside one of `folders` (links in them resolved first) that a process of
// this user, other than this one, holds open. One pass over the processes, whatever the number
// of folders; a process that ends or cannot be read meanwhile is passed over. Empty where the
// system offers no such listing.
std::vector<HeldFile> filesHeldOpen(const std::vector<std::string>& folders);

// The folders a search for held files looks in, each with its links resolved once, as the kernel
// names the files a process holds.
class HeldFolders {
 public:
  explicit HeldFolders(const std::vector<std::string>& folders);
  bool empty() const { return roots_.empty(); }
  // Whether path lies strictly inside one of them.
  bool contains(std::string_view path) const;

 private:
  std::vector<std::string> roots_;
};

// The name shown for a process: a known application's name for its executable ("firefox-esr"
// is "Firefox"), else the process's own name (comm), else its executable's file name.
std::string programName(const std::string& comm, const std::string& executable);

}  // namespace dw::platform
