#include "scanners/leftovers/leftover_scanner.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>

#include "base/paths.h"
#include "base/time.h"
#include "measure/disk_sizer.h"
#include "platform/own_ground.h"
#include "platform/ownership.h"
#include "platform/plist.h"
#include "scanners/app_bundles.h"
#include "scanners/folder_listing.h"

namespace dw::LeftoverScanner {

namespace {

using EntryRule = Locations::EntryRule;

constexpr std::array<std::string_view, 6> kNestedBundleFolders = {
    "Contents/PlugIns",
    "Contents/XPCServices",
    "Contents/Library/LoginItems",
    "Contents/Library/LaunchServices",
    "Contents/Library/SystemExtensions",
    "Contents/Helpers"};

constexpr std::array<std::string_view, 13> kFirstComponents = {
    "com", "org", "net", "edu", "io", "ai", "me", "cc", "tv", "app", "co", "dev", "info"};
constexpr std::array<std::string_view, 8> kFileTypeWords = {
    "dat", "tmp", "log", "binarycookies", "store", "cache", "db", "sqlite"};

constexpr std::array<std::string_view, 16> kSharedUpdaters = {
    "com.google.Keystone",
    "com.google.GoogleUpdater",
    "com.microsoft.autoupdate",
    "com.google.Keystone.Agent",
    "com.google.Keystone.Daemon",
    "com.microsoft.autoupdate.fba",
    "com.microsoft.autoupdate2",
    "com.microsoft.OneDriveStandaloneUpdater",
    "com.adobe.AdobeCreativeCloud",
    "com.adobe.acc.AdobeCreativeCloud",
    "com.adobe.acc.AdobeDesktopService",
    "com.adobe.AdobeDesktopService",
    "com.adobe.ARMDCHelper",
    "com.adobe.AdobeGCClient",
    "com.adobe.AdobeCRDaemon",
    "com.adobe.accmac"};
constexpr std::array<std::string_view, 11> kIgnoredPrefixes = {"com.google.Keystone",
                                                               "com.google.GoogleUpdater",
                                                               "com.microsoft.autoupdate",
                                                               "com.adobe.acc.",
                                                               "com.adobe.ARMDC",
                                                               "org.cups.",
                                                               "com.firebase.",
                                                               "com.segment.",
                                                               "com.qtproject",
                                                               "org.webkit.",
                                                               "com.android."};

constexpr std::string_view kLaunchAgentsInPath = "/Library/LaunchAgents/";

template <size_t N>
bool isOneOf(std::string_view word, const std::array<std::string_view, N>& words) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

std::string resolved(const std::string& path) {
  return paths::stripPrivate(paths::resolveSymlinks(path));
}

// The same place below the resolved home, so that a home reached through a link compares
// equal to its real path.
std::string underResolvedHome(const std::string& path, const Locations& places,
                              const std::string& resolvedHome) {
  if (!paths::isWithin(path, places.home)) return resolved(path);
  return paths::standardize(resolvedHome + path.substr(places.home.size()));
}

using Entry = scanners::FolderEntry;
using scanners::listFolder;

// Folders a bundle may be reached through: real folders and links to folders (an app in
// /Applications may be a link to one kept elsewhere; reading its Info.plist changes nothing).
bool isFolderOrLinkToOne(const std::string& path) {
  struct stat s {};
  return ::stat(path.c_str(), &s) == 0 && S_ISDIR(s.st_mode);
}

void addBundleID(const std::string& bundle, std::set<std::string>& ids) {
  auto info = platform::readPropertyList(paths::join(bundle, "Contents/Info.plist"));
  if (!info) return;
  if (auto id = info->string("CFBundleIdentifier"); id && !id->empty()) ids.insert(*id);
}

void addNestedBundles(const std::string& bundle, std::set<std::string>& ids) {
  for (const std::string& nested : nestedBundles(bundle))
    addBundleID(nested, ids);
}

bool endsWith(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

struct AgentPlist {
  std::string label;
  std::optional<std::string> program;
};

std::optional<AgentPlist> readAgent(const std::string& path) {
  auto list = platform::readPropertyList(path);
  if (!list) return std::nullopt;
  auto label = list->string("Label");
  if (!label) return std::nullopt;
  AgentPlist agent{*label, std::nullopt};
  std::vector<std::string> arguments = list->strings("ProgramArguments");
  if (!arguments.empty() && !arguments.front().empty()) {
    agent.program = arguments.front();
  } else if (auto program = list->string("Program"); program && !program->empty()) {
    agent.program = *program;  // launchd's other way of naming the program
  }
  return agent;
}

// The candidate identifier an entry yields under its location's rule, if any.
std::optional<std::string> candidateOf(const std::string& folder, const Entry& e, EntryRule rule,
                                       std::optional<std::string>* program = nullptr) {
  switch (rule) {
    case EntryRule::folderName:
    case EntryRule::flatpakAppID:
      if (e.type == S_IFDIR) return e.name;
      return std::nullopt;
    case EntryRule::plistFileName:
      if (e.type == S_IFREG && endsWith(e.name, ".plist")) {
        return e.name.substr(0, e.name.size() - 6);
      }
      return std::nullopt;
    case EntryRule::savedStateName:
      if (e.type == S_IFDIR && endsWith(e.name, ".savedState")) {
        return e.name.substr(0, e.name.size() - 11);
      }
      return std::nullopt;
    case EntryRule::launchAgentLabel: {
      if (e.type != S_IFREG || !endsWith(e.name, "plist")) return std::nullopt;
      auto agent = readAgent(paths::join(folder, e.name));
      if (!agent) return std::nullopt;
      if (program) *program = agent->program;
      return agent->label;
    }
  }
  return std::nullopt;
}

// Whether the program an agent starts is still on disk. A program that cannot be judged (a
// bare name looked up on the PATH, a folder that cannot be read) counts as present, so its
// agent stays where it is.
bool programExists(const std::optional<std::string>& program, const Locations& places) {
  if (!program || program->empty() || program->front() != '/') return true;
  struct stat s {};
  if (::stat(places.underRoot(*program).c_str(), &s) == 0) return true;
  return errno != ENOENT && errno != ENOTDIR;
}

struct FoundPath {
  std::string path;
  size_t location;  // index into places.leftoverLocations
  bool launchAgent;
};

struct Group {
  std::vector<FoundPath> paths;
};

bool isReportable(const Group& group, const Locations& places) {
  for (const FoundPath& p : group.paths) {
    if (p.launchAgent) return true;
    // A Flatpak app's data folder is all it leaves; there are no preference-only traces.
    if (places.leftoverLocations[p.location].rule == EntryRule::flatpakAppID) return true;
    std::string_view folder = places.leftoverLocations[p.location].path;
    for (std::string_view kind : {"/Library/Application Support", "/Library/Containers",
                                  "/Library/Saved Application State", "/Library/WebKit"}) {
      if (endsWith(folder, kind)) return true;
    }
  }
  return false;
}

std::string appNameFor(const std::string& bundleID) {
  auto dot = bundleID.rfind('.');
  return dot == std::string::npos ? bundleID : bundleID.substr(dot + 1);
}

bool isFlatpakGroup(const Group& group, const Locations& places) {
  return std::any_of(group.paths.begin(), group.paths.end(), [&](const FoundPath& p) {
    return places.leftoverLocations[p.location].rule == EntryRule::flatpakAppID;
  });
}

std::vector<LargestFile> largestFilesOf(const std::vector<std::string>& paths,
                                        SharedMeasurer& measurer) {
  std::vector<LargestFile> files;
  for (const std::string& path : paths) {
    struct stat s {};
    if (::lstat(path.c_str(), &s) != 0) continue;
    if (S_ISREG(s.st_mode)) {
      files.push_back(
          {std::string(paths::lastComponent(path)), static_cast<std::int64_t>(s.st_size)});
    } else if (S_ISDIR(s.st_mode)) {
      // Kept by the walk that measured the folder; each folder's biggest are enough to find
      // the group's.
      for (const DiskSizer::LargeFile& f : measurer.largestFiles(path)) {
        files.push_back({std::string(paths::lastComponent(f.path)), f.bytes});
      }
    }
  }
  std::stable_sort(files.begin(), files.end(),
                   [](const LargestFile& a, const LargestFile& b) { return a.bytes > b.bytes; });
  if (files.size() > DiskSizer::kPeekCount) files.resize(DiskSizer::kPeekCount);
  return files;
}

// The newest modification second among the readings, or, when no regular file was counted
// (only empty folders), the newest of the paths' own dates.
TimePoint lastModifiedOf(const std::vector<std::string>& paths,
                         const std::vector<DiskSizer::SizeReading>& readings) {
  std::optional<TimePoint> newest;
  for (const auto& r : readings) {
    if (r.newest && (!newest || *r.newest > *newest)) newest = r.newest;
  }
  if (newest) return *newest;
  TimePoint latest{};
  for (const std::string& path : paths) {
    struct stat s {};
    if (::lstat(path.c_str(), &s) == 0) {
      latest = std::max(latest, timefmt::fromUnixSeconds(s.st_mtim.tv_sec));
    }
  }
  return latest;
}

// The identifier shape a location's entries must have: Flatpak's in ~/.var/app, a bundle
// identifier's everywhere else.
bool hasShapeFor(std::string_view candidate, EntryRule rule) {
  return rule == EntryRule::flatpakAppID ? scanners::hasFlatpakIDShape(candidate)
                                         : hasBundleIDShape(candidate);
}

}  // namespace

std::vector<std::string> nestedBundles(const std::string& bundle) {
  std::vector<std::string> found;
  for (std::string_view inner : kNestedBundleFolders) {
    std::string folder = paths::join(bundle, inner);
    auto entries = listFolder(folder);
    if (!entries) continue;
    for (const Entry& e : *entries) {
      std::string nested = paths::join(folder, e.name);
      if (isFolderOrLinkToOne(nested)) found.push_back(std::move(nested));
    }
  }
  return found;
}

std::string flatpakAppName(std::string_view id) {
  // Words an identifier ends with that name no app: com.spotify.Client, org.telegram.desktop.
  static constexpr std::array<std::string_view, 10> kGenericWords = {
      "client",   "desktop", "app",     "application", "gui",
      "launcher", "linux",   "flatpak", "main",        "stable"};
  std::vector<std::string_view> words;
  size_t start = 0;
  while (start <= id.size()) {
    size_t dot = id.find('.', start);
    if (dot == std::string_view::npos) dot = id.size();
    words.push_back(id.substr(start, dot - start));
    start = dot + 1;
  }
  // The last word that means something, never the reverse domain's first one (org, com).
  std::string_view word = words.back();
  for (size_t i = words.size(); i-- > 1;) {
    if (!isOneOf(paths::asciiLower(words[i]), kGenericWords)) {
      word = words[i];
      break;
    }
  }
  std::string name(word);
  std::replace(name.begin(), name.end(), '_', ' ');
  if (!name.empty() && name[0] >= 'a' && name[0] <= 'z') name[0] = static_cast<char>(name[0] - 32);
  return name;
}

bool hasBundleIDShape(std::string_view candidate) {
  if (candidate.empty() || candidate.front() == '.') return false;
  std::vector<std::string_view> components;
  size_t i = 0;
  while (true) {
    size_t dot = candidate.find('.', i);
    std::string_view part = candidate.substr(i, dot == std::string_view::npos ? dot : dot - i);
    if (part.empty()) return false;
    for (char c : part) {
      bool valid = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                   c == '-' || c == '_';
      if (!valid) return false;
    }
    components.push_back(part);
    if (dot == std::string_view::npos) break;
    i = dot + 1;
  }
  return components.size() >= 2 &&
         isOneOf(paths::asciiLower(components.front()), kFirstComponents) &&
         !isOneOf(paths::asciiLower(components.back()), kFileTypeWords);
}

bool isNeverReported(std::string_view bundleID) {
  // Apple's own identifiers are refused however they are cased.
  if (paths::asciiLower(bundleID.substr(0, 10)) == "com.apple.") return true;
  if (isOneOf(bundleID, kSharedUpdaters)) return true;
  for (std::string_view prefix : kIgnoredPrefixes) {
    if (bundleID.substr(0, prefix.size()) == prefix) return true;
  }
  return false;
}

bool isAccountedFor(const std::string& bundleID, const std::set<std::string>& installed) {
  std::string form = bundleID;
  while (!form.empty()) {
    if (installed.contains(form)) return true;
    auto dot = form.rfind('.');
    if (dot == std::string::npos) break;
    form.resize(dot);
  }
  // The system matches identifiers without regard to case; an installed app whose files carry
  // a differently cased identifier still owns them.
  std::string lower = paths::asciiLower(bundleID);
  for (const std::string& id : installed) {
    std::string installedLower = paths::asciiLower(id);
    if (lower == installedLower ||
        (lower.size() > installedLower.size() && lower.starts_with(installedLower) &&
         lower[installedLower.size()] == '.')) {
      return true;
    }
  }
  return false;
}

std::set<std::string> installedBundleIDs(const Locations& places,
                                         const platform::Workspace& workspace) {
  // Every app the uninstaller lists, vendor folders included, and whatever runs now (an app
  // opened from Downloads is installed for as long as it runs).
  std::set<std::string> ids = workspace.runningBundleIDs();
  for (const std::string& bundle : scanners::listApplicationBundles(places)) {
    addBundleID(bundle, ids);
    addNestedBundles(bundle, ids);
  }
  for (const scanners::FlatpakApp& app : scanners::listFlatpakApps(places))
    ids.insert(app.id);
  // System extensions sit in the folder itself or one folder down (one per team or UUID).
  if (auto entries = listFolder(places.systemExtensions)) {
    for (const Entry& e : *entries) {
      std::string path = paths::join(places.systemExtensions, e.name);
      if (!isFolderOrLinkToOne(path)) continue;
      if (endsWith(e.name, "systemextension")) {
        addBundleID(path, ids);
      } else if (auto inner = listFolder(path)) {
        for (const Entry& x : *inner) {
          std::string bundle = paths::join(path, x.name);
          if (endsWith(x.name, "systemextension") && isFolderOrLinkToOne(bundle)) {
            addBundleID(bundle, ids);
          }
        }
      }
    }
  }
  // The running program is installed by definition.
  if (!places.bundleID.empty()) ids.insert(places.bundleID);
  return ids;
}

bool isAllowedPath(const std::string& path, const Locations& places) {
  // Only the user's own: another user's folder would land in this user's Trash.
  if (path.empty() || OwnGround::excludes(path, places) || !Ownership::ownsPath(path)) return false;
  std::string resolvedHome = resolved(places.home);
  std::string file = resolved(path);
  bool inRoot = std::any_of(
      places.leftoverRoots.begin(), places.leftoverRoots.end(), [&](const std::string& root) {
        return !root.empty() &&
               paths::isStrictlyWithin(file, underResolvedHome(root, places, resolvedHome));
      });
  if (!inRoot) return false;
  for (const std::string* folder : {&places.desktop, &places.documents}) {
    if (paths::isWithin(file, underResolvedHome(*folder, places, resolvedHome)) ||
        paths::isWithin(file, resolved(*folder))) {
      return false;
    }
  }
  for (const std::string& root : places.refusedRoots) {
    if (paths::isWithin(file, resolved(root))) return false;
  }
  return true;
}

bool stillBelongsTo(const std::string& path, const std::string& bundleID, const Locations& places) {
  if (isNeverReported(bundleID)) return false;
  if (!isAllowedPath(path, places)) return false;
  std::string standard = paths::standardize(path);
  std::string folder(paths::parent(standard));
  for (const Locations::LeftoverLocation& location : places.leftoverLocations) {
    if (paths::standardize(location.path) != folder) continue;
    if (!hasShapeFor(bundleID, location.rule)) return false;
    if (location.rule == EntryRule::flatpakAppID &&
        !scanners::unreadableFlatpakInstallations(places).empty()) {
      return false;
    }
    struct stat s {};
    if (::lstat(standard.c_str(), &s) != 0) return false;
    Entry e{std::string(paths::lastComponent(standard)), s.st_mode & S_IFMT};
    auto candidate = candidateOf(folder, e, location.rule);
    return candidate && *candidate == bundleID;
  }
  return false;
}

Result scan(const Locations& places, const platform::Workspace& workspace,
            SharedMeasurer& measurer) {
  Result result;
  std::set<std::string> installed = installedBundleIDs(places, workspace);

  std::map<std::string, Group> groups;
  for (size_t index = 0; index < places.leftoverLocations.size(); ++index) {
    throwIfCancelled(measurer.stopToken());
    const Locations::LeftoverLocation& location = places.leftoverLocations[index];
    if (location.rule == EntryRule::flatpakAppID) {
      // An installation we cannot read may hold any of these apps: none is called missing.
      auto unreadable = scanners::unreadableFlatpakInstallations(places);
      if (!unreadable.empty()) {
        for (const std::string& folder : unreadable)
          result.unreadableLocations.push_back(paths::tilde(folder, places.home));
        continue;
      }
    }
    auto entries = listFolder(location.path);
    if (!entries) {
      result.unreadableLocations.push_back(location.display);
      continue;
    }
    for (const Entry& e : *entries) {
      std::optional<std::string> program;
      auto candidate = candidateOf(location.path, e, location.rule, &program);
      if (!candidate || !hasShapeFor(*candidate, location.rule)) continue;
      if (isNeverReported(*candidate) || isAccountedFor(*candidate, installed)) continue;
      std::string path = paths::join(location.path, e.name);
      bool agent = location.rule == EntryRule::launchAgentLabel;
      // An agent whose program is still there is someone's working login item.
      if (agent && programExists(program, places)) continue;
      if (!isAllowedPath(path, places)) continue;
      groups[*candidate].paths.push_back({path, index, agent});
    }
  }
  std::erase_if(groups, [&](const auto& item) { return !isReportable(item.second, places); });

  // Every path of every group in one list, so that both cores measure.
  std::vector<std::string> all;
  for (const auto& [id, group] : groups) {
    for (const FoundPath& p : group.paths)
      all.push_back(p.path);
  }
  std::vector<DiskSizer::SizeReading> readings = measurer.measureAll(all);

  size_t next = 0;
  for (const auto& [id, group] : groups) {
    LeftoverFinding f;
    f.bundleID = id;
    bool flatpak = isFlatpakGroup(group, places);
    f.appName = flatpak ? flatpakAppName(id) : appNameFor(id);
    std::vector<DiskSizer::SizeReading> mine;
    std::vector<bool> seenLocation(places.leftoverLocations.size(), false);
    for (const FoundPath& p : group.paths) {
      f.removablePaths.push_back(p.path);
      mine.push_back(readings[next++]);
      f.bytes += mine.back().bytes;
      seenLocation[p.location] = true;
    }
    f.lastModified = lastModifiedOf(f.removablePaths, mine);
    for (size_t i = 0; i < seenLocation.size(); ++i) {
      if (seenLocation[i]) f.evidence.push_back(places.leftoverLocations[i].display);
    }
    // A Flatpak app's folder holds all it kept, things the user made in it too: its biggest
    // files are shown whatever its size.
    if (f.bytes >= kLargestFilesFrom || flatpak) {
      f.largestFiles = largestFilesOf(f.removablePaths, measurer);
    }
    result.findings.push_back(std::move(f));
  }
  std::stable_sort(
      result.findings.begin(), result.findings.end(),
      [](const LeftoverFinding& a, const LeftoverFinding& b) { return a.bytes > b.bytes; });
  return result;
}

Finding toFinding(const LeftoverFinding& finding, const Locations& places) {
  Finding c;
  c.id = std::string(kLeftoverIdPrefix) + finding.bundleID;
  c.name = finding.appName;
  c.path = finding.removablePaths.empty()
               ? std::string()
               : paths::tilde(finding.removablePaths.front(), places.home);
  c.bytes = finding.bytes;
  c.kind = Finding::Kind::leftover;
  c.suggested = false;
  c.removable = true;
  c.note = "Last used " + timefmt::localDate(finding.lastModified);
  bool loginItem = std::any_of(
      finding.removablePaths.begin(), finding.removablePaths.end(),
      [](const std::string& p) { return p.find(kLaunchAgentsInPath) != std::string::npos; });
  if (loginItem) {
    c.note += " Stops " + c.name + " from starting at login. Takes effect at your next login.";
  }
  c.leftoverPaths = finding.removablePaths;
  c.leftoverEvidence = finding.evidence;
  c.leftoverBundleID = finding.bundleID;
  c.leftoverLastUsed = finding.lastModified;
  for (const LargestFile& file : finding.largestFiles) {
    c.leftoverLargestFiles.push_back({file.name, file.bytes});
  }
  c.contentModified = finding.lastModified;
  return c;
}

}  // namespace dw::LeftoverScanner
