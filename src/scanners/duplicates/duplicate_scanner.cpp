#include "scanners/duplicates/duplicate_scanner.h"

#include <fcntl.h>
#include <fts.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <thread>

#include "base/fd.h"
#include "base/paths.h"
#include "base/sha256.h"
#include "measure/project_folders.h"
#include "measure/protected_libraries.h"
#include "platform/own_ground.h"
#include "platform/ownership.h"
#include "platform/package.h"
#include "scanners/duplicates/content_classes.h"

namespace dw::DuplicateScanner {

namespace {

struct Member {
  std::int64_t bit;
  std::string Locations::*folder;
};
const std::array<Member, 4> kMembers = {{{Scope::downloads, &Locations::downloads},
                                         {Scope::movies, &Locations::movies},
                                         {Scope::music, &Locations::music},
                                         {Scope::pictures, &Locations::pictures}}};

constexpr std::size_t kCancelEvery = 500;

// Per folder of the walk, in fts_number: what its entries inherit.
constexpr long kInProjectFolder = 1;  // some component of its path is a project folder name
constexpr long kInPackage = 2;        // it or a folder above it is a package

bool isPermissionError(int error) {
  return error == EACCES || error == EPERM;
}

// The ancestor-is-a-package test, from folder upwards: folders of at least two components.
bool packageAtOrAbove(std::string_view folder) {
  while (folder != "/" && paths::split(folder, '/').size() >= 2) {
    if (platform::isPackage(folder)) return true;
    std::string_view up = paths::parent(folder);
    if (up == folder || up.empty()) break;
    folder = up;
  }
  return false;
}

bool anyProjectComponent(std::string_view path) {
  for (std::string_view part : paths::split(path, '/')) {
    if (isProjectFolderName(part)) return true;
  }
  return false;
}

int byName(const FTSENT** a, const FTSENT** b) {
  return std::strcmp((*a)->fts_name, (*b)->fts_name);
}

struct FtsCloser {
  FTS* fts;
  ~FtsCloser() {
    if (fts) fts_close(fts);
  }
};

// The modification time as a TimePoint, clamped to what one can hold: a file dated far in the
// future (or past) would overflow the clock's nanoseconds, and the order of copies only needs to
// know it is the newest (or oldest).
TimePoint modifiedOf(const struct stat& s) {
  using Duration = Clock::duration;
  using Rep = Duration::rep;
  constexpr Rep perSecond = std::chrono::duration_cast<Duration>(std::chrono::seconds(1)).count();
  constexpr auto limit = std::numeric_limits<Rep>::max() / perSecond - 1;
  if (s.st_mtim.tv_sec > limit) return TimePoint::max();
  // The distant past stands for "no date"; a date before what the clock holds is the oldest one.
  if (s.st_mtim.tv_sec < -limit) return TimePoint::min() + Duration(1);
  Rep ticks =
      static_cast<Rep>(s.st_mtim.tv_sec) * perSecond +
      std::chrono::duration_cast<Duration>(std::chrono::nanoseconds(s.st_mtim.tv_nsec)).count();
  return TimePoint(Duration(ticks));
}

// A file opened for reading, never through a link; throws std::system_error when it cannot be.
UniqueFd openForReading(const std::string& path) {
  UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!fd) throw std::system_error(errno, std::generic_category(), path);
  return fd;
}

// Runs work(i, buffers) for i in 0..count-1 on up to four threads (the calling one among them),
// handing out indexes in the given order. Every index runs unless the search is cancelled;
// then Cancelled is thrown once all threads have stopped.
void runInParallel(const std::vector<size_t>& order, std::stop_token stop,
                   const std::function<void(size_t, detail::Buffers&)>& work) {
  unsigned cores = std::max(1u, std::min(4u, std::thread::hardware_concurrency()));
  size_t threads = std::min<size_t>(cores, order.size());
  std::atomic<size_t> next{0};
  std::atomic<bool> cancelled{false};
  auto worker = [&] {
    detail::Buffers buffers;
    try {
      for (size_t k = next++; k < order.size() && !cancelled; k = next++)
        work(order[k], buffers);
    } catch (const Cancelled&) {
      cancelled = true;
    }
  };
  {
    std::vector<std::jthread> helpers;
    for (size_t t = 1; t < threads; ++t)
      helpers.emplace_back(worker);
    worker();
  }
  if (cancelled) throw Cancelled{};
  throwIfCancelled(stop);
}

}  // namespace

