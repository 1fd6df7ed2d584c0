// The freedesktop.org Trash: the home Trash under $XDG_DATA_HOME, and a Trash at the top of
// every other file system ($topdir/.Trash/$uid or $topdir/.Trash-$uid). An item is only ever
// renamed into the Trash of its own file system; it is never copied and never replaced.

#include "base/fd.h"
#include "platform/trash.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include "base/paths.h"
#include "base/time.h"
#include "platform/linux/syscalls.h"
#include "platform/locations.h"
#include "platform/ownership.h"

namespace dw::platform {

namespace {

constexpr std::string_view kNoTrash = "This volume has no Trash";
constexpr std::string_view kInfoSuffix = ".trashinfo";
constexpr int kMaxAttempts = 1000;
constexpr off_t kMaxInfoSize = 64 * 1024;

std::string systemText(int error) {
  char buffer[256];
  // GNU strerror_r: returns the text, which may or may not live in buffer.
  return ::strerror_r(error, buffer, sizeof buffer);
}

std::string uidText() {
  return std::to_string(::getuid());
}

std::string dataHome(const std::string& home) {
  const char* xdg = std::getenv("XDG_DATA_HOME");
  if (xdg && *xdg == '/') return paths::standardize(xdg);
  return paths::join(home, ".local/share");
}

std::string homeTrashRoot(const std::string& home) {
  return paths::join(dataHome(home), "Trash");
}

// --- .trashinfo --------------------------------------------------------------------------------

bool keptInPath(unsigned char c) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
  return std::string_view("-_.!~*'()/").find(static_cast<char>(c)) != std::string_view::npos;
}

// Path= holds raw bytes as URI escapes, so names that are not UTF-8 survive exactly.
std::string percentEncode(std::string_view bytes) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (char ch : bytes) {
    auto c = static_cast<unsigned char>(ch);
    if (keptInPath(c)) {
      out += ch;
    } else {
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 0xF];
    }
  }
  return out;
}

std::string infoText(std::string_view path) {
  return "[Trash Info]\nPath=" + percentEncode(path) +
         "\nDeletionDate=" + timefmt::isoLocal(Clock::now()) + "\n";
}

// --- Folders held open --------------------------------------------------------------------------

// One open folder, closed with the object.
struct Folder : UniqueFd {
  using UniqueFd::UniqueFd;
  int fd() const { return get(); }
  bool open() const { return valid(); }
};

// A folder inside an open one, made (with mode) when it is missing; never through a link.
Folder openOrMake(const Folder& parent, const std::string& name, const std::string& path,
                  mode_t mode, int& error) {
  int fd = sys::openFolderAt(parent.fd(), name, path);
  if (fd < 0 && errno == ENOENT) {
    if (sys::makeFolderAt(parent.fd(), name, mode, path) != 0 && errno != EEXIST) {
      error = errno;
      return {};
    }
    fd = sys::openFolderAt(parent.fd(), name, path);
  }
  if (fd < 0) error = errno == ELOOP ? ENOTDIR : errno;
  return Folder(fd);
}

// The folder at a standardised absolute path; the part that exists is resolved first (a home
// folder may sit behind a link), then every folder is opened without following one, and the
// missing ones are made. A link slipped in after the resolving makes the open fail.
Folder openChain(const std::string& path, mode_t mode, int& error) {
  std::string resolved = paths::resolveSymlinks(path);
  std::string existing = resolved;
  while (existing != "/") {
    struct stat s {};
    if (::lstat(existing.c_str(), &s) == 0) break;
    existing = std::string(paths::parent(existing));
  }
  int fd = sys::openFolderPath(existing);
  if (fd < 0) {
    error = errno;
    return {};
  }
  Folder folder(fd);
  std::string at = existing;
  const std::string missing = resolved.substr(existing.size());
  for (std::string_view part : paths::split(missing, '/')) {
    at = paths::join(at, part);
    folder = openOrMake(folder, std::string(part), at, mode, error);
    if (!folder.open()) return {};
  }
  return folder;
}

