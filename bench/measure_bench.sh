#!/usr/bin/env bash
# Times `dustwhale measure` against `du -sx`, `ncdu -x -0 -o /dev/null` and `gdu -n -p -s` on a
# tree of about 300,000 entries, after checking that they report the same bytes. Prints each
# median, the ratio to du and dustwhale's peak memory.
#
#   bench/measure_bench.sh            # 7 timed runs of each after one warm-up
#   RUNS=11 bench/measure_bench.sh
#
# The tree lives outside the repository (BENCH_DIR, default ${TMPDIR:-/tmp}/dustwhale-bench-measure)
# and is reused; delete that folder to build it again. The release binary is built in
# BUILD_DIR (default build/release) when it is missing; DUSTWHALE=/path/to/dustwhale skips that.
set -euo pipefail

repo=$(cd "$(dirname "$0")/.." && pwd)
name=measure_bench
bench_dir=${BENCH_DIR:-${TMPDIR:-/tmp}/dustwhale-bench-measure}
tree=$bench_dir/tree
# shellcheck source=bench/common.sh
source "$repo/bench/common.sh"

if [ ! -d "$tree" ]; then
  echo "building the tree in $tree (about a minute)" >&2
  python3 "$repo/bench/make_measure_tree.py" "$tree" >&2
fi

entries=$(find "$tree" | wc -l)
expected=$(du -sx --block-size=1 "$tree" | cut -f1)
got=$("$dustwhale" measure "$tree" | cut -f1)
if [ "$got" != "$expected" ]; then
  die "MISMATCH: dustwhale measured $got bytes, du -sx $expected bytes on $tree"
fi
echo "tree: $entries entries, $expected bytes (dustwhale and du agree)"
# The other tools, checked too: gdu prints its total as a plain number; ncdu's export lists every
# entry's disk size with the inode of each hard-linked one.
if command -v gdu >/dev/null; then
  gdu_bytes=$(gdu -n -p -s --no-prefix -x "$tree" | awk '{ print $1 }')
  [ "$gdu_bytes" = "$expected" ] || echo "note: gdu reports $gdu_bytes bytes" >&2
fi
if command -v ncdu >/dev/null; then
  ncdu_bytes=$(ncdu -x -0 -o - "$tree" | python3 -c '
import json, sys
seen, total = set(), 0
def walk(node):
    global total
    if isinstance(node, list):
        walk(node[0])
        for child in node[1:]:
            walk(child)
        return
    if node.get("hlnkc"):
        if node["ino"] in seen:
            return
        seen.add(node["ino"])
    total += node.get("dsize", 0)
walk(json.load(sys.stdin)[3])
print(total)')
  [ "$ncdu_bytes" = "$expected" ] || echo "note: ncdu reports $ncdu_bytes bytes" >&2
fi

du_run() { du -sx --block-size=1 "$tree"; }
ncdu_run() { ncdu -x -0 -o /dev/null "$tree"; }
gdu_run() { gdu -n -p -s "$tree"; }
dustwhale_run() { "$dustwhale" measure "$tree"; }
tools=(du_run dustwhale_run)
command -v ncdu >/dev/null && tools+=(ncdu_run)
command -v gdu >/dev/null && tools+=(gdu_run)
wait_for_quiet
load_before=$(load1)
time_all "${tools[@]}"
peak_kb=$(peak_kib "$dustwhale" measure "$tree")

for t in "${tools[@]}"; do
  awk -v t="${t%_run}" -v us="${median_us[$t]}" -v du="${median_us[du_run]}" -v runs="$runs" \
    'BEGIN { printf "%-10s median of %d: %8.3f s  (%.2f x du)\n", t, runs, us / 1e6, us / du }'
done
awk -v du="${median_us[du_run]}" -v dw="${median_us[dustwhale_run]}" -v kb="$peak_kb" \
  -v l0="$load_before" -v l1="$(load1)" 'BEGIN {
  printf "ratio dustwhale/du: %.2f (target <= 0.75)\n", dw / du
  printf "dustwhale peak memory: %.1f MiB (target < 32 MiB)\n", kb / 1024
  printf "load average before/after: %s / %s\n", l0, l1
}'
