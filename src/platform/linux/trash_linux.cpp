// The freedesktop.org Trash: the home Trash under $XDG_DATA_HOME, and a Trash at the top of
// every other file system ($topdir/.Trash/$uid or $topdir/.Trash-$uid). An item is only ever
// renamed into the Trash of its own file system; it is never copied and never replaced.

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
#include <vector>

#include "base/paths.h"
#include "platform/linux/syscalls.h"
#include "platform/locations.h"

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

std::optional<std::string> percentDecode(std::string_view text) {
  auto hex = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    if (i + 2 >= text.size()) return std::nullopt;
    int high = hex(text[i + 1]), low = hex(text[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    out += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return out;
}

std::string deletionDate() {
  std::time_t now = std::time(nullptr);
  std::tm parts{};
  localtime_r(&now, &parts);
  char buffer[32];
  size_t n = std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%S", &parts);
  return std::string(buffer, n);
}

std::string infoText(std::string_view path) {
  return "[Trash Info]\nPath=" + percentEncode(path) + "\nDeletionDate=" + deletionDate() + "\n";
}

// The decoded Path= of the [Trash Info] group, as written (absolute or relative).
std::optional<std::string> infoPath(const std::string& infoFile) {
  struct stat s {};
  if (::lstat(infoFile.c_str(), &s) != 0 || !S_ISREG(s.st_mode) || s.st_size > kMaxInfoSize) {
    return std::nullopt;
  }
  std::ifstream in(infoFile, std::ios::binary);
  if (!in) return std::nullopt;
  std::string line;
  bool inGroup = false;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty() && line.front() == '[') {
      inGroup = line == "[Trash Info]";
      continue;
    }
    if (inGroup && line.rfind("Path=", 0) == 0) return percentDecode(line.substr(5));
  }
  return std::nullopt;
}

// --- Trash folders -----------------------------------------------------------------------------

struct Trash {
  std::string root;
  std::string topdir;  // empty for the home Trash, whose Path= is absolute
};

// Makes a folder of the Trash if it is missing. A top-directory Trash is shared ground, so
// there every folder must be a real directory (not a link) owned by this user.
int prepareFolder(const std::string& path, bool strict) {
  struct stat s {};
  auto look = [&] { return strict ? ::lstat(path.c_str(), &s) : ::stat(path.c_str(), &s); };
  if (look() != 0) {
    if (errno != ENOENT) return errno;
    if (sys::makeFolder(path, 0700) != 0 && errno != EEXIST) return errno;
    if (look() != 0) return errno;
  }
  if (!S_ISDIR(s.st_mode)) return ENOTDIR;
  if (strict && s.st_uid != ::getuid()) return EPERM;
  return 0;
}

int prepareTrash(const std::string& root, bool strict) {
  if (int e = prepareFolder(root, strict)) return e;
  if (int e = prepareFolder(root + "/files", strict)) return e;
  return prepareFolder(root + "/info", strict);
}

