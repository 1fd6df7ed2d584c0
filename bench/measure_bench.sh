#!/usr/bin/env bash
# Times `dustwhale measure` against `du -sx` on a tree of about 300,000 entries, after checking
# that both report the same bytes. Prints each median, their ratio and dustwhale's peak memory.
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

reference() { du -sx --block-size=1 "$tree"; }
ours() { "$dustwhale" measure "$tree"; }
wait_for_quiet
time_both
du_us=$ref_us dw_us=$our_us
peak_kb=$(peak_kib "$dustwhale" measure "$tree")

awk -v du="$du_us" -v dw="$dw_us" -v kb="$peak_kb" -v runs="$runs" 'BEGIN {
  printf "du -sx            median of %d: %8.3f s\n", runs, du / 1e6
  printf "dustwhale measure median of %d: %8.3f s\n", runs, dw / 1e6
  printf "ratio dustwhale/du: %.2f (target <= 1.20)\n", dw / du
  printf "dustwhale peak memory: %.1f MiB (target < 16 MiB)\n", kb / 1024
}'