std::vector<std::string> searchRoots(const Locations& places, Scope scope) {
  std::vector<std::string> roots;
  std::set<FileIdentity> seen;
  for (const Member& m : kMembers) {
    if (!scope.contains(m.bit)) continue;
    const std::string& folder = places.*m.folder;
    if (folder.empty()) continue;  // no such folder in this layout: never the current one
    struct stat s {};
    if (::stat(folder.c_str(), &s) != 0 || !S_ISDIR(s.st_mode)) continue;
    // Another user's folder, or one that others may write, is not searched.
    if (!Ownership::isUsablePlace(folder, places.home)) continue;
    // One folder named twice (a link to another, a bind mount, user-dirs.dirs naming it again)
    // is searched once.
    if (seen.insert(identityOf(s)).second) roots.push_back(folder);
  }
  return roots;
}

Candidates collectCandidates(const std::string& root, const Locations& places, std::stop_token stop,
                             const std::vector<FileIdentity>& otherRoots) {
  Candidates out;
  ProtectedLibraries libraries(places.home);
  // A Trash, the log's folder or the settings: never entered. (A folder that merely holds one is
  // walked; what lies in our ground is not.)
  if (OwnGround::contains(root, places)) return out;
  std::string rootPath = paths::standardize(root);
  char* roots[] = {rootPath.data(), nullptr};
  // Links are never followed below the root; the root itself may be one.
  FTS* fts = fts_open(roots, FTS_PHYSICAL | FTS_COMFOLLOW | FTS_NOCHDIR, byName);
  if (!fts) return out;
  FtsCloser closer{fts};

  std::size_t count = 0;
  while (FTSENT* e = fts_read(fts)) {
    if (e->fts_info == FTS_DP) continue;
    if (e->fts_info == FTS_DNR) {
      // A folder the walk was refused: the only errors worth telling the user about.
      if (isPermissionError(e->fts_errno)) out.skipped.emplace_back(e->fts_path, e->fts_pathlen);
      continue;
    }
    if (e->fts_level == FTS_ROOTLEVEL) {
      e->fts_number = (anyProjectComponent(rootPath) ? kInProjectFolder : 0) |
                      (packageAtOrAbove(rootPath) ? kInPackage : 0);
      continue;
    }
    // Hidden entries are not listed, nor entered.
    if (e->fts_name[0] == '.') {
      if (e->fts_info == FTS_D) fts_set(fts, e, FTS_SKIP);
      continue;
    }
    if (++count % kCancelEvery == 0) throwIfCancelled(stop);

    bool folder = e->fts_info == FTS_D;
    std::string_view path(e->fts_path, e->fts_pathlen);
    long inherited = e->fts_parent->fts_number;
    if (libraries.contains(path) || (inherited & kInPackage)) {
      if (folder) fts_set(fts, e, FTS_SKIP);
      continue;
    }
    bool isPackage = folder && platform::isPackage(path);
    if ((inherited & kInProjectFolder) ||
        isProjectFolderName(std::string_view(e->fts_name, e->fts_namelen))) {
      // Passed over but still walked: everything below carries the same name in its path.
      if (folder) e->fts_number = kInProjectFolder | (isPackage ? kInPackage : 0);
      continue;
    }
    if (folder) {
      // A file lies in our own ground only inside a folder that does; another searched folder
      // inside this one (Music in Downloads) is searched as itself, once.
      if (isPackage || OwnGround::contains(std::string(path), places) ||
          std::find(otherRoots.begin(), otherRoots.end(), identityOf(*e->fts_statp)) !=
              otherRoots.end()) {
        fts_set(fts, e, FTS_SKIP);
      }
      e->fts_number = 0;
      continue;
    }
    if (e->fts_info != FTS_F) continue;  // links, unreadable entries
    const struct stat& s = *e->fts_statp;
    if (s.st_size < kMinimumBytes) continue;
    // Only the user's own files are offered: another user's would land in this user's Trash.
    if (!Ownership::owns(s)) continue;
    out.files.push_back(
        {std::string(path), static_cast<std::int64_t>(s.st_size), modifiedOf(s), identityOf(s)});
  }
  return out;
}

