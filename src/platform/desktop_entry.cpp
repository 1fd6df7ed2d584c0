#include "platform/desktop_entry.h"

#include "base/paths.h"
#include "platform/file_reading.h"

namespace dw::platform {

namespace {

constexpr size_t kMaxLauncherBytes = 256 * 1024;

std::string_view trimmed(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
    s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
    s.remove_suffix(1);
  return s;
}

// The escapes every string value of the format may hold.
std::string unescapedValue(std::string_view value) {
  std::string out;
  for (size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\' || i + 1 == value.size()) {
      out.push_back(value[i]);
      continue;
    }
    switch (value[++i]) {
      case 's':
        out.push_back(' ');
        break;
      case 'n':
        out.push_back('\n');
        break;
      case 't':
        out.push_back('\t');
        break;
      case 'r':
        out.push_back('\r');
        break;
      case '\\':
        out.push_back('\\');
        break;
      default:  // not one of the format's: kept as written, for the Exec quoting to read
        out.push_back('\\');
        out.push_back(value[i]);
    }
  }
  return out;
}

// NAME=value, as a shell or env reads an assignment: NAME of letters, digits and "_", not
// starting with a digit.
bool isAssignment(std::string_view word) {
  size_t equals = word.find('=');
  if (equals == 0 || equals == std::string_view::npos) return false;
  if (word.front() >= '0' && word.front() <= '9') return false;
  for (char c : word.substr(0, equals)) {
    bool ok =
        (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    if (!ok) return false;
  }
  return true;
}

}  // namespace

std::optional<DesktopEntry> parseDesktopEntry(std::string_view text) {
  DesktopEntry entry;
  bool inGroup = false;
  bool found = false;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('\n', start);
    std::string_view line = trimmed(
        text.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start));
    start = end == std::string_view::npos ? text.size() + 1 : end + 1;
    if (line.empty() || line.front() == '#') continue;
    if (line.front() == '[') {
      inGroup = line == "[Desktop Entry]";
      found = found || inGroup;
      continue;
    }
    if (!inGroup) continue;
    size_t equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    std::string_view key = trimmed(line.substr(0, equals));
    std::string value = unescapedValue(trimmed(line.substr(equals + 1)));
    // The first of a repeated key counts, as a desktop reads it.
    if (key == "Type" && entry.type.empty()) {
      entry.type = value;
    } else if (key == "Name" && entry.name.empty()) {
      entry.name = value;
    } else if (key == "Exec" && entry.exec.empty()) {
      entry.exec = value;
    } else if (key == "Icon" && entry.icon.empty()) {
      entry.icon = value;
    } else if (key == "StartupWMClass" && entry.windowClass.empty()) {
      entry.windowClass = value;
    } else if (key == "NoDisplay") {
      entry.noDisplay = value == "true";
    } else if (key == "Hidden") {
      entry.hidden = value == "true";
    }
  }
  if (!found) return std::nullopt;
  return entry;
}

std::optional<DesktopEntry> readDesktopEntry(const std::string& path) {
  std::optional<std::string> text = readFileHead(path, kMaxLauncherBytes);
  if (!text) return std::nullopt;
  return parseDesktopEntry(*text);
}

std::optional<std::vector<std::string>> execArguments(std::string_view exec) {
  std::vector<std::string> words;
  std::string word;
  bool inWord = false;    // a word has begun (an empty "" is a word)
  bool onlyCode = false;  // the word so far is nothing but a field code
  bool quoted = false;
  auto finish = [&] {
    if (inWord && !onlyCode) words.push_back(word);
    word.clear();
    inWord = false;
    onlyCode = false;
  };
  for (size_t i = 0; i < exec.size(); ++i) {
    char c = exec[i];
    if (quoted) {
      if (c == '"') {
        quoted = false;
      } else if (c == '\\' && i + 1 < exec.size() &&
                 std::string_view("\"`$\\").find(exec[i + 1]) != std::string_view::npos) {
        word.push_back(exec[++i]);
      } else {
        word.push_back(c);
      }
      continue;
    }
    if (c == ' ' || c == '\t' || c == '\n') {
      finish();
      continue;
    }
    if (c == '"') {
      quoted = true;
      inWord = true;
      onlyCode = false;
      continue;
    }
    if (c == '%' && i + 1 < exec.size()) {
      char code = exec[++i];
      if (code == '%') {
        word.push_back('%');
        inWord = true;
        onlyCode = false;
      } else if (!inWord) {
        // A field code standing alone expands to the files, URLs or icon given, or to nothing.
        inWord = true;
        onlyCode = true;
      }
      continue;
    }
    word.push_back(c);
    inWord = true;
    onlyCode = false;
  }
  if (quoted) return std::nullopt;
  finish();
  return words;
}

std::string execProgram(std::string_view exec) {
  auto words = execArguments(exec);
  if (!words) return {};
  size_t i = 0;
  while (i < words->size() && isAssignment((*words)[i]))
    ++i;
  if (i < words->size() && paths::lastComponent((*words)[i]) == "env") {
    ++i;
    while (i < words->size()) {
      const std::string& w = (*words)[i];
      if (w == "-u" || w == "--unset" || w == "-C" || w == "--chdir") {
        i += 2;  // the option and its value
      } else if (w == "--") {
        ++i;
        break;
      } else if ((w.size() > 1 && w.front() == '-') || isAssignment(w)) {
        if (w == "-S" || w.starts_with("--split-string")) return {};  // a command line of its own
        ++i;
      } else {
        break;
      }
    }
  }
  return i < words->size() ? (*words)[i] : std::string();
}

}  // namespace dw::platform
