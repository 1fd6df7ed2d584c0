#!/usr/bin/env python3
"""Reads the duplicate groups each tool reports and checks that they agree.

    duplicate_groups.py DUSTWHALE_JSON JDUPES_OUT RDFIND_RESULTS FDUPES_OUT

jdupes and fdupes print groups of paths separated by blank lines; rdfind writes a results file
whose lines carry an id (negative for the copies of the file with that id), a size and the path
last. A group is compared as the set of its paths; the wasted bytes of a group are its size
times (copies - 1). Prints one line per tool and exits 1 when any differs from dustwhale.
"""
import json
import os
import sys


def from_dustwhale(path):
    with open(path) as f:
        data = json.load(f)
    return {frozenset(x["path"] for x in g["files"]) for g in data["groups"]}


def from_blank_separated(path):
    groups, current = set(), []
    with open(path) as f:
        for line in f:
            line = line.rstrip("\n")
            if line:
                current.append(line)
            elif current:
                groups.add(frozenset(current))
                current = []
    if current:
        groups.add(frozenset(current))
    return groups


def from_rdfind(path):
    by_id = {}
    with open(path) as f:
        for line in f:
            if line.startswith("#"):
                continue
            fields = line.rstrip("\n").split(" ", 7)
            if len(fields) < 8:
                continue
            by_id.setdefault(abs(int(fields[1])), set()).add(fields[7])
    return {frozenset(g) for g in by_id.values() if len(g) > 1}


def wasted(groups):
    return sum(os.path.getsize(next(iter(g))) * (len(g) - 1) for g in groups)


def main():
    ours = from_dustwhale(sys.argv[1])
    others = {
        "jdupes": from_blank_separated(sys.argv[2]),
        "rdfind": from_rdfind(sys.argv[3]),
        "fdupes": from_blank_separated(sys.argv[4]),
    }
    print(f"dustwhale: {len(ours)} groups, {sum(map(len, ours))} files, "
          f"{wasted(ours)} bytes in extra copies")
    same = True
    for name, groups in others.items():
        agree = groups == ours
        same = same and agree
        print(f"{name:9}: {len(groups)} groups, {sum(map(len, groups))} files, "
              f"{wasted(groups)} bytes in extra copies{'' if agree else '  MISMATCH'}")
        if not agree:
            for g in sorted(groups - ours, key=sorted)[:3]:
                print(f"  only {name}: {sorted(g)}")
            for g in sorted(ours - groups, key=sorted)[:3]:
                print(f"  only dustwhale: {sorted(g)}")
    sys.exit(0 if same else 1)


if __name__ == "__main__":
    main()
