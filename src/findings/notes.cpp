#include "findings/notes.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/paths.h"
#include "base/time.h"
#include "findings/size_text.h"
#include "platform/known_programs.h"

namespace dw::notes {

namespace {

constexpr std::string_view kLaunchAgents = "/Library/LaunchAgents/";

template <size_t N>
bool pathOrNameContains(const Finding& f, const std::array<std::string_view, N>& words) {
  std::string path = paths::asciiLower(f.path);
  std::string name = paths::asciiLower(f.name);
  for (auto word : words) {
    if (path.find(word) != std::string::npos || name.find(word) != std::string::npos) return true;
  }
  return false;
}

bool contains(const std::string& text, std::string_view word) {
  return text.find(word) != std::string::npos;
}

// The cache folders an Electron app keeps beside its settings in ~/.config/<app>, lower-cased.
bool isElectronAppCache(const std::string& path) {
  static constexpr std::array<std::string_view, 9> kFolders = {
      "cache",           "code cache",    "gpucache",   "dawncache",           "dawngraphitecache",
      "dawnwebgpucache", "grshadercache", "cacheddata", "cachedextensionvsixs"};
  constexpr std::string_view kConfig = "~/.config/";
  if (!path.starts_with(kConfig)) return false;
  std::string_view rest = std::string_view(path).substr(kConfig.size());
  size_t slash = rest.find('/');
  if (slash == 0 || slash == std::string_view::npos) return false;
  std::string_view folder = rest.substr(slash + 1);
  return std::find(kFolders.begin(), kFolders.end(), folder) != kFolders.end();
}

// The explanations of the caches Linux tools and apps write, if this is one of them.
std::optional<std::string> linuxCacheExplanation(const std::string& path, const std::string& name) {
  if (contains(path, "/pnpm/store") || name == "pnpm store")
    return "pnpm downloads these packages again the next time a project installs them. Files "
           "your projects still link to stay on disk with them, so they are not counted. Your "
           "projects stay.";
  if (contains(path, "/.yarn/berry/cache") || name.starts_with("yarn cache"))
    return "Yarn downloads these packages again on the next install. A project that runs "
           "straight from this cache (Plug'n'Play) needs yarn install before it runs again. Your "
           "projects stay.";
  if (contains(path, "pipx"))
    return "pipx makes these environments again the next time you run a tool with pipx run. The "
           "tools you installed with pipx stay.";
  if (path.ends_with("/.cache/pip") || name.starts_with("pip downloads"))
    return "pip downloads these packages again when an install needs them. Your projects and "
           "their virtual environments stay.";
  if (contains(path, "/steamapps/shadercache"))
    return "Steam builds these shaders again when a game starts, so its first minutes may "
           "stutter. Your games and saves stay.";
  if (contains(path, "/jetbrains/") && path.ends_with("/index"))
    return "The IDE indexes your projects again when it opens them, which takes a while. Your "
           "projects, settings and local history stay.";
  if (!isElectronAppCache(path)) return std::nullopt;
  if (contains(path, "discord"))
    return "Discord downloads messages, images and files again when you open them. Your account "
           "and servers stay.";
  if (path.starts_with("~/.config/code"))
    return "VS Code rebuilds this when it next starts, and downloads extensions again when it "
           "needs them. Your projects, settings and extensions stay.";
  return "The app rebuilds this cache when it next starts. Its settings, your sign-in and your "
         "files stay.";
}

}  // namespace

bool noteSaysQuit(std::string_view note) {
  return paths::containsInsensitive(note, "quit");
}

bool isLoginItem(const Finding& f) {
  for (const auto& p : f.leftoverPaths) {
    if (p.find(kLaunchAgents) != std::string::npos) return true;
  }
  return f.path.find(kLaunchAgents) != std::string::npos;
}

bool isDeveloperTools(const Finding& f) {
  static constexpr std::array<std::string_view, 6> kWords = {
      "xcode", "sourcekit", "swiftpm", "org.swift", "deriveddata", "developer"};
  return pathOrNameContains(f, kWords);
}

bool isBrowser(const Finding& f) {
  // Deliberately broad: "search" holds "arc", and such a folder is explained as a browser cache.
  static constexpr std::array<std::string_view, 10> kWords = {
      "chrome", "google", "firefox", "mozilla", "safari",
      "brave",  "edge",   "opera",   "vivaldi", "arc"};
  return pathOrNameContains(f, kWords);
}

std::optional<std::string> whatStays(const Finding& f) {
  std::string path = paths::asciiLower(f.path);
  std::string name = paths::asciiLower(f.name);
  if (contains(path, "/.npm/_cacache") || contains(name, "npm"))
    return "Downloaded packages. Your projects and node_modules stay.";
  if (contains(path, "chrome") || contains(name, "chrome"))
    return "Web page cache. Bookmarks, passwords and history stay.";
  if (contains(path, "spotify") || contains(name, "spotify"))
    return "Streaming cache. Downloaded playlists stay.";
  if (contains(path, "slack") || contains(name, "slack"))
    return "Message and image cache. Your workspace stays.";
  return std::nullopt;
}

std::string summary(const Finding& f) {
  if (noteSaysQuit(f.note)) return f.note;
  if (f.kind == Finding::Kind::cache) {
    if (auto stays = whatStays(f)) return *stays;
  }
  if (!f.note.empty()) return f.note;
  switch (f.kind) {
    case Finding::Kind::cache:
      return "Temporary files this app can rebuild.";
    case Finding::Kind::file:
      return "A large file. Nothing is selected until you choose it.";
    case Finding::Kind::leftover:
      return "Left behind by an app that is no longer installed.";
  }
  return f.note;
}

std::string cacheExplanation(const Finding& f) {
  std::string path = paths::asciiLower(f.path);
  std::string name = paths::asciiLower(f.name);
  if (contains(path, "/.npm/_cacache") || name == "npm cache")
    return "npm downloads these packages again the next time a project needs them. Project "
           "folders stay.";
  if (contains(path, "/.npm/_npx") || name == "npx downloads")
    return "npx fetches these packages again when a command needs them. Project folders stay.";
  if (contains(path, "/.gradle/") || name == "gradle cache")
    return "Gradle downloads these dependencies again on the next build. Project source stays.";
  if (contains(path, "spotify") || contains(name, "spotify"))
    return "Spotify downloads this cache again when you play something. Your library stays.";
  if (contains(path, "slack") || contains(name, "slack"))
    return "Slack downloads messages and files again when you open them. Your account stays.";
  if (auto linux = linuxCacheExplanation(path, name)) return *linux;
  if (isDeveloperTools(f))
    return "Xcode rebuilds this the next time you build. Your projects stay.";
  if (isBrowser(f))
    return "This is a browser cache. Pages load again from the network. Bookmarks and passwords "
           "stay.";
  return "The app recreates this folder when it needs it.";
}

std::string whySafe(const Finding& f) {
  if (isLoginItem(f))
    return "Stops " + f.name +
           " from starting at login. Takes effect at your next login. Your documents stay.";
  switch (f.kind) {
    case Finding::Kind::cache:
      return cacheExplanation(f);
    case Finding::Kind::file:
      return "This is a file you chose to review. It is not recreated automatically, and it stays "
             "until you move it.";
    case Finding::Kind::leftover:
      if (isFlatpakData(f))
        return "The Flatpak app that kept this folder is no longer installed. The folder holds "
               "all it kept: its data and settings, and possibly things you made in it, such as "
               "notes, mail or saved games. Look at its largest files before you move it.";
      return "The app that created this is no longer installed. Your documents are not in this "
             "folder.";
  }
  return {};
}

bool isFlatpakData(const Finding& f) {
  constexpr std::string_view kFlatpakData = "/.var/app";
  return f.kind == Finding::Kind::leftover &&
         std::any_of(f.leftoverPaths.begin(), f.leftoverPaths.end(), [&](const std::string& p) {
           return paths::parent(p).ends_with(kFlatpakData);
         });
}

std::string largestFilesText(const Finding& f) {
  std::string text;
  for (const LeftoverFilePeek& file : f.leftoverLargestFiles) {
    if (!text.empty()) text += ", ";
    text += file.name + " (" + sizeText(file.bytes) + ")";
  }
  return text;
}

std::string cacheDisplayName(std::string_view folderName) {
  if (folderName == "Google") return "Google cache";
  if (folderName == "Homebrew") return "Homebrew downloads";
  // A folder a known program keeps is named after the program ("com.spotify.client" is
  // "Spotify cache", not "client"); an identifier says little to its user.
  if (const platform::KnownProgram* program = platform::programOfCacheFolder(folderName))
    return std::string(program->name) + " cache";
  if (folderName.substr(0, 4) == "com.") {
    auto dot = folderName.rfind('.');
    return std::string(folderName.substr(dot + 1));
  }
  return std::string(folderName);
}

std::string linuxCacheDisplayName(std::string_view relativePath) {
  // Folder names as the programs create them in ~/.cache, and what their users call them.
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 64> kNames = {{
      {"mozilla", "Firefox cache"},
      {"google-chrome", "Chrome cache"},
      {"google-chrome-beta", "Chrome Beta cache"},
      {"google-chrome-unstable", "Chrome Dev cache"},
      {"chromium", "Chromium cache"},
      {"BraveSoftware", "Brave cache"},
      {"microsoft-edge", "Microsoft Edge cache"},
      {"microsoft-edge-beta", "Microsoft Edge Beta cache"},
      {"vivaldi", "Vivaldi cache"},
      {"opera", "Opera cache"},
      {"thunderbird", "Thunderbird cache"},
      {"epiphany", "GNOME Web cache"},
      {"falkon", "Falkon cache"},
      {"pip", "pip downloads"},
      {"pipx", "pipx run environments"},
      {"pypoetry/cache", "Poetry downloads"},
      {"pypoetry/artifacts", "Poetry built packages"},
      {"uv", "uv cache"},
      {"pipenv", "Pipenv downloads"},
      {"virtualenv", "virtualenv seed packages"},
      {"pre-commit", "pre-commit hook environments"},
      {"yarn", "Yarn cache"},
      {"pnpm", "pnpm metadata cache"},
      {"node-gyp", "node-gyp headers"},
      {"typescript", "TypeScript type downloads"},
      {"ms-playwright", "Playwright browsers"},
      {"puppeteer", "Puppeteer browsers"},
      {"Cypress", "Cypress app downloads"},
      {"electron", "Electron downloads"},
      {"electron-builder", "electron-builder downloads"},
      {"deno", "Deno cache"},
      {"go-build", "Go build cache"},
      {"golangci-lint", "golangci-lint cache"},
      {"bazel", "Bazel build cache"},
      {"bazelisk", "Bazelisk downloads"},
      {"ccache", "ccache compiler cache"},
      {"sccache", "sccache compiler cache"},
      {"clangd", "clangd index"},
      {"vscode-cpptools", "VS Code C/C++ index"},
      {"coursier", "Coursier downloads"},
      {"composer", "Composer cache"},
      {"huggingface", "Hugging Face downloads"},
      {"torch", "PyTorch downloads"},
      {"matplotlib", "Matplotlib font cache"},
      {"thumbnails", "Thumbnails"},
      {"fontconfig", "Font cache"},
      {"mesa_shader_cache", "Mesa shader cache"},
      {"mesa_shader_cache_db", "Mesa shader cache"},
      {"radv_builtin_shaders", "Mesa shader cache"},
      {"nvidia", "NVIDIA shader cache"},
      {"gstreamer-1.0", "GStreamer plugin registry"},
      {"gnome-software", "GNOME Software cache"},
      {"flatpak", "Flatpak downloads"},
      {"yay", "yay package builds"},
      {"paru", "paru package builds"},
      {"winetricks", "Winetricks downloads"},
      {"wine", "Wine downloads"},
      {"lutris", "Lutris downloads"},
      {"calibre", "Calibre cache"},
      {"darktable", "darktable thumbnails"},
      {"kdenlive", "Kdenlive proxy clips"},
      {"shotwell", "Shotwell thumbnails"},
      {"babl", "GIMP colour cache"},
      {"gegl-0.4", "GIMP image cache"},
  }};
  for (const auto& [folder, name] : kNames) {
    if (folder == relativePath) return std::string(name);
  }
  // JetBrains/<product and version>/index: "PyCharm2024.1 indexes".
  constexpr std::string_view kJetBrains = "JetBrains/", kIndex = "/index";
  if (relativePath.starts_with(kJetBrains) && relativePath.ends_with(kIndex) &&
      relativePath.size() > kJetBrains.size() + kIndex.size()) {
    std::string_view product = relativePath.substr(
        kJetBrains.size(), relativePath.size() - kJetBrains.size() - kIndex.size());
    if (product.find('/') == std::string_view::npos) return std::string(product) + " indexes";
  }
  return cacheDisplayName(paths::lastComponent(relativePath));
}

std::string badge(const Finding& f) {
  // A removable item whose note asks to quit a program first is not safe to clear now: the
  // badge says the same as the note, and the scan never pre-selects it.
  if (f.removable && noteSaysQuit(f.note)) return "In use";
  if (f.removable) {
    switch (f.kind) {
      case Finding::Kind::cache:
        return "Safe to clear";
      case Finding::Kind::file:
        return "Your call";
      case Finding::Kind::leftover:
        return "Review";
    }
  }
  if (noteSaysQuit(f.note)) return "Quit " + f.name + " first";
  return "Kept";
}

BadgeTone badgeTone(const Finding& f) {
  if (!f.removable) return BadgeTone::neutral;
  if (noteSaysQuit(f.note)) return BadgeTone::review;
  return f.kind == Finding::Kind::cache ? BadgeTone::safe : BadgeTone::review;
}

std::string_view toneName(BadgeTone tone) {
  switch (tone) {
    case BadgeTone::safe:
      return "safe";
    case BadgeTone::review:
      return "review";
    case BadgeTone::neutral:
      return "neutral";
  }
  return "neutral";
}

bool showsLock(const Finding& f) {
  return !f.removable && !noteSaysQuit(f.note);
}

std::string lastUsedText(const Finding& f) {
  std::optional<TimePoint> when = f.leftoverLastUsed ? f.leftoverLastUsed : f.contentModified;
  return when ? timefmt::localDate(*when) : "Unknown";
}

}  // namespace dw::notes
