#pragma once
// The caches Linux tools and apps keep outside ~/.cache: pnpm's store, Yarn's global cache, the
// environments of `pipx run`, Steam's shader caches, and the caches of Electron apps in their
// folders of ~/.config (Slack, Discord, VS Code). Each is a folder only its tool writes, found
// where the tool itself puts it, and offered only while its contents look like that tool's own
// layout: a variable or a link that names some other folder offers nothing. Stateless and
// read-only.

#include <string>
#include <vector>

#include "platform/locations.h"

namespace dw::ToolCaches {

struct Place {
  std::string path;  // as the table or the variable names it
  std::string name;  // "pnpm store", "Slack web cache"
  std::string note;  // the row's own remark
  bool suggested = false;
  // Measured by what moving it gives back: files that projects still link to keep their
  // blocks (pnpm's store).
  bool unsharedOnly = false;
};

// The tool caches of this home that are there and look like their tool's own, each once (a
// place reached through a link, ~/.steam/steam, counts where it first appears), in a fixed
// order. Only folders inside the home; the caller applies the rules every cache row meets.
std::vector<Place> list(const Locations& places);

// The folders whose open files make one of these caches "in use": each place of list().
std::vector<std::string> heldOpenFolders(const Locations& places);

// The developer download caches whose place a tool's variable may choose: whether a folder is
// laid out as that tool's cache (every entry of its making, one its mark).
bool looksLikeNpmCache(const std::string& folder);
bool looksLikeNpxCache(const std::string& folder);
bool looksLikeGradleCache(const std::string& folder);
bool looksLikeCargoSources(const std::string& folder);  // registry/cache and git/db alike
bool looksLikeGoDownloads(const std::string& folder);
bool looksLikeNugetPackages(const std::string& folder);
bool looksLikeBunCache(const std::string& folder);

// Layout checks, one per tool (exposed for the tests).
bool looksLikePnpmStore(const std::string& folder);
bool looksLikeYarnCache(const std::string& folder);
bool looksLikePipxCache(const std::string& folder);
bool looksLikeSteamShaderCache(const std::string& folder);
// A folder of ~/.config that an Electron app (a Chromium engine without profiles) keeps its
// data in: a "Local State" file and no "Default" profile.
bool isElectronAppFolder(const std::string& folder);

}  // namespace dw::ToolCaches