// The folder holding a placed item: the place's folder opened as it resolved (a link slipped into
// its path since makes the open fail; one outside the home must still be the user's own, by its
// descriptor), then each folder of the rest of the path without following a link, made where
// missing when make is set.
Folder openAbove(const Placement& place, bool make, int& error) {
  int fd = sys::openFolderPath(place.folder);
  if (fd < 0) {
    error = errno == ELOOP ? ENOTDIR : errno;
    return {};
  }
  Folder at(fd);
  struct stat s {};
  if (place.mustBeOwn && (::fstat(at.fd(), &s) != 0 || !Ownership::isOwnFolder(s))) {
    error = EACCES;
    return {};
  }
  std::string path = place.folder;
  std::vector<std::string_view> parts = paths::split(place.relative, '/');
  if (!parts.empty()) parts.pop_back();  // the item itself
  for (std::string_view part : parts) {
    path = paths::join(path, part);
    if (make) {
      at = openOrMake(at, std::string(part), path, 0777, error);
    } else {
      at = Folder(sys::openFolderAt(at.fd(), std::string(part), path));
      if (!at.open()) error = errno == ELOOP ? ENOTDIR : errno;
    }
    if (!at.open()) return {};
  }
  return at;
}

// --- Trash folders -----------------------------------------------------------------------------

struct Trash {
  std::string root;
  std::string topdir;  // empty for the home Trash, whose Path= is absolute
  Folder files, info;
};

// files/ and info/ of a Trash whose root is open. A top-directory Trash is shared ground, so
// there every folder must be owned by this user, as its open descriptor says.
bool openInsides(Trash& trash, const Folder& root, bool strict, bool create, int& error) {
  for (auto [member, name] : {std::pair{&Trash::files, "files"}, std::pair{&Trash::info, "info"}}) {
    std::string path = trash.root + "/" + name;
    Folder folder;
    if (create) {
      folder = openOrMake(root, name, path, 0700, error);
    } else {
      folder = Folder(sys::openFolderAt(root.fd(), name, path));
      if (!folder.open()) error = errno;
    }
    if (!folder.open()) return false;
    struct stat s {};
    if (::fstat(folder.fd(), &s) != 0 || (strict && s.st_uid != ::getuid())) {
      error = EPERM;
      return false;
    }
    trash.*member = std::move(folder);
  }
  return true;
}

std::optional<Trash> homeTrash(bool create, int& error) {
  Trash trash{homeTrashRoot(currentHome()), {}, {}, {}};
  Folder root;
  if (create) {
    root = openChain(trash.root, 0700, error);
  } else {
    root = Folder(sys::openFolderPath(paths::resolveSymlinks(trash.root)));
    if (!root.open()) error = errno;
  }
  if (!root.open() || !openInsides(trash, root, false, create, error)) return std::nullopt;
  return trash;
}

bool ownedByMe(const Folder& f) {
  struct stat s {};
  return f.open() && ::fstat(f.fd(), &s) == 0 && S_ISDIR(s.st_mode) && s.st_uid == ::getuid();
}

// $topdir/.Trash/$uid, used only when .Trash is a sticky folder (not a link) and $uid in it is a
// folder of this user's. Each check is made on the descriptor that is then used.
std::optional<Trash> sharedTrash(const Folder& top, const std::string& topdir, bool create) {
  const std::string uid = uidText();
  const std::string sharedPath = paths::join(topdir, ".Trash");
  Folder shared(sys::openFolderAt(top.fd(), ".Trash", sharedPath));
  struct stat s {};
  if (!shared.open() || ::fstat(shared.fd(), &s) != 0 || !S_ISDIR(s.st_mode) ||
      !(s.st_mode & S_ISVTX)) {
    return std::nullopt;
  }
  Trash trash{paths::join(sharedPath, uid), topdir, {}, {}};
  int ignored = 0;
  Folder mine = create ? openOrMake(shared, uid, trash.root, 0700, ignored)
                       : Folder(sys::openFolderAt(shared.fd(), uid, trash.root));
  if (ownedByMe(mine) && openInsides(trash, mine, true, create, ignored)) return trash;
  return std::nullopt;
}

