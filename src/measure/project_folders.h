#pragma once

#include <string_view>

namespace dw {

// The ten project and build folder names whose insides the home-folder searches never enter:
// node_modules, .next, .venv, venv, build, dist, DerivedData, Pods, android, ios.
bool isProjectFolderName(std::string_view name);

}  // namespace dw
