#include "measure/project_folders.h"

#include <array>

namespace dw {

bool isProjectFolderName(std::string_view name) {
  static constexpr std::array<std::string_view, 10> kNames = {
      "node_modules", ".next",       ".venv", "venv",    "build",
      "dist",         "DerivedData", "Pods",  "android", "ios"};
  for (auto known : kNames) {
    if (known == name) return true;
  }
  return false;
}

}  // namespace dw
