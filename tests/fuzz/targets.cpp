#include "fuzz/targets.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

#include "base/paths.h"
#include "clearing/cleared_log.h"
#include "platform/desktop_entry.h"
#include "platform/known_programs.h"
#include "platform/locations.h"
#include "platform/open_files.h"
#include "platform/plist.h"
#include "platform/trash.h"
#include "platform/workspace.h"
#include "scanners/app_bundles.h"
#include "scanners/uninstaller/linux_apps.h"

namespace dw::fuzz {

namespace {

// A broken promise of a parser is a crash, so that the fuzzer reports it like any other.
void check(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz check failed: %s\n", what);
  std::abort();
}

void propertyList(std::string_view input) {
  auto list = platform::parsePropertyList(input);
  if (!list) return;
  std::set<std::string> keys;
  for (const auto& [key, value] : list->stringValues)
    check(keys.insert(key).second, "a key of the top dictionary is listed once");
  for (const auto& [key, values] : list->stringArrays)
    check(keys.insert(key).second, "a key of the top dictionary is listed once");
}

void clearedLog(std::string_view input) {
  ClearedLog::TextReading reading = ClearedLog::readLogText(input);
  check(reading.records >= 0 && reading.unreadable >= 0, "counts");
  // What decodes writes back to the same entries.
  if (auto entries = ClearedLog::decode(input)) {
    check(ClearedLog::decode(ClearedLog::encode(*entries)) == entries, "the log round-trips");
    check(ClearedLog::readLogText(ClearedLog::encode(*entries)).records ==
              static_cast<int>(entries->size()),
          "every written record reads back");
  }
}

void journal(std::string_view input) {
  ClearedLog::TextReading reading = ClearedLog::readJournalText(input);
  size_t lines = paths::split(input, '\n').size();
  check(static_cast<size_t>(reading.records) <= lines, "at most one record a line");
  check(static_cast<size_t>(reading.unreadable) <= lines, "at most one damaged line a line");
}

void trashInfo(std::string_view input) {
  if (auto info = platform::parseTrashInfo(input)) {
    check(info->path.size() <= input.size(), "a decoded path is never longer than its escapes");
  }
}

void userDirs(std::string_view input) {
  const std::string home = "/home/me";
  for (const auto& [key, path] : parseUserDirs(input, home)) {
    check(!path.empty() && path.front() == '/', "an absolute folder");
    check(path == paths::standardize(path), "a standardised folder");
    check(path != home && path != "/", "never the home folder itself");
  }
}

void desktopEntry(std::string_view input) {
  std::string program = platform::execProgram(input);
  if (auto words = platform::execArguments(input); words && !program.empty()) {
    check(std::find(words->begin(), words->end(), program) != words->end(),
          "the program is one of the arguments");
  }
  if (auto entry = platform::parseDesktopEntry(input)) {
    platform::execProgram(entry->exec);
    platform::execArguments(entry->exec);
  }
}

void flatpak(std::string_view input) {
  std::string app = platform::flatpakAppOfInfo(input);
  check(app.find('\n') == std::string::npos, "one line's value");
  std::string scoped = platform::flatpakAppOfCgroup(input);
  check(scoped.empty() || input.find(scoped) != std::string_view::npos, "a part of the text");
  scanners::hasFlatpakIDShape(input);
  for (const std::string& folder : scanners::flatpakInstallationPaths(input))
    check(!folder.empty() && folder.front() == '/', "an absolute folder");
}

void packages(std::string_view input) {
  for (const auto& [package, kib] : AppUninstaller::installedSizes(std::string(input)))
    check(!package.empty() && kib >= 0, "a named package of some size");
}

// What /proc shows of a process: its comm, its exe link's target and its cmdline, as one input
// split at the first two \x01 bytes.
void process(std::string_view input) {
  size_t first = input.find('\x01');
  size_t second = first == std::string_view::npos ? first : input.find('\x01', first + 1);
  std::string_view comm = input.substr(0, first);
  std::string_view exe =
      first == std::string_view::npos ? "" : input.substr(first + 1, second - first - 1);
  std::string_view cmdline = second == std::string_view::npos ? "" : input.substr(second + 1);
  std::string argv0 = platform::argv0Of(cmdline);
  check(argv0.find('\0') == std::string::npos, "one argument");
  const platform::KnownProgram* known = platform::knownProgramOf(comm, exe, argv0);
  check(!known || !known->name.empty(), "a known program has a name");
  std::string comm1 = platform::commOf(comm);
  std::string shown = platform::programName(comm1, std::string(exe));
  const platform::KnownProgram* byName = platform::knownProgramOf(comm1, exe);
  check(!byName || shown == byName->name, "a known program is shown by its name");
  platform::programOfCacheFolder(comm);
}

constexpr Target kTargets[] = {
    {"property_list", propertyList},
    {"cleared_log", clearedLog},
    {"journal", journal},
    {"trash_info", trashInfo},
    {"user_dirs", userDirs},
    {"desktop_entry", desktopEntry},
    {"flatpak", flatpak},
    {"packages", packages},
    {"proc", process},
};

}  // namespace

std::span<const Target> targets() {
  return kTargets;
}

const Target* find(std::string_view name) {
  for (const Target& t : kTargets) {
    if (t.name == name) return &t;
  }
  return nullptr;
}

}  // namespace dw::fuzz