int prepareHomeTrash(const std::string& root) {
  // $XDG_DATA_HOME may not exist yet on a fresh account.
  std::string prefix;
  for (std::string_view part : paths::split(root, '/')) {
    prefix += '/';
    prefix += part;
    if (int e = prepareFolder(prefix, false)) return e;
  }
  return prepareTrash(root, false);
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

std::optional<Trash> topdirTrash(const std::string& topdir) {
  const std::string uid = uidText();
  // $topdir/.Trash is shared by all users; it is trusted only as a sticky real directory.
  std::string shared = paths::join(topdir, ".Trash");
  struct stat s {};
  if (::lstat(shared.c_str(), &s) == 0 && S_ISDIR(s.st_mode) && (s.st_mode & S_ISVTX)) {
    std::string mine = paths::join(shared, uid);
    if (prepareTrash(mine, true) == 0) return Trash{mine, topdir};
  }
  std::string own = paths::join(topdir, ".Trash-" + uid);
  if (prepareTrash(own, true) == 0) return Trash{own, topdir};
  return std::nullopt;
}

// --- Names in the Trash ------------------------------------------------------------------------

size_t nameLimit(const std::string& folder) {
  long max = ::pathconf(folder.c_str(), _PC_NAME_MAX);
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

// Renames without ever replacing the target. Where the file system has no RENAME_NOREPLACE, a
// file or link is given its new name with link(), which refuses an existing target, and then
// loses its old one; a folder cannot be moved that way and stays.
MoveResult moveNoReplace(const std::string& from, const std::string& to, bool isFolder) {
  if (sys::renameNoReplace(from, to) == 0) return {};
  int error = errno;
  if ((error != EINVAL && error != ENOSYS) || isFolder) return {error};
  if (sys::link(from, to) != 0) return {errno};
  if (sys::unlinkOldName(from, to) != 0) return {errno, true};
  return {};
}

TrashMove failed(int error) {
  return TrashMove{{}, systemText(error)};
}

bool isRightsError(int error) {
  return error == EACCES || error == EPERM;
}

// The item could not move because of who the user is, not because of the Trash.
TrashMove refused(int error) {
  return TrashMove{{}, systemText(error), true};
}

// Moving needs write access to the folder that holds the item and, for a folder, to the folder
// itself (its ".." changes). Asked up front so that lack of rights is told apart from any
// trouble with the Trash.
int rightsToMove(const std::string& folder, const std::string& source, bool isFolder) {
  if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0 && isRightsError(errno))
    return errno;
  if (isFolder && ::faccessat(AT_FDCWD, source.c_str(), W_OK, AT_EACCESS) != 0 &&
      isRightsError(errno))
    return errno;
  return 0;
}

struct Placed {
  std::string trashPath;
  int error = 0;
  bool atRename = false;  // the error came from moving the item itself
};

TrashMove failedPlacing(const Placed& placed) {
  return placed.atRename && isRightsError(placed.error) ? refused(placed.error)
                                                        : failed(placed.error);
}

// Reserves a name in this Trash with its .trashinfo on disk first, then renames the item in.
// Every way out leaves the item either where it was or in the Trash with its .trashinfo.
Placed moveInto(const Trash& trash, const std::string& source, std::string_view name, bool isFolder,
                const std::string& recordedPath) {
  // Neither the Trash itself, nor anything in it or holding it.
  const std::string resolvedRoot = paths::resolveSymlinks(trash.root);
  if (paths::isWithin(source, resolvedRoot) || paths::isWithin(resolvedRoot, source)) {
    return {{}, EINVAL};
  }
  const std::string files = trash.root + "/files";
  const std::string info = trash.root + "/info";
  const std::string contents = infoText(recordedPath);
  size_t limit = nameLimit(info);
  int number = 1;
  for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
    std::string candidate = trashName(name, number, limit);
    std::string target = files + "/" + candidate;
    std::string infoFile = info + "/" + candidate + std::string(kInfoSuffix);
    struct stat s {};
    if (::lstat(target.c_str(), &s) == 0) {
      ++number;  // an item without a .trashinfo still owns its name
      continue;
    }
    int fd = sys::reserveFile(infoFile, 0600);
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
      sys::dropInfo(infoFile);
      return {{}, error};
    }
    ::close(fd);
    MoveResult moved = moveNoReplace(source, target, isFolder);
    if (moved.error == 0) return {target, 0};
    // With both names present the item is also in the Trash, and its record must stay.
    if (moved.bothNames) return {{}, moved.error};
    sys::dropInfo(infoFile);
    if (moved.error == EEXIST) {
      ++number;
    } else if (moved.error == ENAMETOOLONG && limit > 16) {
      limit -= limit / 4;
    } else {
      return {{}, moved.error, true};
    }
  }
  return {{}, EEXIST};
}

// The Trash folder an item at trashPath (…/files/<name>) belongs to, or "".
std::string trashRootOf(const std::string& trashPath) {
  std::string_view files = paths::parent(trashPath);
  if (paths::lastComponent(files) != "files") return {};
  return std::string(paths::parent(files));
}

std::string infoFileFor(const std::string& trashPath) {
  std::string root = trashRootOf(trashPath);
  if (root.empty()) return {};
  return root + "/info/" + std::string(paths::lastComponent(trashPath)) + std::string(kInfoSuffix);
}

}  // namespace