Digest partialDigest(const std::string& path) {
  UniqueFd file = openForReading(path);
  struct stat s {};
  if (::fstat(file.get(), &s) != 0) throw std::system_error(errno, std::generic_category(), path);
  std::int64_t size = s.st_size;
  unsigned char buffer[kSampleBytes];
  Sha256 hash;
  std::int64_t head = detail::readAt(file.get(), buffer, kSampleBytes, 0);
  if (head < 0) throw std::system_error(errno, std::generic_category(), path);
  hash.update(buffer, static_cast<size_t>(head));
  if (size > kSampleBytes) {
    std::int64_t tail = detail::readAt(file.get(), buffer, kSampleBytes, size - kSampleBytes);
    if (tail < 0) throw std::system_error(errno, std::generic_category(), path);
    hash.update(buffer, static_cast<size_t>(tail));
  }
  unsigned char sizeBytes[8];
  for (int i = 0; i < 8; ++i)
    sizeBytes[i] = static_cast<unsigned char>(static_cast<std::uint64_t>(size) >> (56 - 8 * i));
  hash.update(sizeBytes, sizeof sizeBytes);
  return hash.finish();
}

std::string fullDigest(const std::string& path, std::stop_token stop) {
  UniqueFd file = openForReading(path);
  return fullDigest(file.get(), stop);
}

std::string fullDigest(int fd, std::stop_token stop) {
  std::vector<unsigned char> buffer(static_cast<size_t>(kChunkBytes));
  Sha256 hash;
  throwIfCancelled(stop);
  for (off_t offset = 0;;) {
    ssize_t n = ::pread(fd, buffer.data(), buffer.size(), offset);
    if (n < 0) {
      if (errno == EINTR) continue;
      throw std::system_error(errno, std::generic_category(), "read");
    }
    if (n == 0) break;
    hash.update(buffer.data(), static_cast<size_t>(n));
    offset += n;
    throwIfCancelled(stop);
  }
  return Sha256::hex(hash.finish());
}

std::int64_t wastedBytes(const Group& group) {
  std::int64_t waste = 0;
  auto extra = static_cast<std::int64_t>(group.files.size()) - 1;
  if (__builtin_mul_overflow(group.bytes, extra, &waste)) {
    std::fputs("dustwhale: duplicate waste overflow\n", stderr);
    std::abort();
  }
  return waste;
}

std::int64_t folderOf(const std::string& path, const Locations& places) {
  std::string standard = paths::standardize(path);
  // A media folder inside Downloads (a Music that user-dirs.dirs puts there) is the media folder.
  for (std::int64_t member : {Scope::pictures, Scope::music, Scope::movies, Scope::downloads}) {
    for (const Member& m : kMembers) {
      if (m.bit != member) continue;
      const std::string& folder = places.*m.folder;
      if (!folder.empty() && paths::isStrictlyWithin(standard, paths::standardize(folder)))
        return member;
    }
  }
  return 0;
}

namespace {
// The copy that stays by default comes first: one in the user's organised media folders before
// one in Downloads (where copies pile up), then the oldest (the original); undated copies last.
int placeRank(std::int64_t folder) {
  if (folder == Scope::pictures || folder == Scope::music || folder == Scope::movies) return 0;
  return folder == Scope::downloads ? 1 : 2;
}
}  // namespace

void orderGroups(std::vector<Group>& groups, const Locations& places) {
  for (Group& g : groups) {
    std::vector<std::pair<int, FileRef>> ranked;
    ranked.reserve(g.files.size());
    for (FileRef& f : g.files)
      ranked.emplace_back(placeRank(folderOf(f.path, places)), std::move(f));
    std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) {
      if (a.first != b.first) return a.first < b.first;
      bool aDated = a.second.modified != kDistantPast, bDated = b.second.modified != kDistantPast;
      if (aDated != bDated) return aDated;
      return a.second.modified < b.second.modified;
    });
    for (size_t i = 0; i < ranked.size(); ++i)
      g.files[i] = std::move(ranked[i].second);
  }
  std::vector<std::pair<std::int64_t, Group>> keyed;
  keyed.reserve(groups.size());
  for (Group& g : groups)
    keyed.emplace_back(wastedBytes(g), std::move(g));
  std::stable_sort(keyed.begin(), keyed.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  for (size_t i = 0; i < keyed.size(); ++i)
    groups[i] = std::move(keyed[i].second);
}

