#pragma once
// Single files over 200 MB in Downloads, Desktop and Movies. Stateless and read-only.

#include <stop_token>
#include <string>
#include <vector>

#include "findings/finding.h"
#include "platform/locations.h"

namespace dw::LargeFilesScanner {

// Downloads, Desktop, Movies in turn, each folder and file once by identity, the user's own
// files only; throws only Cancelled.
std::vector<Finding> scan(const Locations& places, std::stop_token stop = {});

// The checks that guard every move of a large file: the user's own, it lies (links resolved) in
// Downloads or Movies (places the user may search) within the depth limit, not inside a project
// folder or package, and not on the Desktop or in Documents.
bool isAllowedLocation(const std::string& path, const Locations& places);

}  // namespace dw::LargeFilesScanner
