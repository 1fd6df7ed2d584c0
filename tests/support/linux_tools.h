#pragma once
// The caches Linux tools and apps write in a home, laid out as the tools lay them out (file
// names, marker files, link counts), made for real in a HomeBuilder's tree.

#include <cstdint>
#include <string>
#include <vector>

#include "support/home_builder.h"

namespace dw::test {

// pnpm's content-addressable store at store (…/pnpm/store): v10/files/<2 hex>/<hash> holding
// bytes, v10/index and v10/projects. Returns the one data file.
std::string pnpmStore(HomeBuilder& b, const std::string& store, std::int64_t bytes);
// A project installed with pnpm: project/node_modules/.pnpm/<pkg>/node_modules/<pkg>/file, a
// hard link of the store's file.
std::string pnpmProject(const std::string& project, const std::string& storeFile);
// Yarn's global cache (…/.yarn/berry/cache): one archive of bytes, named as Yarn names them.
std::string yarnCache(HomeBuilder& b, const std::string& cache, std::int64_t bytes);
// The environments of pipx run (…/.cache): CACHEDIR.TAG and one environment of bytes.
std::string pipxCache(HomeBuilder& b, const std::string& cache, std::int64_t bytes);
// Steam's shader cache (…/steamapps/shadercache): one game's compiled shaders of bytes.
std::string steamShaders(HomeBuilder& b, const std::string& shadercache, std::int64_t bytes);
// An Electron app's folder in ~/.config (its settings, "Local State", Preferences) with each of
// these Chromium caches ("Cache", "Code Cache", "GPUCache") of bytes.
std::string electronApp(HomeBuilder& b, const std::string& app,
                        const std::vector<std::pair<std::string, std::int64_t>>& caches);
// A snap as snapd sets it up for the user: ~/snap/<snap>/<revision>, the "current" link to it,
// and common/.cache (returned).
std::string snap(HomeBuilder& b, const std::string& name);

}  // namespace dw::test
