#pragma once
// The application bundles installed for the user, listed one way for every reader: the
// uninstaller shows them, and the leftover scanner counts their identifiers as installed.

#include <string>
#include <vector>

#include "platform/locations.h"

namespace dw::scanners {

// The bundles of places.applicationFolders, folder by folder in that order and by name within
// a folder: each ".app" entry, and the ".app" entries one level down in any other folder (apps
// grouped in a vendor folder). Nothing deeper is searched, a bundle is never entered, and a
// folder that cannot be listed adds nothing. A link to a bundle counts as one (it is listed by
// its own path). A vendor folder that is itself an application folder (Utilities) is listed in
// its own turn, not as a vendor folder.
std::vector<std::string> listApplicationBundles(const Locations& places);

// Whether path names a bundle: a folder, or a link to one, whose name ends ".app".
bool isAppBundle(const std::string& path);

}  // namespace dw::scanners
