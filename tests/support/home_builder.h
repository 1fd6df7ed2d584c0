#pragma once
// Mac-shaped trees made for real in a temporary folder: a root with /Applications and
// /Library, a home at root + "/Users/me" with its Library, caches of an exact allocated size,
// app bundles with XML or binary Info.plist files, launch agents, links and sparse files. Or
// a Linux-shaped one: a home at root + "/home/me" with ~/.cache, ~/.config (user-dirs.dirs,
// Chrome's profiles) and the English user folders.

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/locations.h"
#include "support/temp_dir.h"

namespace dw::test {

enum class PlistFormat { xml, binary };
using PlistValue = std::variant<std::string, std::vector<std::string>>;
using PlistEntries = std::vector<std::pair<std::string, PlistValue>>;

// Writes a property list whose top level is a dictionary of these entries.
void writePlist(const std::string& path, const PlistEntries& entries,
                PlistFormat format = PlistFormat::xml);

class HomeBuilder {
 public:
  HomeBuilder();
  explicit HomeBuilder(Locations::Layout layout);

  const std::string& root() const { return root_; }
  const std::string& home() const { return home_; }
  // The places of this tree's layout (read afresh: user-dirs.dirs may have changed).
  Locations locations() const {
    return layout_ == Locations::Layout::linux ? Locations::linux(root_, home_)
                                               : Locations::macos(root_, home_);
  }
  std::string inHome(const std::string& relative) const { return home_ + "/" + relative; }
  std::string inRoot(const std::string& relative) const { return root_ + "/" + relative; }

  // Makes the folder (and its parents) and returns its path.
  std::string folder(const std::string& path) { return makeDirs(path), path; }
  // Fills the folder (made if missing) with one more file so that DiskSizer measures exactly
  // bytes, a multiple of 4096 that is at least its present size; checked before returning.
  std::string folderOfSize(const std::string& path, std::int64_t bytes);
  // ~/Library/Caches/<name> (Linux: ~/.cache/<name>) measuring exactly bytes.
  std::string cache(const std::string& name, std::int64_t bytes);
  // Linux: ~/.config/user-dirs.dirs with one XDG_<key>_DIR="<value>" line each ({"VIDEOS",
  // "$HOME/Vidéos"}), replacing any earlier one.
  std::string userDirs(const std::vector<std::pair<std::string, std::string>>& entries);
  // Linux: ~/.config/<browser>/<profile>/<folder> ("google-chrome", "Default", "Cache")
  // measuring exactly bytes.
  std::string chromeProfileCache(const std::string& browser, const std::string& profile,
                                 const std::string& folder, std::int64_t bytes);
  // path laid out as a tool's download cache ("cargo" registry, "cargo-git", "go", "npm", "npx",
  // "gradle", "nuget", "bun"), with bytes in one folder inside that layout (the whole measures
  // a few KiB more, for the layout's own folders).
  std::string toolCache(const std::string& tool, const std::string& path, std::int64_t bytes);
  // A file of bytes real (allocated) bytes, synced so that its blocks are final.
  std::string file(const std::string& path, std::int64_t bytes);
  // A file of logicalBytes with no data blocks.
  std::string sparseFile(const std::string& path, std::int64_t logicalBytes);
  std::string symlink(const std::string& target, const std::string& linkPath);
  // An app bundle at path with Contents/Info.plist naming bundleID.
  std::string app(const std::string& path, const std::string& bundleID,
                  PlistFormat format = PlistFormat::xml);
  // ~/Library/LaunchAgents/<fileName> with Label and ProgramArguments = {program}.
  std::string launchAgent(const std::string& label, const std::string& program,
                          PlistFormat format = PlistFormat::xml, const std::string& fileName = "");
  // ~/Library/Preferences/<bundleID>.plist
  std::string preference(const std::string& bundleID);

  // Runs fn in a child process as an unprivileged user, so that folders with no permissions
  // really cannot be read (root reads them anyway). Gives the tree to that user first, and back
  // to this process's user afterwards. Returns
  // what fn returned, or nullopt when the child failed. Without root, fn runs in this process.
  std::optional<std::string> runUnprivileged(const std::function<std::string()>& fn);

 private:
  TempDir dir_;
  Locations::Layout layout_ = Locations::Layout::macos;
  std::string root_, home_;
};

// Runs fn in a child process as the unprivileged user nobody (uid 65534), changing nothing's
// owner; what fn returned, or nullopt when the child failed. Without root, fn runs in this
// process.
std::optional<std::string> runAsNobody(const std::function<std::string()>& fn);
inline constexpr uid_t kNobodyUid = 65534;

// A real process under a name of the test's choosing (a copy of /bin/sleep named "chrome"), so
// that /proc shows it as the system would show that application. Stopped and reaped, by its
// own process id, when the object goes.
class RunningProgram {
 public:
  // holdOpen: a file the program keeps open (read-only) for as long as it runs. user: run it
  // as that user instead (the test must run as root).
  explicit RunningProgram(const std::string& name, const std::string& holdOpen = "",
                          std::optional<uid_t> user = std::nullopt);
  ~RunningProgram() { stop(); }
  void stop();

 private:
  TempDir dir_;
  pid_t pid_ = -1;
};

// Polls pred every 50 ms until it holds or the time is up; returns its last value.
bool eventually(const std::function<bool()>& pred, std::chrono::milliseconds limit);

}  // namespace dw::test