// $topdir/.Trash-$uid, a folder of this user's.
std::optional<Trash> ownTrash(const Folder& top, const std::string& topdir, bool create,
                              int& error) {
  const std::string name = ".Trash-" + uidText();
  Trash trash{paths::join(topdir, name), topdir, {}, {}};
  Folder own = create ? openOrMake(top, name, trash.root, 0700, error)
                      : Folder(sys::openFolderAt(top.fd(), name, trash.root));
  if (!own.open()) {
    if (!create) error = errno;
    return std::nullopt;
  }
  if (!ownedByMe(own)) {
    error = EPERM;
    return std::nullopt;
  }
  if (!openInsides(trash, own, true, create, error)) return std::nullopt;
  return trash;
}

// The Trash a move uses at the top of a mount: the shared one when it qualifies, else our own.
std::optional<Trash> topdirTrash(const std::string& topdir, int& error) {
  Folder top(sys::openFolderPath(topdir));
  if (!top.open()) {
    error = errno;
    return std::nullopt;
  }
  if (std::optional<Trash> shared = sharedTrash(top, topdir, true)) return shared;
  return ownTrash(top, topdir, true, error);
}

std::optional<dev_t> deviceOf(std::string path) {
  // The home Trash may not exist yet: the nearest existing folder decides its file system.
  while (true) {
    struct stat s {};
    if (::stat(path.c_str(), &s) == 0) return s.st_dev;
    if (path == "/" || path.empty()) return std::nullopt;
    path = std::string(paths::parent(path));
  }
}

std::string unescapeMountField(std::string_view field) {
  std::string out;
  for (size_t i = 0; i < field.size(); ++i) {
    auto octal = [&](size_t k) { return field[k] >= '0' && field[k] <= '7'; };
    if (field[i] == '\\' && i + 3 < field.size() && octal(i + 1) && octal(i + 2) && octal(i + 3)) {
      out += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                               (field[i + 3] - '0'));
      i += 3;
      continue;
    }
    out += field[i];
  }
  return out;
}

// The mount point of the file system holding dir (resolved). The mount table also knows bind
// mounts, which share a device number with their source yet cannot be renamed across.
std::string mountPointOf(const std::string& dir, dev_t device) {
  std::string best;
  std::ifstream table("/proc/self/mountinfo");
  std::string line;
  while (std::getline(table, line)) {
    std::istringstream fields(line);
    std::string id, parentId, numbers, root, point;
    if (!(fields >> id >> parentId >> numbers >> root >> point)) continue;
    std::string mount = unescapeMountField(point);
    if (mount.size() <= best.size() && !best.empty()) continue;
    if (!paths::isWithin(dir, mount)) continue;
    struct stat s {};
    if (::stat(mount.c_str(), &s) == 0 && s.st_dev == device) best = mount;
  }
  if (!best.empty()) return best;
  // No mount table: climb while the parent is on the same device.
  std::string top = dir;
  while (top != "/") {
    std::string up(paths::parent(top));
    struct stat s {};
    if (::stat(up.c_str(), &s) != 0 || s.st_dev != device) break;
    top = up;
  }
  return top;
}

// The real Trash whose files folder holds the item at resolvedPath (…/files/<name>), opened
// without making anything: the home Trash, or a Trash at the very top of the mount that holds
// it which passes the same checks a move makes. A folder that merely looks like a Trash at
// some depth is not one.
std::optional<Trash> trashHolding(const std::string& resolvedPath) {
  std::string_view files = paths::parent(resolvedPath);
  if (paths::lastComponent(files) != "files" || paths::lastComponent(resolvedPath).empty()) {
    return std::nullopt;
  }
  const std::string root(paths::parent(files));
  int error = 0;
  std::string homeRoot = paths::resolveSymlinks(homeTrashRoot(currentHome()));
  if (root == homeRoot) return homeTrash(false, error);

  const std::string uid = uidText();
  std::string_view rootName = paths::lastComponent(root);
  std::string topdir;
  if (rootName == ".Trash-" + uid) {
    topdir = paths::parent(root);
  } else if (rootName == uid && paths::lastComponent(paths::parent(root)) == ".Trash") {
    topdir = paths::parent(paths::parent(root));
  } else {
    return std::nullopt;
  }
  struct stat s {};
  if (::stat(topdir.c_str(), &s) != 0 || mountPointOf(topdir, s.st_dev) != topdir) {
    return std::nullopt;
  }
  Folder top(sys::openFolderPath(topdir));
  if (!top.open()) return std::nullopt;
  return rootName == uid ? sharedTrash(top, topdir, false) : ownTrash(top, topdir, false, error);
}

