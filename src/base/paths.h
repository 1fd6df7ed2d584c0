#pragma once
// Paths are byte strings, absolute and POSIX. These helpers never touch the file system except
// resolveSymlinks, which reads links.

#include <string>
#include <string_view>
#include <vector>

namespace dw::paths {

std::string join(std::string_view folder, std::string_view name);
std::string_view lastComponent(std::string_view path);
std::string_view parent(std::string_view path);

// Removes "." and ".." components and repeated or trailing slashes; "/.." stays "/".
std::string standardize(std::string_view path);

// Resolves every symbolic link of the path's longest existing prefix and keeps the rest as
// written, then standardises; a path that does not exist resolves as far as it exists.
std::string resolveSymlinks(std::string_view path);

// Resolves links in the parent chain only, keeping the last component as it is: a link is then
// the item itself, not the place it points to.
std::string resolveParentSymlinks(std::string_view path);

// "/private/var/x" -> "/var/x": the same folder reached through the system's private prefix.
std::string stripPrivate(std::string_view path);

// True when path is folder itself or lies below it (component-wise, not a string prefix).
bool isWithin(std::string_view path, std::string_view folder);
bool isStrictlyWithin(std::string_view path, std::string_view folder);

// The path for display: every occurrence of the home folder's path replaced by "~".
std::string tilde(std::string_view path, std::string_view home);

// The non-empty pieces between separators: "/a//b/" -> {"a", "b"}.
std::vector<std::string_view> split(std::string_view text, char separator);

std::string asciiLower(std::string_view text);
bool containsInsensitive(std::string_view text, std::string_view word);

}  // namespace dw::paths
