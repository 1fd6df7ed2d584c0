#!/usr/bin/env bash
# Times `dustwhale space-map` in its two forms, side by side in one run:
#  - the quick map (three levels walked) against the same pruned walk done by
#    `find HOME -xdev -maxdepth 3 -printf '%b\n'`, on the measure benchmark's tree placed as a
#    home folder (about 300,000 entries) and on a small home (about 5,000 entries within three
#    levels, where starting the program weighs most);
#  - the full map (`--full`: the whole home walked once, each folder counting everything in it)
#    against `du -sx` of the same tree, and `gdu -n` where it is installed.
# Checks first that the quick map's total is the pruned find's and the full map's is du's, and
# every top-level folder's too (hard links once).
#
#   bench/space_map_bench.sh
#
# BENCH_DIR, RUNS, BUILD_DIR and DUSTWHALE work as for measure_bench.sh (the same tree); the
# small home is built beside it.
set -euo pipefail

repo=$(cd "$(dirname "$0")/.." && pwd)
name=space_map_bench
bench_dir=${BENCH_DIR:-${TMPDIR:-/tmp}/dustwhale-bench-measure}
home=$bench_dir/tree
small=$bench_dir/small-home
# shellcheck source=bench/common.sh
source "$repo/bench/common.sh"

if [ ! -d "$home" ]; then
  echo "building the tree in $home (about a minute)" >&2
  python3 "$repo/bench/make_measure_tree.py" "$home" >&2
fi
if [ ! -d "$small" ]; then
  # 12 folders of 20 folders of 20 files (and a folder in each): about 5,300 entries within
  # three levels, and a little below them for the walks that go deeper.
  python3 - "$small" <<'PY'
import os, sys
root = sys.argv[1]
for a in range(12):
    for b in range(20):
        folder = os.path.join(root, f"folder{a}", f"sub{b}")
        os.makedirs(folder, exist_ok=True)
        for c in range(20):
            with open(os.path.join(folder, f"file{c}"), "wb") as f:
                f.write(b"x" * ((a * 400 + b * 20 + c) * 37 % 20000))
        deeper = os.path.join(folder, "file0.d", "more")
        os.makedirs(deeper, exist_ok=True)
        with open(os.path.join(deeper, "below"), "wb") as f:
            f.write(b"y" * 5000)
PY
fi

map_bytes() {
  "$dustwhale" space-map --home "$1" --layout macos --depth 0 --json "${@:2}" 2>/dev/null |
    awk -F': ' '/"bytes"/ { gsub(/,/, "", $2); print $2; exit }'
}
pruned_find_bytes() {
  find "$1" -xdev -maxdepth 3 -printf '%b %n %i %y\n' |
    awk '{ if ($4 != "d" && $2 > 1 && seen[$3]++) next; total += $1 * 512 } END { printf "%d\n", total }'
}
for tree in "$home" "$small"; do
  expected=$(pruned_find_bytes "$tree")
  got=$(map_bytes "$tree")
  [ "$got" = "$expected" ] ||
    die "MISMATCH: the quick map counted $got bytes, the pruned find $expected bytes in $tree"
  expected=$(du -B1 -sx "$tree" | cut -f1)
  got=$(map_bytes "$tree" --full)
  [ "$got" = "$expected" ] ||
    die "MISMATCH: the full map counted $got bytes, du -sx $expected bytes in $tree"
  echo "$tree: $(find "$tree" -xdev -maxdepth 3 | wc -l) entries within three levels," \
    "$(find "$tree" -xdev | wc -l) in all; $expected bytes (the maps agree with find and du)"
done
# Every top-level folder of the big tree: the full map's node against du of one walk (-d 1).
"$dustwhale" space-map --home "$home" --layout macos --depth 1 --full --json 2>/dev/null |
  python3 -c '
import json, subprocess, sys
tree = json.load(sys.stdin)
du = {}
for line in subprocess.run(["du", "-B1", "-x", "-d", "1", tree["path"]], capture_output=True,
                           text=True, check=True).stdout.splitlines():
    size, path = line.split("\t", 1)
    du[path] = int(size)
bad = [c["path"] for c in tree["children"] if c["name"] != "Other" and du.get(c["path"]) != c["bytes"]]
if bad:
    sys.exit("MISMATCH: full sizes differ from du for " + ", ".join(bad))
' || die "the full map's folders differ from du"

find_big() { find "$home" -xdev -maxdepth 3 -printf '%b\n'; }
quick_big() { "$dustwhale" space-map --home "$home" --layout macos 2>/dev/null; }
find_small() { find "$small" -xdev -maxdepth 3 -printf '%b\n'; }
quick_small() { "$dustwhale" space-map --home "$small" --layout macos 2>/dev/null; }
du_big() { du -sx "$home"; }
full_big() { "$dustwhale" space-map --home "$home" --layout macos --full 2>/dev/null; }
gdu_big() { gdu -n -p "$home"; }
tools=(find_big quick_big find_small quick_small du_big full_big)
command -v gdu >/dev/null && tools+=(gdu_big)
wait_for_quiet
load_before=$(load1)
time_all "${tools[@]}"
peak_quick=$(peak_kib "$dustwhale" space-map --home "$home" --layout macos)
peak_full=$(peak_kib "$dustwhale" space-map --home "$home" --layout macos --full)

for t in "${tools[@]}"; do
  awk -v t="$t" -v us="${median_us[$t]}" -v runs="$runs" \
    'BEGIN { printf "%-12s median of %d: %8.3f s\n", t, runs, us / 1e6 }'
done
ratio() { awk -v a="${median_us[$1]}" -v b="${median_us[$2]}" 'BEGIN { printf "%.2f", a / b }'; }
echo "quick map / find -maxdepth 3, 300,000-entry tree: $(ratio quick_big find_big) (target <= 1.00)"
echo "quick map / find -maxdepth 3, small home:         $(ratio quick_small find_small) (target <= 1.00)"
echo "space-map --full / du -sx, 300,000-entry tree:    $(ratio full_big du_big) (target <= 0.50)"
command -v gdu >/dev/null && echo "space-map --full / gdu -n:                        $(ratio full_big gdu_big)"
awk -v q="$peak_quick" -v f="$peak_full" -v l0="$load_before" -v l1="$(load1)" 'BEGIN {
  printf "peak memory: quick %.1f MiB, full %.1f MiB (target < 32 MiB)\n", q / 1024, f / 1024
  printf "load average before/after: %s / %s\n", l0, l1
}'