using InfoRecord = TrashInfo;

// The [Trash Info] group of an item's record.
std::optional<InfoRecord> infoRecord(const Trash& trash, const std::string& name) {
  int fd = ::openat(trash.info.fd(), (name + std::string(kInfoSuffix)).c_str(),
                    O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  Folder file(fd);  // closes it
  struct stat s {};
  if (::fstat(fd, &s) != 0 || !S_ISREG(s.st_mode) || s.st_size > kMaxInfoSize) {
    return std::nullopt;
  }
  std::string text(static_cast<size_t>(s.st_size), '\0');
  ssize_t n = ::pread(fd, text.data(), text.size(), 0);
  if (n < 0) return std::nullopt;
  text.resize(static_cast<size_t>(n));
  return parseTrashInfo(text);
}

// Whether the record of name in this Trash names originalPath.
bool infoNames(const Trash& trash, const std::string& name, const std::string& originalPath,
               std::optional<TimePoint>* deleted = nullptr) {
  std::optional<InfoRecord> record = infoRecord(trash, name);
  if (!record || record->path.empty()) return false;
  if (deleted) *deleted = record->deleted;
  std::string full = record->path;
  if (full.front() != '/') {
    if (trash.topdir.empty()) return false;
    full = paths::join(trash.topdir, full);
  }
  return paths::standardize(full) == paths::standardize(originalPath) ||
         paths::resolveParentSymlinks(full) == paths::resolveParentSymlinks(originalPath);
}

// --- Names in the Trash ------------------------------------------------------------------------

size_t nameLimit(int folder) {
  long max = ::fpathconf(folder, _PC_NAME_MAX);
  if (max <= 0) max = NAME_MAX;
  // The .trashinfo carries the same name plus its suffix, and must fit too.
  long room = max - static_cast<long>(kInfoSuffix.size());
  return room > 1 ? static_cast<size_t>(room) : 1;
}

// At most `limit` bytes of text without splitting a UTF-8 sequence (other bytes are kept as
// they are; they were never a character to begin with).
std::string cutBytes(std::string_view text, size_t limit) {
  if (text.size() <= limit) return std::string(text);
  size_t n = limit;
  for (int k = 0; k < 3 && n > 0 && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80; ++k) {
    --n;
  }
  if (n == 0) n = limit;
  return std::string(text.substr(0, n));
}

// "report.pdf", "report 2.pdf", "report 3.pdf", ... shortened to fit the file system.
std::string trashName(std::string_view name, int number, size_t limit) {
  std::string_view stem = name, extension;
  size_t dot = name.rfind('.');
  if (dot != std::string_view::npos && dot > 0 && name.size() - dot <= 16) {
    stem = name.substr(0, dot);
    extension = name.substr(dot);
  }
  std::string suffix = number > 1 ? " " + std::to_string(number) : "";
  if (extension.size() + suffix.size() + 1 > limit) {
    stem = name;
    extension = {};
  }
  size_t room =
      limit > suffix.size() + extension.size() ? limit - suffix.size() - extension.size() : 1;
  return cutBytes(stem, room) + suffix + std::string(extension);
}

struct MoveResult {
  int error = 0;
  bool bothNames = false;  // linked at the target, yet the old name could not go
};

// Renames without ever replacing the target, folder to folder by descriptor. Where the file
// system has no RENAME_NOREPLACE, a file or link is given its new name with link(), which
// refuses an existing target, and then loses its old one; a folder cannot be moved that way and
// stays.
MoveResult moveNoReplace(int fromDir, const std::string& fromName, int toDir,
                         const std::string& toName, bool isFolder, const std::string& path) {
  if (sys::renameNoReplace(fromDir, fromName, toDir, toName, path) == 0) return {};
  int error = errno;
  if ((error != EINVAL && error != ENOSYS) || isFolder) return {error};
  if (sys::link(fromDir, fromName, toDir, toName, path) != 0) return {errno};
  if (sys::unlinkOldName(fromDir, fromName, toDir, toName, path) != 0) return {errno, true};
  return {};
}

bool isPermission(int error) {
  return error == EACCES || error == EPERM;
}

TrashMove failed(int error) {
  return TrashMove{{}, systemText(error), isPermission(error)};
}

struct Placed {
  std::string trashPath;
  int error = 0;
  bool changed = false;  // the name no longer held the checked item when it was to move
};

bool sameItem(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Reserves a name in this Trash with its .trashinfo on disk first, then renames the item in.
// Every way out leaves the item either where it was or in the Trash with its .trashinfo. The
// name must still hold the item that was checked (same device and inode) just before the rename.
Placed moveInto(const Trash& trash, const Folder& parent, const std::string& source,
                const std::string& name, const struct stat& item, const std::string& recordedPath,
                const BeforeTrashing& beforeTrashing) {
  const bool isFolder = S_ISDIR(item.st_mode);
  // Neither the Trash itself, nor anything in it or holding it.
  const std::string resolvedRoot = paths::resolveSymlinks(trash.root);
  if (paths::isWithin(source, resolvedRoot) || paths::isWithin(resolvedRoot, source)) {
    return {{}, EINVAL};
  }
  const std::string files = trash.root + "/files";
  const std::string info = trash.root + "/info";
  const std::string contents = infoText(recordedPath);
  size_t limit = nameLimit(trash.info.fd());
  int number = 1;
  for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
    std::string candidate = trashName(name, number, limit);
    std::string target = files + "/" + candidate;
    std::string infoName = candidate + std::string(kInfoSuffix);
    std::string infoFile = info + "/" + infoName;
    struct stat s {};
    if (::fstatat(trash.files.fd(), candidate.c_str(), &s, AT_SYMLINK_NOFOLLOW) == 0) {
      ++number;  // an item without a .trashinfo still owns its name
      continue;
    }
    if (beforeTrashing) {
      if (int e = beforeTrashing(target)) return {{}, e};
    }
    int fd = sys::reserveFileAt(trash.info.fd(), infoName, 0600, infoFile);
    if (fd < 0) {
      int error = errno;
      if (error == EEXIST) {
        ++number;
        continue;
      }
      if (error == ENAMETOOLONG && limit > 16) {
        limit -= limit / 4;
        continue;
      }
      return {{}, error};
    }
    if (sys::writeAndSync(fd, infoFile, contents) != 0) {
      int error = errno;
      ::close(fd);
      sys::dropInfo(trash.info.fd(), infoName, infoFile);
      return {{}, error};
    }
    ::close(fd);
    struct stat now {};
    if (::fstatat(parent.fd(), name.c_str(), &now, AT_SYMLINK_NOFOLLOW) != 0 ||
        !sameItem(now, item)) {
      // Replaced since it was checked: whatever is there now is not what was listed.
      sys::dropInfo(trash.info.fd(), infoName, infoFile);
      return {{}, 0, true};
    }
    MoveResult moved =
        moveNoReplace(parent.fd(), name, trash.files.fd(), candidate, isFolder, source);
    if (moved.error == 0) return {target, 0};
    // With both names present the item is also in the Trash, and its record must stay.
    if (moved.bothNames) return {{}, moved.error};
    sys::dropInfo(trash.info.fd(), infoName, infoFile);
    if (moved.error == EEXIST) {
      ++number;
    } else if (moved.error == ENAMETOOLONG && limit > 16) {
      limit -= limit / 4;
    } else {
      return {{}, moved.error};
    }
  }
  return {{}, EEXIST};
}

// Whether this user may change the folder's entries, by its open descriptor.
bool mayWrite(const Folder& folder) {
  return ::faccessat(folder.fd(), ".", W_OK | X_OK, AT_EACCESS) == 0;
}

TrashMove notAsListed() {
  TrashMove move{{}, "The item is no longer the one listed", false};
  move.notAsListed = true;
  return move;
}

TrashMove placedMove(const Placed& placed) {
  if (placed.changed) return notAsListed();
  if (placed.error != 0) return failed(placed.error);
  return TrashMove{placed.trashPath, {}};
}

// The item as the open parent shows it, checked: the one listed, this user's, and passing the
// caller's own checks, read through that same descriptor.
TrashMove checkItem(const Folder& parent, const std::string& source, const std::string& name,
                    const MoveChecks& checks, struct stat& item) {
  if (::fstatat(parent.fd(), name.c_str(), &item, AT_SYMLINK_NOFOLLOW) != 0) return failed(errno);
  if (checks.identity.known() && identityOf(item) != checks.identity) return notAsListed();
  // Another user's item would land in this user's Trash, out of reach of both of them.
  if (!Ownership::owns(item)) return failed(EACCES);
  if (checks.verify) {
    if (int e = sys::checkpoint(sys::Step::checkItem, source)) return failed(e);
    if (!checks.verify(ItemAt{parent.fd(), name, item})) return notAsListed();
    struct stat after {};
    if (::fstatat(parent.fd(), name.c_str(), &after, AT_SYMLINK_NOFOLLOW) != 0 ||
        !sameItem(after, item)) {
      return notAsListed();
    }
  }
  return TrashMove{};
}

TrashMove moveFrom(const Folder& parent, const std::string& absolute, const std::string& folder,
                   const std::string& name, const MoveChecks& checks,
                   const BeforeTrashing& beforeTrashing) {
  const std::string source = paths::join(folder, name);
  struct stat item {
  }, parentStat{};
  if (TrashMove refused = checkItem(parent, source, name, checks, item); !refused.ok()) {
    return refused;
  }
  if (::fstat(parent.fd(), &parentStat) != 0) return failed(errno);

  const std::string homeRoot = homeTrashRoot(currentHome());
  if (deviceOf(homeRoot) == parentStat.st_dev) {
    int error = 0;
    std::optional<Trash> trash = homeTrash(true, error);
    if (!trash) return failed(error);
    Placed placed = moveInto(*trash, parent, source, name, item, absolute, beforeTrashing);
    // The same device can still be another mount (a bind mount), whose own Trash may take it.
    if (placed.changed || placed.error != EXDEV) return placedMove(placed);
  }

  const std::string topdir = mountPointOf(folder, parentStat.st_dev);
  int error = 0;
  std::optional<Trash> trash = topdirTrash(topdir, error);
  if (!trash) return TrashMove{{}, std::string(kNoTrash)};
  std::string relative = source.substr(topdir == "/" ? 1 : topdir.size() + 1);
  return placedMove(moveInto(*trash, parent, source, name, item, relative, beforeTrashing));
}

// The folders of a placement's relative path above its last component ("" for none).
std::string_view foldersOf(const Placement& place) {
  size_t slash = place.relative.rfind('/');
  return slash == std::string::npos ? std::string_view()
                                    : std::string_view(place.relative).substr(0, slash);
}

std::string folderPath(const std::string& folder, std::string_view below) {
  return below.empty() ? folder : paths::join(folder, below);
}

}  // namespace

