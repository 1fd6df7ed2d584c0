#include "support/linux_tools.h"

#include <unistd.h>

#include <stdexcept>

#include "support/temp_dir.h"

namespace dw::test {

std::string pnpmStore(HomeBuilder& b, const std::string& store, std::int64_t bytes) {
  std::string file = b.file(
      store + "/v10/files/d0/e83031882f2637fdde46f6366dc4dece15d8b85e9df40cbb3eeec8bb754ff76",
      bytes);
  writeFile(store + "/v10/index/d0/e83031882f2637fd-typescript@5.9.3.json", "{\"files\":{}}");
  makeDirs(store + "/v10/projects");
  return file;
}

std::string pnpmProject(const std::string& project, const std::string& storeFile) {
  std::string folder = project + "/node_modules/.pnpm/typescript@5.9.3/node_modules/typescript/lib";
  makeDirs(folder);
  std::string link = folder + "/typescript.js";
  if (::link(storeFile.c_str(), link.c_str()) != 0) throw std::runtime_error("cannot link " + link);
  writeFile(project + "/package.json", "{\"dependencies\":{\"typescript\":\"5.9.3\"}}");
  return link;
}

std::string yarnCache(HomeBuilder& b, const std::string& cache, std::int64_t bytes) {
  writeFile(cache + "/.gitignore", "/.gitignore\n");
  return b.file(cache + "/typescript-npm-5.9.3-48715be868-10c0.zip", bytes);
}

std::string pipxCache(HomeBuilder& b, const std::string& cache, std::int64_t bytes) {
  writeFile(cache + "/CACHEDIR.TAG",
            "Signature: 8a477f597d28d172789f06886806bc55\n"
            "# This file is a cache directory tag created by pipx.\n");
  return b.file(cache + "/5c3ac0a3ba1bb5e/lib/python3.11/site-packages/black/black.so", bytes);
}

std::string steamShaders(HomeBuilder& b, const std::string& shadercache, std::int64_t bytes) {
  return b.file(shadercache + "/570/fozpipelinesv6/steamapp_pipeline_cache.foz", bytes);
}

std::string electronApp(HomeBuilder& b, const std::string& app,
                        const std::vector<std::pair<std::string, std::int64_t>>& caches) {
  std::string folder = b.inHome(".config/" + app);
  writeFile(folder + "/Local State", "{\"os_crypt\":{}}");
  writeFile(folder + "/Preferences", "{\"spellcheck\":{}}");
  writeFile(folder + "/Local Storage/leveldb/000003.log", "signed-in workspace");
  for (const auto& [name, bytes] : caches) {
    std::string cache = folder + "/" + name;
    if (name == "Code Cache") {
      writeFile(cache + "/js/index", "");
      makeDirs(cache + "/wasm");
      makeDirs(cache + "/js/index-dir");
      b.file(cache + "/js/5e1d2f7a8b9c0d1e_0", bytes);
    } else if (name == "Cache") {
      writeFile(cache + "/Cache_Data/index", "");
      b.file(cache + "/Cache_Data/data_1", bytes);
    } else {
      writeFile(cache + "/index", "");
      b.file(cache + "/data_1", bytes);
    }
  }
  return folder;
}

std::string snap(HomeBuilder& b, const std::string& name) {
  std::string folder = b.inHome("snap/" + name);
  makeDirs(folder + "/2904/.config");
  b.symlink("2904", folder + "/current");
  return b.folder(folder + "/common/.cache");
}

}  // namespace dw::test