Result scan(const Locations& places, Scope scope, std::stop_token stop,
            const ProgressFn& progress) {
  auto say = [&](std::string_view text) {
    if (progress) progress(std::string(text));
  };
  throwIfCancelled(stop);
  std::vector<std::string> roots = searchRoots(places, scope);
  say(kListingFiles);
  Result result;
  std::vector<FileRef> files;
  std::vector<FileIdentity> rootIdentities;
  for (const std::string& root : roots) {
    struct stat s {};
    rootIdentities.push_back(::stat(root.c_str(), &s) == 0 ? identityOf(s) : FileIdentity{});
  }
  // A file is never a copy of itself: reached by a second path (a hard link, a folder named
  // twice) it is the same file, listed once, where it was first seen.
  std::set<FileIdentity> listed;
  for (size_t r = 0; r < roots.size(); ++r) {
    throwIfCancelled(stop);
    const std::string& root = roots[r];
    say(std::string(kListingPrefix) + std::string(paths::lastComponent(root)));
    std::vector<FileIdentity> others = rootIdentities;
    others.erase(others.begin() + static_cast<std::ptrdiff_t>(r));
    Candidates found = collectCandidates(root, places, stop, others);
    for (FileRef& file : found.files) {
      if (listed.insert(file.identity).second) files.push_back(std::move(file));
    }
    result.skipped.insert(result.skipped.end(), found.skipped.begin(), found.skipped.end());
  }

  throwIfCancelled(stop);
  // Size buckets, smallest size first; a size shared by one file costs no reading.
  std::map<std::int64_t, std::vector<size_t>> bySize;
  for (size_t i = 0; i < files.size(); ++i) {
    if (files[i].bytes >= kMinimumBytes) bySize[files[i].bytes].push_back(i);
  }
  std::erase_if(bySize, [](const auto& bucket) { return bucket.second.size() < 2; });

  say(kSamplingFiles);
  std::vector<size_t> sampled;
  for (const auto& [size, members] : bySize)
    sampled.insert(sampled.end(), members.begin(), members.end());
  std::vector<std::optional<std::uint64_t>> samples(files.size());
  std::vector<size_t> sampleOrder(sampled.size());
  for (size_t k = 0; k < sampled.size(); ++k)
    sampleOrder[k] = k;
  runInParallel(sampleOrder, stop, [&](size_t k, detail::Buffers& buffers) {
    throwIfCancelled(stop);
    size_t i = sampled[k];
    // Vanished or unreadable since the listing: dropped without a word.
    samples[i] = detail::sampleKey(files[i].path, buffers.get(0));
  });

  // Within each size, the files whose samples agree, in listing order of their first file.
  struct Unit {
    std::int64_t size;
    std::vector<size_t> files;
    std::vector<detail::Identical> classes;
  };
  std::vector<Unit> units;
  for (const auto& [size, members] : bySize) {
    std::vector<std::pair<std::uint64_t, std::vector<size_t>>> bySample;
    std::map<std::uint64_t, size_t> indexOf;
    for (size_t i : members) {
      if (!samples[i]) continue;
      auto [it, fresh] = indexOf.try_emplace(*samples[i], bySample.size());
      if (fresh) bySample.push_back({*samples[i], {}});
      bySample[it->second].second.push_back(i);
    }
    for (auto& [digest, same] : bySample) {
      if (same.size() >= 2) units.push_back({size, std::move(same), {}});
    }
  }

  say(kHashingDuplicates);
  // The biggest work first, so that the two cores finish together.
  std::vector<size_t> order(units.size());
  for (size_t k = 0; k < units.size(); ++k)
    order[k] = k;
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    return units[a].size * static_cast<std::int64_t>(units[a].files.size()) >
           units[b].size * static_cast<std::int64_t>(units[b].files.size());
  });
  runInParallel(order, stop, [&](size_t k, detail::Buffers& buffers) {
    Unit& unit = units[k];
    std::vector<std::string> paths;
    paths.reserve(unit.files.size());
    for (size_t i : unit.files)
      paths.push_back(files[i].path);
    unit.classes = detail::identicalClasses(paths, buffers, stop);
  });

  // Grouped by (size, digest) as hashing every file would group them: per size, groups in the
  // listing order of their first file.
  for (size_t k = 0; k < units.size();) {
    std::int64_t size = units[k].size;
    std::vector<std::pair<std::string, std::vector<size_t>>> groups;
    for (; k < units.size() && units[k].size == size; ++k) {
      for (const detail::Identical& c : units[k].classes) {
        std::vector<size_t> members;
        for (size_t m : c.members)
          members.push_back(units[k].files[m]);
        auto same = std::find_if(groups.begin(), groups.end(),
                                 [&](const auto& g) { return g.first == c.hashHex; });
        if (same == groups.end()) {
          groups.emplace_back(c.hashHex, std::move(members));
        } else {
          // Equal content behind unequal samples: only when a file changed in between.
          same->second.insert(same->second.end(), members.begin(), members.end());
          std::sort(same->second.begin(), same->second.end());
        }
      }
    }
    std::stable_sort(groups.begin(), groups.end(),
                     [](const auto& a, const auto& b) { return a.second[0] < b.second[0]; });
    for (auto& [hex, members] : groups) {
      Group g{hex, size, {}};
      for (size_t i : members)
        g.files.push_back(files[i]);
      result.groups.push_back(std::move(g));
    }
  }
  orderGroups(result.groups, places);
  say(kDone);
  return result;
}

