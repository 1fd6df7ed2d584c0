#include "platform/open_files.h"

#include "base/paths.h"
#include "platform/known_programs.h"

namespace dw::platform {

HeldFolders::HeldFolders(const std::vector<std::string>& folders) {
  for (const std::string& folder : folders) {
    if (!folder.empty()) roots_.push_back(paths::resolveSymlinks(folder));
  }
}

bool HeldFolders::contains(std::string_view path) const {
  for (const std::string& root : roots_) {
    if (paths::isStrictlyWithin(path, root)) return true;
  }
  return false;
}

std::string programName(const std::string& comm, const std::string& executable) {
  if (const KnownProgram* known = knownProgramOf(comm, executable)) return std::string(known->name);
  if (!comm.empty()) return comm;
  return std::string(paths::lastComponent(executableOf(executable)));
}

}  // namespace dw::platform