TrashMove moveToTrash(const std::string& path) {
  if (path.empty()) return failed(ENOENT);
  std::string absolute = path;
  if (absolute.front() != '/') {
    char cwd[PATH_MAX];
    if (!::getcwd(cwd, sizeof cwd)) return failed(errno);
    absolute = paths::join(cwd, absolute);
  }
  absolute = paths::standardize(absolute);
  if (absolute == "/") return failed(EBUSY);

  struct stat item {};
  if (::lstat(absolute.c_str(), &item) != 0) return failed(errno);
  const bool isFolder = S_ISDIR(item.st_mode);
  const std::string name(paths::lastComponent(absolute));
  const std::string folder = paths::resolveSymlinks(paths::parent(absolute));
  const std::string source = paths::join(folder, name);
  struct stat parent {};
  if (::stat(folder.c_str(), &parent) != 0) return failed(errno);
  if (int e = rightsToMove(folder, source, isFolder)) return refused(e);

  const std::string homeRoot = homeTrashRoot(currentHome());
  if (deviceOf(homeRoot) == parent.st_dev) {
    if (int e = prepareHomeTrash(homeRoot)) return failed(e);
    Placed placed = moveInto(Trash{homeRoot, {}}, source, name, isFolder, absolute);
    if (placed.error == 0) return TrashMove{placed.trashPath, {}};
    // The same device can still be another mount (a bind mount), whose own Trash may take it.
    if (placed.error != EXDEV) return failedPlacing(placed);
  }

  const std::string topdir = mountPointOf(folder, parent.st_dev);
  std::optional<Trash> trash = topdirTrash(topdir);
  if (!trash) return TrashMove{{}, std::string(kNoTrash)};
  std::string relative = source.substr(topdir == "/" ? 1 : topdir.size() + 1);
  Placed placed = moveInto(*trash, source, name, isFolder, relative);
  if (placed.error != 0) return failedPlacing(placed);
  return TrashMove{placed.trashPath, {}};
}

bool isInTrashFolder(const std::string& resolvedPath, const std::string& resolvedHome) {
  std::string homeFiles = paths::resolveSymlinks(homeTrashRoot(resolvedHome) + "/files");
  if (paths::isStrictlyWithin(resolvedPath, homeFiles)) return true;

  // <topdir>/.Trash/<uid>/files/<item> or <topdir>/.Trash-<uid>/files/<item>.
  const std::string uid = uidText();
  const std::string own = ".Trash-" + uid;
  auto parts = paths::split(resolvedPath, '/');
  for (size_t i = 0; i < parts.size(); ++i) {
    if (parts[i] == ".Trash" && i + 3 < parts.size() && parts[i + 1] == uid &&
        parts[i + 2] == "files") {
      return true;
    }
    if (parts[i] == own && i + 2 < parts.size() && parts[i + 1] == "files") return true;
  }
  return false;
}

bool trashItemMatches(const std::string& trashPath, const std::string& originalPath) {
  std::string root = trashRootOf(trashPath);
  if (root.empty()) return false;
  std::optional<std::string> recorded = infoPath(infoFileFor(trashPath));
  if (!recorded || recorded->empty()) return false;
  std::string full = *recorded;
  if (full.front() != '/') {
    // Relative to the top of the file system: the folder holding .Trash-<uid>, or the one
    // holding .Trash/<uid>.
    std::string_view top = paths::parent(root);
    if (paths::lastComponent(top) == ".Trash") {
      top = paths::parent(top);
    } else if (paths::lastComponent(root).substr(0, 7) != ".Trash-") {
      return false;
    }
    full = paths::join(top, full);
  }
  return paths::standardize(full) == paths::standardize(originalPath) ||
         paths::resolveParentSymlinks(full) == paths::resolveParentSymlinks(originalPath);
}

std::string moveOutOfTrash(const std::string& trashPath, const std::string& originalPath) {
  struct stat item {};
  if (::lstat(trashPath.c_str(), &item) != 0) return systemText(errno);
  MoveResult moved = moveNoReplace(trashPath, originalPath, S_ISDIR(item.st_mode));
  if (moved.error != 0) return systemText(moved.error);
  // The item is back; its Trash record would now describe nothing.
  if (std::string info = infoFileFor(trashPath); !info.empty()) sys::dropInfo(info);
  return {};
}

}  // namespace dw::platform