TrashMove moveToTrash(const std::string& path, const BeforeTrashing& beforeTrashing) {
  return moveToTrash(path, MoveChecks{}, beforeTrashing);
}

TrashMove moveToTrash(const std::string& path, const MoveChecks& checks,
                      const BeforeTrashing& beforeTrashing) {
  if (path.empty()) return failed(ENOENT);
  std::string absolute = path;
  if (absolute.front() != '/') {
    char cwd[PATH_MAX];
    if (!::getcwd(cwd, sizeof cwd)) return failed(errno);
    absolute = paths::join(cwd, absolute);
  }
  absolute = paths::standardize(absolute);
  if (absolute == "/") return failed(EBUSY);

  std::string name(paths::lastComponent(absolute));
  std::string folder;
  Folder parent;
  // From here on the parent is the folder held open: a link put in its place later changes
  // nothing, and one put there before this open makes it fail.
  if (checks.placement) {
    // Links are followed up to the user's place (resolved when it was placed), never below it.
    const Placement& place = *checks.placement;
    name = std::string(paths::lastComponent(place.relative));
    folder = folderPath(place.folder, foldersOf(place));
    int error = 0;
    parent = openAbove(place, false, error);
    if (!parent.open()) return failed(error);
  } else {
    folder = paths::resolveSymlinks(paths::parent(absolute));
    parent = Folder(sys::openFolderPath(folder));
    if (!parent.open()) return failed(errno == ELOOP ? ENOTDIR : errno);
  }
  if (name.empty() || name == "." || name == ".." || name == "/") return failed(EINVAL);
  TrashMove move = moveFrom(parent, absolute, folder, name, checks, beforeTrashing);
  // A folder this user may not change is a matter of permission, whatever the call said.
  if (!move.ok() && !move.notAsListed && !mayWrite(parent)) move.permissionDenied = true;
  return move;
}

