#!/usr/bin/env python3
"""Builds the duplicate benchmark's home folder: Downloads, Movies, Music and Pictures holding
about 1,500 files of 1-8 MiB (about 3.4 GiB of real bytes), fixed by a seed.

- originals of varied sizes, mostly near 1-3 MiB, in nested folders;
- about a third of them with one to three identical copies elsewhere in the four folders;
- sets of same-size files with different contents;
- sets that share the first and last 64 KiB and differ only in the middle;
- many small files (up to 64 KiB, all different), which every tool lists and no one reads.

No hidden entries, links or project folders: the reference tools would treat those their own
way. Every small file is unique, so the 1 MiB floor does not change the answer either.

    make_duplicates_tree.py HOME [--seed N]
"""
import argparse
import os
import random

MIB = 1024 * 1024
SAMPLE = 64 * 1024
FOLDERS = ["Downloads", "Movies", "Music", "Pictures"]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("home")
    parser.add_argument("--seed", type=int, default=20261122)
    args = parser.parse_args()
    rng = random.Random(args.seed)
    home = args.home

    subfolders = []
    for top in FOLDERS:
        for i in range(12):
            depth = rng.randint(0, 3)
            parts = [top] + [f"set{i}-{d}" for d in range(depth)]
            subfolders.append(os.path.join(*parts))
    for folder in subfolders:
        os.makedirs(os.path.join(home, folder), exist_ok=True)

    counter = [0]

    def place(extension):
        counter[0] += 1
        folder = rng.choice(subfolders)
        return os.path.join(home, folder, f"item{counter[0]:05d}.{extension}")

    def write(path, data):
        with open(path, "wb") as f:
            f.write(data)

    def size_between_1_and_8_mib():
        # Mostly small: 8 ** (u ** 2.2) MiB averages about 2.2 MiB.
        return int(MIB * 8 ** (rng.random() ** 2.2)) + rng.randint(0, 4095)

    total = 0
    files = 0
    # Originals, a third of them with copies.
    for _ in range(760):
        size = size_between_1_and_8_mib()
        data = rng.randbytes(size)
        ext = rng.choice(["mov", "jpg", "mp3", "zip", "pdf"])
        write(place(ext), data)
        total += size
        files += 1
        if rng.random() < 0.34:
            for _ in range(rng.randint(1, 3)):
                write(place(ext), data)
                total += size
                files += 1
    # Same size, different content.
    for _ in range(60):
        size = size_between_1_and_8_mib()
        for _ in range(rng.randint(2, 3)):
            write(place("bin"), rng.randbytes(size))
            total += size
            files += 1
    # Same first and last 64 KiB, different middle; one of each set also has a copy.
    for _ in range(30):
        size = size_between_1_and_8_mib()
        head, tail = rng.randbytes(SAMPLE), rng.randbytes(SAMPLE)
        middle_size = size - 2 * SAMPLE
        variants = [head + rng.randbytes(middle_size) + tail for _ in range(rng.randint(2, 3))]
        for data in variants:
            write(place("dat"), data)
            total += size
            files += 1
        write(place("dat"), variants[0])
        total += size
        files += 1
    # Small files that are listed and never read.
    for _ in range(4000):
        size = rng.randint(1, 64 * 1024)
        write(place("txt"), rng.randbytes(size))
        total += size
    print(f"{files} files of 1 MiB or more, {total / 2**30:.2f} GiB in all")


if __name__ == "__main__":
    main()
