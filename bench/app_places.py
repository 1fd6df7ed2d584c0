#!/usr/bin/env python3
"""Prints, one a line, every place `dustwhale apps --root ROOT --home HOME` measures: each
application bundle of ROOT/Applications, ROOT/Applications/Utilities and HOME/Applications
(".app" entries, and those one level down in other folders), then the items named after its
bundle identifier in the eight Library folders. Written from the rules, not from the program,
so that the benchmark checks one against the other.

Left out as the program leaves them out: Apple's apps and this program itself have no related
items; bundles without an identifier have none either.

  app_places.py ROOT HOME
"""
import os
import plistlib
import sys

FOLDERS = ["Application Support", "Caches", "Preferences", "Containers",
           "Saved Application State", "HTTPStorages", "WebKit", "LaunchAgents"]
SUFFIXES = ["", ".plist", ".savedState"]
OWN = "com.dustwhale.Dustwhale"


def bundles(root, home):
    app_folders = [os.path.join(root, "Applications"), os.path.join(root, "Applications/Utilities"),
                   os.path.join(home, "Applications")]
    for folder in app_folders:
        try:
            names = sorted(os.listdir(folder))
        except OSError:
            continue
        for name in names:
            path = os.path.join(folder, name)
            if name.endswith(".app") and os.path.isdir(path):
                yield path
            elif os.path.isdir(path) and path not in app_folders:
                for inner in sorted(os.listdir(path)):
                    if inner.endswith(".app") and os.path.isdir(os.path.join(path, inner)):
                        yield os.path.join(path, inner)


def identifier(bundle):
    try:
        with open(os.path.join(bundle, "Contents/Info.plist"), "rb") as f:
            return plistlib.load(f).get("CFBundleIdentifier", "")
    except Exception:
        return ""


def main():
    root, home = sys.argv[1], sys.argv[2]
    for bundle in bundles(root, home):
        print(bundle)
        ident = identifier(bundle)
        if not ident or ident.startswith("com.apple.") or ident == OWN:
            continue
        for folder in FOLDERS:
            for suffix in SUFFIXES:
                path = os.path.join(home, "Library", folder, ident + suffix)
                if os.path.lexists(path):
                    print(path)


if __name__ == "__main__":
    main()