bool isInTrashFolder(const std::string& resolvedPath, const std::string&) {
  return trashHolding(resolvedPath).has_value();
}

bool trashItemMatches(const std::string& trashPath, const std::string& originalPath) {
  const std::string resolved = paths::resolveParentSymlinks(trashPath);
  std::optional<Trash> trash = trashHolding(resolved);
  if (!trash) return false;
  const std::string name(paths::lastComponent(resolved));
  struct stat s {};
  if (::fstatat(trash->files.fd(), name.c_str(), &s, AT_SYMLINK_NOFOLLOW) != 0) return false;
  return infoNames(*trash, name, originalPath);
}

std::string moveOutOfTrash(const std::string& trashPath, const Placement& original) {
  const std::string resolved = paths::resolveParentSymlinks(trashPath);
  std::optional<Trash> trash = trashHolding(resolved);
  if (!trash) return systemText(ENOENT);
  const std::string name(paths::lastComponent(resolved));
  struct stat item {};
  if (::fstatat(trash->files.fd(), name.c_str(), &item, AT_SYMLINK_NOFOLLOW) != 0) {
    return systemText(errno);
  }
  // The folder to return to, made where missing and held open from here on, reached from the
  // user's place without following any link: one slipped in since the move makes this fail
  // rather than send the item elsewhere.
  const std::string back(paths::lastComponent(original.relative));
  if (back.empty() || back == "." || back == ".." || back == "/") return systemText(EINVAL);
  int error = 0;
  Folder target = openAbove(original, true, error);
  if (!target.open()) return systemText(error);
  MoveResult moved =
      moveNoReplace(trash->files.fd(), name, target.fd(), back, S_ISDIR(item.st_mode), resolved);
  if (moved.error != 0) return systemText(moved.error);
  // The item is back; its Trash record would now describe nothing.
  sys::dropInfo(trash->info.fd(), name + std::string(kInfoSuffix),
                trash->root + "/info/" + name + std::string(kInfoSuffix));
  return {};
}

