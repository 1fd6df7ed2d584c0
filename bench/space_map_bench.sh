#!/usr/bin/env bash
# Times `dustwhale space-map` on the measure benchmark's tree placed as a home folder against
# the same pruned walk done by `find HOME -xdev -maxdepth 3 -printf '%b\n'`, and against
# `du -x -d 3` and `gdu -n`, which walk everything. Checks first that the map's total is the
# pruned find's (hard links once).
#
#   bench/space_map_bench.sh
#
# BENCH_DIR, RUNS, BUILD_DIR and DUSTWHALE work as for measure_bench.sh (the same tree).
set -euo pipefail

repo=$(cd "$(dirname "$0")/.." && pwd)
name=space_map_bench
bench_dir=${BENCH_DIR:-${TMPDIR:-/tmp}/dustwhale-bench-measure}
home=$bench_dir/tree
# shellcheck source=bench/common.sh
source "$repo/bench/common.sh"

if [ ! -d "$home" ]; then
  echo "building the tree in $home (about a minute)" >&2
  python3 "$repo/bench/make_measure_tree.py" "$home" >&2
fi

within=$(find "$home" -xdev -maxdepth 3 | wc -l)
expected=$(find "$home" -xdev -maxdepth 3 -printf '%b %n %i %y\n' |
  awk '{ if ($4 != "d" && $2 > 1 && seen[$3]++) next; total += $1 * 512 } END { printf "%d\n", total }')
got=$("$dustwhale" space-map --home "$home" --layout macos --depth 0 --json 2>/dev/null |
  awk -F': ' '/"bytes"/ { gsub(/,/, "", $2); print $2; exit }')
if [ "$got" != "$expected" ]; then
  die "MISMATCH: the space map counted $got bytes, the pruned find $expected bytes in $home"
fi
echo "home: $within entries within three levels, $expected bytes (the map and find agree)"

find_run() { find "$home" -xdev -maxdepth 3 -printf '%b\n'; }
du_run() { du -x -d 3 "$home"; }
gdu_run() { gdu -n -p "$home"; }
dustwhale_run() { "$dustwhale" space-map --home "$home" --layout macos 2>/dev/null; }
tools=(find_run dustwhale_run du_run)
command -v gdu >/dev/null && tools+=(gdu_run)
wait_for_quiet
load_before=$(load1)
time_all "${tools[@]}"
peak_kb=$(peak_kib "$dustwhale" space-map --home "$home" --layout macos 2>/dev/null)

for t in "${tools[@]}"; do
  awk -v t="${t%_run}" -v us="${median_us[$t]}" -v f="${median_us[find_run]}" -v runs="$runs" \
    'BEGIN { printf "%-10s median of %d: %8.3f s  (%.2f x find)\n", t, runs, us / 1e6, us / f }'
done
awk -v f="${median_us[find_run]}" -v dw="${median_us[dustwhale_run]}" -v kb="$peak_kb" \
  -v l0="$load_before" -v l1="$(load1)" 'BEGIN {
  printf "ratio dustwhale/find: %.2f (target <= 1.00)\n", dw / f
  printf "dustwhale peak memory: %.1f MiB (target < 32 MiB)\n", kb / 1024
  printf "load average before/after: %s / %s\n", l0, l1
}'
