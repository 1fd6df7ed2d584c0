#!/usr/bin/env python3
"""Builds the deterministic tree that bench/measure_bench.sh measures.

About 300,000 entries: nested folders, small files of varied sizes, hard links (within one
folder and across folders), symbolic links (some dangling, some with targets long enough to
need a block of their own) and a few sparse files. The same seed always gives the same tree.
"""
import os
import random
import shutil
import sys

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


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: make_measure_tree.py ROOT")
    root = sys.argv[1]
    shutil.rmtree(root + ".partial", ignore_errors=True)
    entries = build(root + ".partial")
    os.rename(root + ".partial", root)  # a half-built tree is never mistaken for a finished one
    print("built %d entries in %s" % (entries, root))


if __name__ == "__main__":
    main()
