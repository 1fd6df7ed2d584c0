#include "platform/known_programs.h"

#include <algorithm>

#include "base/paths.h"

namespace dw::platform {

namespace {

// Chromium shares Chrome's profile layout and caches, so it counts as Chrome running too.
const std::vector<KnownProgram> kPrograms = {
    {"Firefox",
     {"firefox", "firefox-esr", "firefox-bin"},
     {"org.mozilla.firefox"},
     {"mozilla", "org.mozilla.firefox"},
     {".mozilla"}},
    {"Chrome",
     {"chrome", "google-chrome", "google-chrome-stable", "google-chrome-beta",
      "google-chrome-unstable"},
     {"com.google.Chrome"},
     {"google-chrome", "google-chrome-beta", "google-chrome-unstable", "com.google.Chrome",
      "Google"}},
    {"Chromium",
     {"chromium", "chromium-browser"},
     {"org.chromium.Chromium", "com.google.Chrome"},
     {"chromium", "org.chromium.Chromium"}},
    {"Brave",
     {"brave", "brave-browser"},
     {"com.brave.Browser"},
     {"BraveSoftware", "com.brave.Browser"}},
    {"Microsoft Edge",
     {"msedge", "microsoft-edge"},
     {"com.microsoft.edgemac"},
     {"microsoft-edge", "microsoft-edge-beta", "com.microsoft.edgemac"}},
    {"Vivaldi",
     {"vivaldi-bin", "vivaldi"},
     {"com.vivaldi.Vivaldi"},
     {"vivaldi", "com.vivaldi.Vivaldi"}},
    {"Opera", {"opera"}, {"com.operasoftware.Opera"}, {"opera", "com.operasoftware.Opera"}},
    {"Thunderbird",
     {"thunderbird", "thunderbird-bin"},
     {"org.mozilla.thunderbird"},
     {"thunderbird", "org.mozilla.thunderbird"},
     {".thunderbird"}},
    {"GNOME Web", {"epiphany"}, {}, {"epiphany"}},
    {"Falkon", {"falkon"}, {}, {"falkon"}},
    {"Visual Studio Code",
     {"code"},
     {"com.microsoft.VSCode"},
     {"vscode-cpptools", "com.microsoft.VSCode", "com.microsoft.VSCode.ShipIt"},
     {".config/Code", ".vscode"}},
    {"VSCodium", {"codium"}, {"com.vscodium"}, {"com.vscodium"}, {".config/VSCodium"}},
    {"Slack",
     {"slack"},
     {"com.tinyspeck.slackmacgap"},
     {"com.tinyspeck.slackmacgap", "com.tinyspeck.slackmacgap.ShipIt"},
     {".config/Slack"}},
    {"Spotify", {"spotify"}, {"com.spotify.client"}, {"com.spotify.client"}, {".config/spotify"}},
    {"Discord",
     {"discord", "Discord"},
     {"com.hnc.Discord"},
     {"com.hnc.Discord", "com.hnc.Discord.ShipIt"},
     {".config/discord"}},
    {"Signal", {"signal-desktop"}, {"org.whispersystems.signal-desktop"}, {}, {".config/Signal"}},
    {"Telegram", {"telegram-desktop"}, {"ru.keepcoder.Telegram"}, {}},
    {"Steam",
     {"steam", "steamwebhelper"},
     {"com.valvesoftware.steam"},
     {"com.valvesoftware.steam"},
     {".local/share/Steam", ".steam"}},
};

const KnownProgram* byExecutableName(std::string_view file) {
  if (file.empty()) return nullptr;
  for (const KnownProgram& p : kPrograms) {
    if (std::find(p.executables.begin(), p.executables.end(), file) != p.executables.end())
      return &p;
  }
  return nullptr;
}

}  // namespace

std::span<const KnownProgram> knownPrograms() {
  return kPrograms;
}

const KnownProgram* knownProgramOf(std::string_view comm, std::string_view executable,
                                   std::string_view argv0) {
  std::string exe = executableOf(executable);
  if (!exe.empty()) return byExecutableName(paths::lastComponent(exe));
  if (const KnownProgram* p = byExecutableName(commOf(comm))) return p;
  return byExecutableName(paths::lastComponent(argv0));
}

const KnownProgram* programOfCacheFolder(std::string_view folder) {
  for (const KnownProgram& p : kPrograms) {
    if (std::find(p.cacheFolders.begin(), p.cacheFolders.end(), folder) != p.cacheFolders.end())
      return &p;
  }
  return nullptr;
}

std::string commOf(std::string_view text) {
  return std::string(text.substr(0, text.find('\n')));
}

std::string argv0Of(std::string_view cmdline) {
  return std::string(cmdline.substr(0, cmdline.find('\0')));
}

std::string executableOf(std::string_view target) {
  constexpr std::string_view kDeleted = " (deleted)";
  if (target.size() > kDeleted.size() && target.ends_with(kDeleted))
    target.remove_suffix(kDeleted.size());
  return std::string(target);
}

}  // namespace dw::platform
