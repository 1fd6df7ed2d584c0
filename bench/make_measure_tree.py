#!/usr/bin/env python3
"""Builds the deterministic trees the benchmarks use. The same seed always gives the same tree.

  make_measure_tree.py ROOT              the tree bench/measure_bench.sh measures
  make_measure_tree.py --shape mac ROOT  the Mac-shaped disk bench/scan_bench.sh scans
  make_measure_tree.py --shape apps ROOT the application folders bench/apps_bench.sh lists

measure: about 300,000 entries of nested folders, small files of varied sizes, hard links
(within one folder and across folders), symbolic links (some dangling, some with targets long
enough to need a block of their own) and a few sparse files.

mac: a root with /Applications and a home ROOT/Users/me of about 300,000 entries, most of them
in Library/Caches and Library/Application Support; see build_mac.
"""
import argparse
import os
import random
import shutil

SEED = 20261121
FOLDERS = 18_000          # nested folders, up to six deep
FILES = 270_000           # regular files with data
LINKS_SAME = 3_000        # hard links next to their file
LINKS_ACROSS = 3_000      # hard links in another folder
SYMLINKS = 5_000          # a quarter of them dangling
SPARSE = 12


def size_of(rng):
    # Mostly small, as in caches; a few tens of kilobytes.
    r = rng.random()
    if r < 0.10:
        return 0
    if r < 0.60:
        return rng.randint(1, 1024)
    if r < 0.90:
        return rng.randint(1025, 8192)
    if r < 0.99:
        return rng.randint(8193, 32768)
    return rng.randint(32769, 131072)


def build(root):
    rng = random.Random(SEED)
    os.makedirs(root)
    folders = [root]
    for i in range(FOLDERS):
        # Prefer recent folders as parents so that the tree grows deep as well as wide.
        parent = folders[rng.randrange(max(0, len(folders) - 400), len(folders))]
        if parent.count("/") - root.count("/") >= 6:
            parent = folders[rng.randrange(0, min(len(folders), 50))]
        path = os.path.join(parent, "d%05d" % i)
        os.mkdir(path)
        folders.append(path)

    payload = bytes(rng.getrandbits(8) for _ in range(131072))
    files = []
    for i in range(FILES):
        path = os.path.join(folders[rng.randrange(len(folders))], "f%06d.dat" % i)
        fd = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o644)
        n = size_of(rng)
        if n:
            os.write(fd, payload[:n])
        os.close(fd)
        files.append(path)

    for i in range(LINKS_SAME):
        target = files[rng.randrange(len(files))]
        os.link(target, os.path.join(os.path.dirname(target), "same%05d.lnk" % i))
    for i in range(LINKS_ACROSS):
        target = files[rng.randrange(len(files))]
        os.link(target, os.path.join(folders[rng.randrange(len(folders))], "across%05d.lnk" % i))

    for i in range(SYMLINKS):
        where = folders[rng.randrange(len(folders))]
        kind = i % 4
        # Relative targets, so that the links still point inside the tree once it is renamed.
        if kind == 0:
            target = "missing-%d" % i
        elif kind == 1:
            target = os.path.relpath(files[rng.randrange(len(files))], where)
        elif kind == 2:
            target = os.path.relpath(folders[rng.randrange(len(folders))], where)
        else:
            target = "../" * 3 + "long-" + "x" * 120 + "/%d" % i
        os.symlink(target, os.path.join(where, "sym%05d" % i))

    for i in range(SPARSE):
        path = os.path.join(folders[rng.randrange(len(folders))], "sparse%02d.img" % i)
        with open(path, "wb") as f:
            f.seek(rng.randint(1, 8) << 30)
            f.write(payload[:4096])
    return FOLDERS + 1 + FILES + LINKS_SAME + LINKS_ACROSS + SYMLINKS + SPARSE


# ---- the Mac-shaped disk -------------------------------------------------------------------

MAC_SEED = 20261205
VENDORS = ["acme", "globex", "initech", "umbrella", "hooli", "vandelay", "tyrell", "soylent",
           "wonka", "oscorp", "nakatomi", "gringotts"]
WORDS = ["Notes", "Paint", "Sync", "Mail", "Chat", "Maps", "Video", "Music", "Photo", "Code",
         "Draw", "Scan", "Clip", "Board", "Tasks", "Vault", "Cast", "Dock", "Pixel", "Relay"]
INSTALLED = 12   # apps in /Applications
VANISHED = 40    # apps whose bundles are gone; their files are leftovers
PLAIN_CACHES = 180