CopyCheck::CopyCheck(const Locations& places, Scope scope)
    : libraries_(places.home), ground_(places) {
  for (const std::string& root : searchRoots(places, scope))
    roots_.push_back({paths::standardize(root), paths::resolveSymlinks(root)});
}

CopyCheck::Folder CopyCheck::judge(const std::string& folder) const {
  Folder out;
  for (const Root& root : roots_) {
    if (!paths::isWithin(folder, root.written)) continue;
    out.resolved = paths::resolveSymlinks(folder);
    // No folder on the way swapped for a link that leads elsewhere.
    if (!paths::isWithin(out.resolved, root.resolved)) return out;
    if (folder.size() > root.written.size()) {
      std::string_view below = std::string_view(folder).substr(root.written.size() + 1);
      for (std::string_view part : paths::split(below, '/')) {
        if (part.front() == '.') return out;
      }
    }
    out.allowed = !anyProjectComponent(folder) && !packageAtOrAbove(folder);
    return out;
  }
  return out;
}

bool CopyCheck::listable(const std::string& path, std::int64_t bytes) {
  struct stat s {};
  if (::lstat(path.c_str(), &s) != 0 || !S_ISREG(s.st_mode) || s.st_size != bytes ||
      bytes < kMinimumBytes || !Ownership::owns(s)) {
    return false;
  }
  const std::string standard = paths::standardize(path);
  const std::string_view name = paths::lastComponent(standard);
  if (name.empty() || name.front() == '.' || isProjectFolderName(name)) return false;
  const std::string folder(paths::parent(standard));

  // The folder the path leads to now; its answer is reused only while it is the same folder.
  struct stat now {};
  if (::stat(folder.c_str(), &now) != 0 || !S_ISDIR(now.st_mode)) return false;
  auto known = folders_.find(folder);
  if (known == folders_.end() || known->second.identity != identityOf(now)) {
    Folder judged = judge(folder);
    struct stat after {};
    // Swapped while being judged: judged again next time, refused this time.
    if (::stat(folder.c_str(), &after) != 0 || identityOf(after) != identityOf(now)) return false;
    judged.identity = identityOf(now);
    known = folders_.insert_or_assign(folder, std::move(judged)).first;
  }
  if (!known->second.allowed) return false;
  const std::string itself = paths::join(known->second.resolved, name);
  return !libraries_.contains(standard) && !ground_.excludes(standard, itself);
}

bool isListableCopy(const std::string& path, std::int64_t bytes, const Locations& places,
                    Scope scope) {
  return CopyCheck(places, scope).listable(path, bytes);
}

}  // namespace dw::DuplicateScanner
