#pragma once
// Reading desktop entry files (the launchers a Linux desktop shows in its menus): the keys of
// the "[Desktop Entry]" group, and the program an Exec line starts.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace dw::platform {

struct DesktopEntry {
  std::string type;         // "Application", "Link", ...; "" when missing
  std::string name;         // Name= (the untranslated one)
  std::string exec;         // Exec= with the file format's escapes (\s, \n, \t, \r, \\) undone
  std::string icon;         // Icon=: an absolute path or an icon name
  std::string windowClass;  // StartupWMClass=: the class its windows carry, "" when missing
  bool noDisplay = false;
  bool hidden = false;
};

// The "[Desktop Entry]" group of a launcher's text; keys of other groups ("[Desktop Action x]")
// and translated keys ("Name[de]") are passed over. nullopt when the text has no such group.
std::optional<DesktopEntry> parseDesktopEntry(std::string_view text);
// The launcher file at path (at most 256 KiB read, its access time left as it was where the user
// owns it); nullopt when unreadable, not a regular file or not a launcher.
std::optional<DesktopEntry> readDesktopEntry(const std::string& path);

// The arguments of an Exec value: words split at unquoted blanks, double quotes removed with
// their backslash escapes, field codes (%f, %U, %i, ...) dropped and "%%" made "%". nullopt when
// a quote is left open.
std::optional<std::vector<std::string>> execArguments(std::string_view exec);
// The program an Exec value starts: its first argument once an "env" prefix (with its options
// and NAME=value assignments) and leading NAME=value words are passed over. "" when none, or
// when env is told to split a command line of its own (-S).
std::string execProgram(std::string_view exec);

}  // namespace dw::platform