# The app caches bench/scan_bench.sh compares with du one by one: the biggest one, and the cache
# of a removed app that is also part of that app's leftover group.
BIG_CACHE = "com.tyrell.Browser"
SHARED_CACHE = "com.soylent.Relay"


class Maker:
    """Writes files and folders from one random stream."""

    def __init__(self, rng):
        self.rng = rng
        self.payload = bytes(rng.getrandbits(8) for _ in range(131072))
        self.serial = 0

    def file(self, path, n):
        fd = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o644)
        while n > 0:
            k = min(n, len(self.payload))
            os.write(fd, self.payload[:k])
            n -= k
        os.close(fd)

    def sparse(self, path, logical):
        # A large file that occupies a few blocks only.
        with open(path, "wb") as f:
            f.seek(logical - 4096)
            f.write(self.payload[:4096])

    def fill(self, folder, files, blobs=0, fanout=40):
        """files small files in nested subfolders of folder (about fanout files to a folder),
        plus blobs files of one to six megabytes."""
        os.makedirs(folder, exist_ok=True)
        folders = [folder]
        base = folder.count("/")
        for _ in range(files // fanout):
            parent = folders[self.rng.randrange(len(folders))]
            if parent.count("/") - base >= 4:
                parent = folder
            self.serial += 1
            path = os.path.join(parent, "%02x%05d" % (self.rng.randrange(256), self.serial))
            os.mkdir(path)
            folders.append(path)
        for _ in range(files):
            self.serial += 1
            where = folders[self.rng.randrange(len(folders))]
            self.file(os.path.join(where, "%08x.%d" % (self.rng.getrandbits(32), self.serial)),
                      size_of(self.rng))
        for i in range(blobs):
            self.file(os.path.join(folder, "blob%d.bin" % i), self.rng.randint(1, 6) << 20)

    def files_count(self):
        # Most app caches are small; some hold a few thousand entries.
        r = self.rng.random()
        if r < 0.50:
            return self.rng.randint(5, 100)
        if r < 0.85:
            return self.rng.randint(100, 800)
        return self.rng.randint(800, 3000)


def plist(path, value):
    import plistlib
    with open(path, "wb") as f:
        plistlib.dump(value, f)


def build_mac(root):
    """A root with /Applications and the home Users/me:

    Library/Caches            Apple caches (never walked), caches of installed and removed apps
                              (some bundle-id named), plain-named caches, three big ones of tens
                              of thousands of small files, and Google (Chrome's cache)
    Library/Application Support
                              folders of installed apps and of removed ones (leftovers, one
                              over 100 MB), and Google/Chrome with three profiles
    Library/...               Containers, Group Containers, HTTPStorages, WebKit, Preferences
                              plists, Saved Application State, LaunchAgents
    .npm, .gradle             the developer caches
    Downloads, Movies,        a few large sparse files among small ones, some in places the
    Desktop, Documents        large-file search does not enter
    """
    rng = random.Random(MAC_SEED)
    m = Maker(rng)
    home = os.path.join(root, "Users/me")
    lib = os.path.join(home, "Library")
    caches = os.path.join(lib, "Caches")
    support = os.path.join(lib, "Application Support")

    ids = ["com.%s.%s" % (v, w) for v in VENDORS for w in WORDS]
    rng.shuffle(ids)
    ids = [i for i in ids if i not in (BIG_CACHE, SHARED_CACHE)][:INSTALLED + VANISHED]
    ids[0] = BIG_CACHE
    ids[INSTALLED] = SHARED_CACHE
    assert len(set(ids)) == len(ids)
    installed, vanished = ids[:INSTALLED], ids[INSTALLED:]

    # /Applications: a bundle with an Info.plist per installed app, one in Utilities.
    for n, bundle_id in enumerate(installed):
        folder = "Applications/Utilities" if n == 1 else "Applications"
        app = os.path.join(root, folder, bundle_id.split(".")[-1] + "%d.app" % n, "Contents")
        os.makedirs(os.path.join(app, "MacOS"))
        m.file(os.path.join(app, "MacOS", "main"), 40000)
        plist(os.path.join(app, "Info.plist"),
              {"CFBundleIdentifier": bundle_id, "CFBundleName": bundle_id.split(".")[-1]})

    # Library/Caches
    for i in range(8):
        m.fill(os.path.join(caches, "com.apple.Service%d" % i), m.rng.randint(100, 500))
    m.fill(os.path.join(caches, BIG_CACHE), 40000, blobs=4)
    m.fill(os.path.join(caches, "render-tiles"), 35000)
    m.fill(os.path.join(caches, SHARED_CACHE), 25000, blobs=2)
    for bundle_id in installed[1:] + vanished[:20]:
        if bundle_id != SHARED_CACHE:
            m.fill(os.path.join(caches, bundle_id), m.files_count(),
                   blobs=m.rng.choice([0, 0, 1, 3]))
    for i in range(PLAIN_CACHES):
        name = "%s%s-%d" % (WORDS[i % len(WORDS)].lower(), WORDS[(i // 3) % len(WORDS)], i)
        m.fill(os.path.join(caches, name), m.files_count(), blobs=1 if i % 9 == 0 else 0)
    m.fill(os.path.join(caches, "Google/Chrome/Default/Cache"), 2000, blobs=2)

    # Library/Application Support
    for bundle_id in installed:
        m.fill(os.path.join(support, bundle_id), m.rng.randint(50, 1500))
    for i in range(6):
        m.fill(os.path.join(support, "Plain%s" % WORDS[i]), m.rng.randint(50, 1500))
    m.fill(os.path.join(support, "com.apple.sharedfilelist"), 40)
    for n, bundle_id in enumerate(vanished):
        if n % 7 == 6:
            continue  # only caches and preferences: not reported, so never measured as leftovers
        files = 4000 if n in (3, 17) else m.rng.randint(5, 600)
        m.fill(os.path.join(support, bundle_id), files, blobs=20 if n == 9 else 0)
    chrome = os.path.join(support, "Google/Chrome")
    for profile, scale in (("Default", 3), ("Profile 1", 1), ("Profile 2", 0)):
        p = os.path.join(chrome, profile)
        m.fill(os.path.join(p, "Cache/Cache_Data"), 2000 * scale + 20)
        m.fill(os.path.join(p, "Code Cache/js"), 800 * scale + 10)
        m.fill(os.path.join(p, "Code Cache/wasm"), 100 * scale + 2)
        m.fill(os.path.join(p, "GPUCache"), 5)
        m.fill(os.path.join(p, "DawnWebGPUCache"), 5)
        m.fill(os.path.join(p, "Service Worker/CacheStorage"), 800 * scale + 5)
        m.fill(os.path.join(p, "Service Worker/ScriptCache"), 150 * scale + 5)
        m.fill(os.path.join(p, "Local Storage/leveldb"), 80)  # not a cache: never measured
        m.fill(os.path.join(p, "IndexedDB"), 200)
        m.file(os.path.join(p, "History"), 90000)
    m.fill(os.path.join(chrome, "OptGuideOnDeviceModel/2025.1.1"), 3, blobs=2)

    # The other leftover locations.
    for n, bundle_id in enumerate(installed[:4] + vanished[:4]):
        m.fill(os.path.join(lib, "Containers", bundle_id, "Data/Library/Caches"),
               m.rng.randint(100, 800))
    for name in ("ABCDE12345.com.acme.shared", "group.com.hooli.Sync"):
        m.fill(os.path.join(lib, "Group Containers", name), 30)
    for bundle_id in vanished[10:16]:
        m.fill(os.path.join(lib, "HTTPStorages", bundle_id), 5)
    for bundle_id in vanished[20:23]:
        m.fill(os.path.join(lib, "WebKit", bundle_id), 20)
    prefs = os.path.join(lib, "Preferences")
    os.makedirs(prefs)
    for bundle_id in ids + ["com.apple.dock", "com.apple.finder", ".GlobalPreferences"]:
        plist(os.path.join(prefs, bundle_id + ".plist"), {"LastRun": 1, "Name": bundle_id})
    state = os.path.join(lib, "Saved Application State")
    for bundle_id in installed[:5] + vanished[25:35]:
        m.fill(os.path.join(state, bundle_id + ".savedState"), 3)
    agents = os.path.join(lib, "LaunchAgents")
    os.makedirs(agents)
    for bundle_id, app in ((installed[2], "present"), (vanished[1], "gone"), (vanished[30], "gone")):
        name = bundle_id.split(".")[-1]
        if app == "present":
            program = "/Applications/%s2.app/Contents/MacOS/main" % name
        else:
            program = "/Applications/%s.app/Contents/MacOS/agent" % name
        plist(os.path.join(agents, bundle_id + ".agent.plist"),
              {"Label": bundle_id + ".agent", "ProgramArguments": [program, "--background"]})

    # Developer caches.
    m.fill(os.path.join(home, ".npm/_cacache/content-v2/sha512"), 12000, fanout=20)
    m.fill(os.path.join(home, ".npm/_cacache/index-v5"), 6000, fanout=20)
    m.fill(os.path.join(home, ".npm/_npx"), 600)
    m.fill(os.path.join(home, ".gradle/caches/modules-2/files-2.1"), 9000, blobs=3, fanout=10)
    m.fill(os.path.join(home, ".gradle/caches/transforms-3"), 5000)

    # Large files, and places they are not looked for.
    for folder, count in (("Downloads", 40), ("Movies", 5), ("Desktop", 12), ("Documents", 60)):
        m.fill(os.path.join(home, folder), count)
    for rel, gib in (("Downloads/installer-image.dmg", 3), ("Downloads/dataset.tar", 1),
                     ("Downloads/old/2019/backup.zip", 2), ("Movies/trip.mov", 4),
                     ("Movies/raw/clip-001.mov", 1), ("Desktop/render.mp4", 1),
                     ("Downloads/site/node_modules/blob.bin", 1),
                     ("Downloads/Tool.app/Contents/Resources/data.bin", 1),
                     ("Downloads/a/b/c/d/too-deep.iso", 2),
                     ("Documents/archive.iso", 2)):
        path = os.path.join(home, rel)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        m.sparse(path, gib << 30)

    return sum(len(d) + len(f) for _, d, f in os.walk(root)) + 1


APP_COUNT = 150
LARGE_APPS = 12  # bundles of thousands of files, as big editors and suites are
RELATED_NAMES = [("Application Support", ""), ("Caches", ""), ("Preferences", ".plist"),
                 ("Containers", ""), ("Saved Application State", ".savedState"),
                 ("HTTPStorages", ""), ("WebKit", ""), ("LaunchAgents", ".plist")]


def build_apps(root):
    """APP_COUNT application bundles, each with an Info.plist and a tree of resources, spread
    over /Applications (most), vendor folders in it, /Applications/Utilities and ~/Applications;
    a few large. Most apps keep folders and files named after their identifier in the home's
    Library; some keep nothing. Apps named after their folders in Library/Application Support
    (by name, not identifier) are not theirs and stay unlisted. No hard links: du's total over
    many trees and the sum of per-tree totals then agree."""
    rng = random.Random(SEED + 2)
    m = Maker(rng)
    home = os.path.join(root, "Users/me")
    lib = os.path.join(home, "Library")
    for folder, _ in RELATED_NAMES:
        os.makedirs(os.path.join(lib, folder), exist_ok=True)
    vendors = ["Vendor%d Suite" % v for v in range(6)]
    for n in range(APP_COUNT):
        name = "%s%03d" % (WORDS[n % len(WORDS)], n)
        ident = "com.bench%d.%s" % (n % 7, name.lower())
        r = n % 15
        if r == 0:
            parent = "Applications/Utilities"
        elif r == 1:
            parent = "Applications/" + vendors[n % len(vendors)]
        elif r == 2:
            parent = "Users/me/Applications"
        else:
            parent = "Applications"
        bundle = os.path.join(root, parent, name + ".app")
        contents = os.path.join(bundle, "Contents")
        os.makedirs(os.path.join(contents, "MacOS"))
        plist(os.path.join(contents, "Info.plist"),
              {"CFBundleIdentifier": ident, "CFBundleName": name})
        m.file(os.path.join(contents, "MacOS", name.lower()), rng.randint(64, 900) << 10)
        large = n % (APP_COUNT // LARGE_APPS) == 5
        m.fill(os.path.join(contents, "Resources"), rng.randint(6000, 12000) if large
               else m.files_count())
        if n % 5 == 4:
            continue  # an app that keeps nothing in the Library
        for folder, suffix in RELATED_NAMES:
            if rng.random() < 0.4:
                continue
            path = os.path.join(lib, folder, ident + suffix)
            if suffix == ".plist":
                plist(path, {"Label": ident, "LastWindow": "main"})
            else:
                m.fill(path, rng.randint(2000, 6000) if large and folder != "WebKit"
                       else rng.randint(2, 200))
        m.fill(os.path.join(lib, "Application Support", name), 20)  # by name: not the app's
    return sum(len(d) + len(f) for _, d, f in os.walk(root)) + 1


def main():
    parser = argparse.ArgumentParser(description="Builds a benchmark tree.")
    parser.add_argument("--shape", choices=["measure", "mac", "apps"], default="measure")
    parser.add_argument("root")
    args = parser.parse_args()
    root = args.root
    shutil.rmtree(root + ".partial", ignore_errors=True)
    builders = {"measure": build, "mac": build_mac, "apps": build_apps}
    entries = builders[args.shape](root + ".partial")
    os.rename(root + ".partial", root)  # a half-built tree is never mistaken for a finished one
    print("built %d entries in %s" % (entries, root))


if __name__ == "__main__":
    main()
