#!/usr/bin/env python3
"""Prints, one per line, the places `dustwhale scan --layout macos` walks or sizes in a
Mac-shaped root, so that one `du -sx` can be given exactly the same work. Derived from the tree
as it stands, by the rules the scan follows:

  - every child of ~/Library/Caches except Apple's (com.apple.*), which are never walked;
  - the developer caches ~/.npm/_cacache, ~/.npm/_npx and ~/.gradle/caches;
  - the cache folders of each Chrome profile (Cache, Code Cache, GPUCache, ..., and
    Service Worker/CacheStorage and ScriptCache);
  - ~/Downloads, ~/Desktop and ~/Movies, which the large-file search walks;
  - the entries of the leftover locations that belong to a removed app: a bundle-identifier
    name (folder, NAME.plist, NAME.savedState, or a launch agent's Label whose program is gone)
    not owned by an app in /Applications, ~/Applications or /Applications/Utilities, in a
    group that has an entry in Application Support, Containers, Saved Application State or
    WebKit, or a launch agent. Entries already listed (a removed app's cache) appear once.

Not covered: the small reads around these (listing the locations, the apps' Info.plist files,
the launch agent plists), which du has no counterpart for. It handles the shapes
make_measure_tree.py --shape mac builds, not every identifier the scan would refuse.

  scanned_places.py ROOT HOME
"""
import os
import plistlib
import re
import sys

CHROME_CACHE_FOLDERS = {
    "Cache", "Code Cache", "GPUCache", "Shared Dictionary", "DawnWebGPUCache",
    "DawnGraphiteCache", "GrShaderCache", "ShaderCache", "OptGuideOnDeviceModel",
    "OptGuideOnDeviceClassifierModel", "optimization_guide_model_store", "component_crx_cache",
    "extensions_crx_cache", "screen_ai", "WasmTtsEngine", "GraphiteDawnCache", "Safe Browsing",
    "OnDeviceHeadSuggestModel", "crx_cache"}
BUNDLE_ID = re.compile(r"^(com|org|net|edu|io|ai|me|cc|tv|app|co|dev|info)(\.[A-Za-z0-9_-]+)+$",
                       re.IGNORECASE)
REPORTING_LOCATIONS = {"Application Support", "Containers", "Saved Application State", "WebKit"}


def children(folder):
    try:
        return sorted(os.listdir(folder))
    except FileNotFoundError:
        return []


def is_apple(name):
    return name.lower().startswith("com.apple.")


def installed_ids(root, home):
    ids = set()
    for folder in (os.path.join(root, "Applications"), os.path.join(home, "Applications"),
                   os.path.join(root, "Applications/Utilities")):
        for name in children(folder):
            try:
                with open(os.path.join(folder, name, "Contents/Info.plist"), "rb") as f:
                    ids.add(plistlib.load(f)["CFBundleIdentifier"].lower())
            except (OSError, KeyError, plistlib.InvalidFileException):
                pass
    return ids


def owned(bundle_id, installed):
    parts = bundle_id.lower().split(".")
    return any(".".join(parts[:n]) in installed for n in range(1, len(parts) + 1))


def leftover_candidates(root, lib):
    """(bundle id, location, path) for every entry the leftover search considers."""
    for location in ("Application Support", "Containers", "Caches", "HTTPStorages", "WebKit",
                     "Group Containers", "Preferences", "Saved Application State",
                     "LaunchAgents"):
        folder = os.path.join(lib, location)
        for name in children(folder):
            path = os.path.join(folder, name)
            real_folder = os.path.isdir(path) and not os.path.islink(path)
            if location == "Preferences":
                candidate = name[:-6] if name.endswith(".plist") and os.path.isfile(path) else None
            elif location == "Saved Application State":
                candidate = name[:-11] if name.endswith(".savedState") and real_folder else None
            elif location == "LaunchAgents":
                with open(path, "rb") as f:
                    agent = plistlib.load(f)
                program = agent.get("ProgramArguments", [""])[0]
                gone = program.startswith("/") and not os.path.exists(root + program)
                candidate = agent.get("Label") if gone else None
            else:
                candidate = name if real_folder else None
            if candidate and BUNDLE_ID.match(candidate) and not is_apple(candidate):
                yield candidate, location, path


def scanned_places(root, home):
    lib = os.path.join(home, "Library")
    places = [os.path.join(lib, "Caches", n) for n in children(os.path.join(lib, "Caches"))
              if not is_apple(n)]
    for rel in (".npm/_cacache", ".npm/_npx", ".gradle/caches"):
        if os.path.isdir(os.path.join(home, rel)):
            places.append(os.path.join(home, rel))
    chrome = os.path.join(lib, "Application Support/Google/Chrome")
    for profile in children(chrome):
        p = os.path.join(chrome, profile)
        if not os.path.isdir(p):
            continue
        places += [os.path.join(p, n) for n in children(p)
                   if n in CHROME_CACHE_FOLDERS and os.path.isdir(os.path.join(p, n))]
        places += [os.path.join(p, "Service Worker", n) for n in ("CacheStorage", "ScriptCache")
                   if os.path.isdir(os.path.join(p, "Service Worker", n))]
    places += [os.path.join(home, n) for n in ("Downloads", "Desktop", "Movies")]

    installed = installed_ids(root, home)
    groups = {}
    for bundle_id, location, path in leftover_candidates(root, lib):
        if not owned(bundle_id, installed):
            groups.setdefault(bundle_id, []).append((location, path))
    for entries in groups.values():
        if any(loc in REPORTING_LOCATIONS or loc == "LaunchAgents" for loc, _ in entries):
            places += [path for _, path in entries]

    seen = set()
    return [p for p in places if not (p in seen or seen.add(p))]


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: scanned_places.py ROOT HOME")
    for place in scanned_places(os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])):
        print(place)


if __name__ == "__main__":
    main()
