#pragma once
// Reading a file to look at it without changing it. Its access time stays as it was wherever
// the system allows (O_NOATIME: a file the user owns, or any file for root), so that looking at
// an app never makes it "used today". Only regular files are read: a pipe or a device named like
// a settings file could block or never end.

#include <cstddef>
#include <optional>
#include <string>

namespace dw::platform {

// open(2) with flags | O_NOATIME | O_CLOEXEC, retried without O_NOATIME where the system refuses
// it (another user's file); -1 with errno set as open sets it.
int openUntouched(const std::string& path, int flags);

// The whole regular file, when it holds at most limit bytes; nullopt when it cannot be opened or
// read, is not a regular file, or is larger.
std::optional<std::string> readWholeFile(const std::string& path, std::size_t limit);
// The first bytes of a regular file, at most limit of them; nullopt as above.
std::optional<std::string> readFileHead(const std::string& path, std::size_t limit);

}  // namespace dw::platform
