#include "scanners/uninstaller/app_uninstaller.h"

#include <sys/stat.h>

#include <algorithm>

#include "base/paths.h"
#include "base/time.h"
#include "platform/desktop.h"
#include "platform/file_reading.h"
#include "platform/plist.h"
#include "scanners/app_bundles.h"
#include "scanners/leftovers/leftover_scanner.h"
#include "scanners/uninstaller/linux_apps.h"
#include "scanners/uninstaller/user_folders.h"

namespace dw::AppUninstaller {

namespace {

constexpr std::string_view kApplePrefix = "com.apple.";
constexpr std::array<std::string_view, 3> kRelatedSuffixes = {"", ".plist", ".savedState"};

// An identifier that can stand as one name in a folder: a value such as "../Documents" read
// from someone's Info.plist must never lead the search out of the Library folder.
bool isUsableName(std::string_view bundleID) {
  return !bundleID.empty() && bundleID != "." && bundleID != ".." &&
         bundleID.find('/') == std::string_view::npos &&
         bundleID.find('\0') == std::string_view::npos;
}

std::string relatedFolder(std::string_view folder, const Locations& places) {
  return paths::join(places.library, folder);
}

std::string nonEmpty(const std::optional<std::string>& value) {
  return value ? *value : std::string();
}

std::string resolved(const std::string& path) {
  return paths::standardize(paths::resolveSymlinks(path));
}

}  // namespace

bool hasReverseDomainForm(std::string_view bundleID) {
  std::vector<std::string_view> names = paths::split(bundleID, '.');
  if (names.size() < 2 || bundleID.front() == '.' || bundleID.back() == '.' ||
      bundleID.find("..") != std::string_view::npos) {
    return false;
  }
  for (size_t i = 0; i < names.size(); ++i) {
    for (char c : names[i]) {
      bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
      bool other = (c >= '0' && c <= '9') || c == '-' || c == '_';
      if (!letter && (i == 0 || !other)) return false;
    }
  }
  return true;
}

std::vector<std::string> relatedItems(const std::string& bundleID, const Locations& places) {
  std::vector<std::string> items;
  // Without a Library (Linux) there is no folder to look in: "" + "/Caches" is no place.
  if (!isUsableName(bundleID) || !hasReverseDomainForm(bundleID) || places.library.empty())
    return items;
  for (std::string_view folder : kRelatedFolders) {
    std::string base = relatedFolder(folder, places);
    for (std::string_view suffix : kRelatedSuffixes) {
      std::string path = paths::join(base, bundleID + std::string(suffix));
      struct stat s {};
      if (::lstat(path.c_str(), &s) != 0) continue;
      // Listed only where it could also move: a link out of the Library is not the app's data.
      if (LeftoverScanner::isAllowedPath(path, places)) items.push_back(std::move(path));
    }
  }
  return items;
}

bool stillRelated(const std::string& path, const std::string& bundleID, const Locations& places) {
  if (!isUsableName(bundleID) || !hasReverseDomainForm(bundleID) ||
      bundleID.starts_with(kApplePrefix) || places.library.empty())
    return false;
  std::string standard = paths::standardize(path);
  std::string_view folder = paths::parent(standard);
  std::string_view name = paths::lastComponent(standard);
  bool inFolder = std::any_of(kRelatedFolders.begin(), kRelatedFolders.end(), [&](auto f) {
    return paths::standardize(relatedFolder(f, places)) == folder;
  });
  bool named = std::any_of(kRelatedSuffixes.begin(), kRelatedSuffixes.end(),
                           [&](auto suffix) { return name == bundleID + std::string(suffix); });
  struct stat s {};
  return inFolder && named && ::lstat(standard.c_str(), &s) == 0 &&
         LeftoverScanner::isAllowedPath(standard, places);
}

bool isInApplications(const std::string& bundlePath, const Locations& places) {
  if (bundlePath.empty() || bundlePath.front() != '/') return false;
  std::string bundle = resolved(bundlePath);
  std::vector<std::string> folders{places.underRoot("/Applications"),
                                   paths::join(places.home, "Applications")};
  folders.insert(folders.end(), places.appImageFolders.begin(), places.appImageFolders.end());
  for (const std::string& folder : folders) {
    if (!folder.empty() && paths::isStrictlyWithin(bundle, resolved(folder))) return true;
  }
  return false;
}

bool stillRelatedTo(const std::string& path, const AppRecord& app, const Locations& places) {
  switch (app.kind) {
    case AppRecord::Kind::bundle:
      return stillRelated(path, app.bundleID, places);
    case AppRecord::Kind::appImage:
      return stillRelatedToAppImage(path, app, places);
    case AppRecord::Kind::flatpak:
    case AppRecord::Kind::package:
      break;
  }
  return false;
}

bool removedWithSoftwareManager(const AppRecord& record) {
  return record.kind == AppRecord::Kind::flatpak || record.kind == AppRecord::Kind::package;
}

bool runsFromBundle(const std::string& bundlePath, const std::set<std::string>& executables) {
  for (const std::string& bundle : {paths::standardize(bundlePath), resolved(bundlePath)}) {
    // The executables are sorted: those inside the bundle follow its path and a slash.
    auto it = executables.lower_bound(bundle + "/");
    if (it != executables.end() && paths::isStrictlyWithin(*it, bundle)) return true;
  }
  return false;
}

bool isRunningNow(const AppRecord& record, const platform::Workspace& workspace) {
  if (record.running) return true;
  std::set<std::string> executables = platform::runningExecutables();
  if (record.kind == AppRecord::Kind::appImage) {
    return executables.contains(paths::standardize(record.bundlePath)) ||
           executables.contains(resolved(record.bundlePath));
  }
  if (record.kind == AppRecord::Kind::bundle && runsFromBundle(record.bundlePath, executables))
    return true;
  return !record.bundleID.empty() && workspace.isRunning(record.bundleID);
}

namespace {

void addClaim(const std::string& bundle, const std::string& claimer,
              std::map<std::string, std::set<std::string>>& claims) {
  auto info = platform::readPropertyList(paths::join(bundle, "Contents/Info.plist"));
  if (!info) return;
  if (auto id = info->string("CFBundleIdentifier"); id && !id->empty()) claims[*id].insert(claimer);
}

// A link is the app it points to.
std::string followingALink(const std::string& path) {
  struct stat s {};
  return ::lstat(path.c_str(), &s) == 0 && S_ISLNK(s.st_mode) ? paths::resolveSymlinks(path) : path;
}

// What a bundle is by its path alone.
std::optional<AppRecord> identifyBundle(const std::string& path, const Locations& places) {
  struct stat s {};
  if (!scanners::isAppBundle(path) || ::lstat(path.c_str(), &s) != 0) return std::nullopt;
  AppRecord r;
  r.bundlePath = path;
  r.ino = static_cast<std::uint64_t>(s.st_ino);
  std::string_view file = paths::lastComponent(path);
  if (file.ends_with(".app")) file.remove_suffix(4);
  if (auto info = platform::readPropertyList(paths::join(path, "Contents/Info.plist"))) {
    r.bundleID = nonEmpty(info->string("CFBundleIdentifier"));
    r.name = nonEmpty(info->string("CFBundleDisplayName"));
    if (r.name.empty()) r.name = nonEmpty(info->string("CFBundleName"));
  }
  if (r.name.empty()) r.name = std::string(file);
  r.apple = r.bundleID.starts_with(kApplePrefix);
  r.own = !r.bundleID.empty() && r.bundleID == places.bundleID;
  return r;
}

std::optional<TimePoint> accessTimeOf(const struct stat& s) {
  return timefmt::fromUnixSeconds(s.st_atim.tv_sec);
}

}  // namespace

std::map<std::string, std::set<std::string>> identifierClaims(const Locations& places) {
  std::map<std::string, std::set<std::string>> claims;
  for (const std::string& bundle : scanners::listApplicationBundles(places)) {
    std::string claimer = resolved(bundle);
    addClaim(bundle, claimer, claims);
    for (const std::string& nested : LeftoverScanner::nestedBundles(bundle))
      addClaim(nested, claimer, claims);
  }
  for (const scanners::FlatpakApp& app : scanners::listFlatpakApps(places))
    claims[app.id].insert(app.path);
  return claims;
}

Surroundings surroundingsOf(const Locations& places, const platform::Workspace& workspace) {
  Surroundings around;
  around.runningIDs = workspace.runningBundleIDs();
  around.executables = platform::runningExecutables();
  around.claims = identifierClaims(places);
  around.launchers = userLaunchers(places);
  if (!places.appImageFolders.empty()) around.otherIcons = otherLaunchersIcons(places);
  return around;
}

bool ownsItsData(const AppRecord& app, const Surroundings& around) {
  if (auto it = around.claims.find(app.bundleID); it != around.claims.end()) {
    std::string self = resolved(app.bundlePath);
    for (const std::string& claimer : it->second) {
      if (claimer != self) return false;  // another copy, or an app using its identifier
    }
  }
  // Running under this identifier without a process of this bundle: another app is (where the
  // processes' executables can be seen at all).
  return !(around.runningIDs.contains(app.bundleID) && !around.executables.empty() &&
           !runsFromBundle(app.bundlePath, around.executables));
}

std::optional<AppRecord> identify(const std::string& given, const Locations& places) {
  const std::string path = followingALink(given);
  if (!places.appImageFolders.empty()) {
    if (auto before = scanners::inspectAppImage(path))
      return describeAppImage(path, accessTimeOf(*before), places, {}, {}, {});
  }
  return identifyBundle(path, places);
}

std::optional<AppRecord> describe(const std::string& given, const Locations& places,
                                  const Surroundings& around) {
  const std::string path = followingALink(given);
  if (!places.appImageFolders.empty()) {
    if (auto before = scanners::inspectAppImage(path)) {
      return describeAppImage(path, accessTimeOf(*before), places, around.launchers,
                              around.executables, around.otherIcons);
    }
  }
  std::optional<AppRecord> r = identifyBundle(path, places);
  if (!r) return std::nullopt;
  if (!r->apple && !r->own && ownsItsData(*r, around))
    r->related = relatedItems(r->bundleID, places);
  r->running = (!r->bundleID.empty() && around.runningIDs.contains(r->bundleID)) ||
               runsFromBundle(r->bundlePath, around.executables);
  r->lastUsed = platform::appLastUsed(r->bundlePath);
  return r;
}

std::optional<std::string> notAnApp(const std::string& path, const Locations& places) {
  struct stat link {};
  if (::lstat(path.c_str(), &link) != 0 || identify(path, places)) return std::nullopt;
  std::string target = S_ISLNK(link.st_mode) ? paths::resolveSymlinks(path) : path;
  std::string what;
  struct stat s {};
  if (::stat(target.c_str(), &s) != 0) {
    what = "nothing";
  } else if (S_ISDIR(s.st_mode)) {
    what = paths::lastComponent(target).ends_with(".app")
               ? "a folder named like an app but without the Contents folder every app has"
               : "a folder";
  } else if (!S_ISREG(s.st_mode)) {
    what = "a special file";
  } else {
    std::string head = platform::readFileHead(target, 4).value_or("");
    if (head.starts_with("#!")) {
      what = "a script";
    } else if (head == std::string_view("\x7f"
                                        "ELF")) {
      // An AppImage is an app only where the layout has AppImage folders (Linux).
      what = places.appImageFolders.empty() || scanners::isAppImage(target)
                 ? "a program"
                 : "a program without the AppImage mark";
    } else {
      what = "a file";
    }
  }
  if (S_ISLNK(link.st_mode)) what = "a link to " + what;
  return paths::tilde(path, places.home) + " is " + what + ", not an app.";
}

void measure(std::vector<AppRecord>& records, SharedMeasurer& measurer) {
  // One list of every tree, so that both cores measure; a path listed twice is walked once.
  std::vector<std::string> all;
  for (const AppRecord& r : records) {
    if (r.kind != AppRecord::Kind::package) all.push_back(r.bundlePath);
    all.insert(all.end(), r.related.begin(), r.related.end());
    all.insert(all.end(), r.userFolders.begin(), r.userFolders.end());
  }
  std::vector<DiskSizer::SizeReading> readings = measurer.measureAll(all);
  size_t next = 0;
  for (AppRecord& r : records) {
    if (r.kind != AppRecord::Kind::package) r.bundleBytes = readings[next++].bytes;
    r.relatedBytes = 0;
    r.relatedSizes.clear();
    for (size_t i = 0; i < r.related.size(); ++i) {
      r.relatedSizes.push_back(readings[next++].bytes);
      r.relatedBytes = addBytes(r.relatedBytes, r.relatedSizes.back());
    }
    r.userFolderBytes = 0;
    r.userFolderSizes.clear();
    for (size_t i = 0; i < r.userFolders.size(); ++i) {
      r.userFolderSizes.push_back(readings[next++].bytes);
      r.userFolderBytes = addBytes(r.userFolderBytes, r.userFolderSizes.back());
    }
  }
}

std::optional<AppRecord> recordFor(const std::string& bundlePath, const Locations& places,
                                   const platform::Workspace& workspace, SharedMeasurer& measurer) {
  std::optional<AppRecord> record = describe(bundlePath, places, surroundingsOf(places, workspace));
  if (!record) return std::nullopt;
  std::vector<AppRecord> one{std::move(*record)};
  findUserFolders(one, places);
  measure(one, measurer);
  return std::move(one.front());
}

std::vector<AppRecord> listApps(const Locations& places, const platform::Workspace& workspace,
                                SharedMeasurer& measurer) {
  Surroundings around = surroundingsOf(places, workspace);
  std::vector<AppRecord> records;
  for (const std::string& bundle : scanners::listApplicationBundles(places)) {
    throwIfCancelled(measurer.stopToken());
    if (auto r = describe(bundle, places, around)) records.push_back(std::move(*r));
  }
  for (const scanners::AppImageFile& image : scanners::listAppImages(places)) {
    throwIfCancelled(measurer.stopToken());
    records.push_back(describeAppImage(image.path, accessTimeOf(image.before), places,
                                       around.launchers, around.executables, around.otherIcons));
  }
  for (AppRecord& r : describeFlatpaks(places, around.runningIDs))
    records.push_back(std::move(r));
  throwIfCancelled(measurer.stopToken());
  for (AppRecord& r : describePackages(places))
    records.push_back(std::move(r));
  findUserFolders(records, places);
  throwIfCancelled(measurer.stopToken());
  measure(records, measurer);
  sortByTotal(records);
  return records;
}

std::int64_t totalBytes(const AppRecord& record) {
  return addBytes(movedBytes(record), record.userFolderBytes);
}

std::int64_t movedBytes(const AppRecord& record) {
  return addBytes(record.bundleBytes, record.relatedBytes);
}

std::int64_t dataBytes(const AppRecord& record) {
  return addBytes(record.relatedBytes, record.userFolderBytes);
}

std::optional<std::int64_t> relatedSize(const AppRecord& record, size_t index) {
  if (record.relatedSizes.size() != record.related.size() || index >= record.related.size())
    return std::nullopt;
  return record.relatedSizes[index];
}

void sortByTotal(std::vector<AppRecord>& records) {
  // Every total is computed (and checked) before sorting, so the comparison cannot fail.
  std::vector<std::pair<std::int64_t, size_t>> keys;
  for (size_t i = 0; i < records.size(); ++i)
    keys.emplace_back(totalBytes(records[i]), i);
  std::stable_sort(keys.begin(), keys.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  std::vector<AppRecord> sorted;
  sorted.reserve(records.size());
  for (const auto& key : keys)
    sorted.push_back(std::move(records[key.second]));
  records = std::move(sorted);
}

std::string needsAdministratorRow() {
  return " " + std::string(platform::systemName()) +
         " refused because this app needs an administrator. " +
         std::string(platform::revealActionTitle()) + ".";
}

std::string stayedForAdministratorRow() {
  return "Stayed in place." + needsAdministratorRow();
}

std::string rowText(const AppRecord& record) {
  if (record.kind == AppRecord::Kind::flatpak) return std::string(kFlatpakRow);
  if (record.kind == AppRecord::Kind::package) return std::string(kPackageRow);
  if (record.apple) return std::string(kAppleRow);
  if (record.own) return std::string(kOwnRow);
  if (record.running) return std::string(kRunningRow);
  return {};
}

std::optional<std::string> refusal(const AppRecord& record, bool runningNow,
                                   const Locations& places) {
  if (removedWithSoftwareManager(record)) {
    return "Remove " + record.name + " with the software manager.";
  }
  bool staysInstalled = record.apple || record.own;
  if (!isInApplications(record.bundlePath, places)) {
    if (staysInstalled) return record.name + " cannot be uninstalled.";
    if (record.kind == AppRecord::Kind::appImage) {
      std::string folders;
      for (size_t i = 0; i < places.appImageFolders.size(); ++i) {
        if (i) folders += i + 1 == places.appImageFolders.size() ? " or " : ", ";
        folders += paths::tilde(places.appImageFolders[i], places.home);
      }
      return record.name + " is not in " + folders + ".";
    }
    return record.name + " is not in Applications.";
  }
  if (runningNow) return "Quit " + record.name + " first, then uninstall it.";
  if (staysInstalled) return record.name + " cannot be uninstalled.";
  return std::nullopt;
}

}  // namespace dw::AppUninstaller
