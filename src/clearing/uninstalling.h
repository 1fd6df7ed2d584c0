#pragma once
// Uninstalling one app: its bundle and then each of its related items moved to the Trash under
// one session, each re-checked just before it moves. Nothing is deleted.

#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "clearing/clearing.h"
#include "platform/locations.h"
#include "scanners/uninstaller/app_record.h"

namespace dw::Clearing {

struct UninstallOutcome {
  Outcome moves;                    // sessionID, entries and movedBytes of what moved
  std::vector<std::string> stayed;  // one text per item that stayed, in order
  bool bundleMoved = false;
  bool needsAdministrator = false;  // the bundle stayed for lack of rights
  bool stopped = false;             // a stop request left the items after the one in hand
};

// Moves the bundle (kind "app") and, only once it is in the Trash, each related item (kind
// "app-data"). The refusals (place, running, Apple's or this app) are the caller's, decided
// before; here the bundle must still be the one listed (same file-system identity and
// identifier) and each related item must still be named after the identifier in its Library
// folder. A stop request is honoured before the next item, as in a clear: the item in hand
// finishes, and what had not moved yet stays where it is (data left behind by a moved bundle is
// what the leftover scan finds later). onProgress is called after each item.
UninstallOutcome uninstallApp(const AppUninstaller::AppRecord& app, const Locations& places,
                              const std::function<void(const Progress&)>& onProgress = {},
                              std::stop_token stop = {});

}  // namespace dw::Clearing
