#pragma once
// The programs the caches and the running-app checks know by name: what their users call them,
// the executables they run as, the identifiers they go by on a Mac, and the folders they keep
// in the cache folder (~/.cache on Linux, ~/Library/Caches on a Mac). Read the same way on every
// system; what runs now is the workspace's to say (workspace.h).

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dw::platform {

struct KnownProgram {
  std::string_view name;                       // "Firefox"
  std::vector<std::string_view> executables;   // file names: "firefox", "firefox-esr"
  std::vector<std::string_view> bundleIDs;     // the identifiers it counts as running under
  std::vector<std::string_view> cacheFolders;  // "mozilla", "org.mozilla.firefox"
  // Its own folders in a Linux home, caches inside them: ".config/Slack", ".local/share/Steam".
  std::vector<std::string_view> homeFolders = {};
};

std::span<const KnownProgram> knownPrograms();

// The known program a process is. Its executable decides whenever it can be read (the content
// processes of a browser run the browser's executable under names of their own, "Web Content",
// and a program named "firefox" that runs /bin/sleep is no Firefox); only a process whose
// executable cannot be read is known by its own name (comm, or argv[0]'s file name). executable
// is /proc/<pid>/exe's target, " (deleted)" and all.
const KnownProgram* knownProgramOf(std::string_view comm, std::string_view executable,
                                   std::string_view argv0 = {});
// The known program keeping a folder of this name in the cache folder, if any.
const KnownProgram* programOfCacheFolder(std::string_view folder);

// What /proc shows of a process, as text: its comm line without the newline, and its first
// argument (cmdline up to the first NUL).
std::string commOf(std::string_view text);
std::string argv0Of(std::string_view cmdline);
// An executable link's target without the " (deleted)" the kernel adds once the file was
// replaced (an update installed while it runs).
std::string executableOf(std::string_view target);

}  // namespace dw::platform