int makeFolders(const Placement& original) {
  int error = 0;
  Folder made = openAbove(original, true, error);
  return made.open() ? 0 : error;
}

bool dropStaleRecord(const std::string& trashPath, const std::string& originalPath,
                     TimePoint notBefore) {
  const std::string resolved = paths::resolveParentSymlinks(trashPath);
  std::optional<Trash> trash = trashHolding(resolved);
  if (!trash) return false;
  const std::string name(paths::lastComponent(resolved));
  struct stat s {};
  if (::fstatat(trash->files.fd(), name.c_str(), &s, AT_SYMLINK_NOFOLLOW) == 0) return false;
  const std::string infoName = name + std::string(kInfoSuffix);
  std::optional<TimePoint> deleted;
  if (!infoNames(*trash, name, originalPath, &deleted)) {
    // Reserved and never written: an empty record made no earlier than the move's intent.
    struct stat info {};
    if (::fstatat(trash->info.fd(), infoName.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISREG(info.st_mode) || info.st_size != 0 ||
        Clock::from_time_t(info.st_mtim.tv_sec) + std::chrono::seconds(2) < notBefore) {
      return false;
    }
    return sys::dropInfo(trash->info.fd(), infoName, trash->root + "/info/" + infoName) == 0;
  }
  // Written by the move that recorded notBefore, not an older record of the same path (its
  // date is kept to the second).
  if (!deleted || *deleted + std::chrono::seconds(2) < notBefore) return false;
  // A .trashinfo of this program's own move, whose item never arrived or has gone back.
  return sys::dropInfo(trash->info.fd(), infoName, trash->root + "/info/" + infoName) == 0;
}

}  // namespace dw::platform
