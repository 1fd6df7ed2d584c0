#pragma once

#include <string_view>

namespace dw::platform {

// Whether a directory is a package or bundle that a person sees as one item (an app, a photo
// library, a document package). On Linux this is decided by the name's extension.
bool isPackage(std::string_view directoryPath);

}  // namespace dw::platform
