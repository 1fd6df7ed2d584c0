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
runs=${RUNS:-7}
bench_dir=${BENCH_DIR:-${TMPDIR:-/tmp}/dustwhale-bench-measure}
tree=$bench_dir/tree
build_dir=${BUILD_DIR:-$repo/build/release}
dustwhale=${DUSTWHALE:-$build_dir/src/dustwhale}

die() { echo "measure_bench: $*" >&2; exit 1; }

if [ ! -x /usr/bin/time ]; then
  DUSTWHALE_BENCH=1 "$repo/scripts/bootstrap"
fi
if [ ! -x "$dustwhale" ]; then
  [ -n "${DUSTWHALE:-}" ] && die "$dustwhale is not an executable"
  echo "building the release binary in $build_dir" >&2
  (cd "$repo" && cmake --preset release -B "$build_dir" >/dev/null &&
    cmake --build "$build_dir" -j2 --target dustwhale >/dev/null)
fi
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

# Microseconds of one run.
elapsed_us() {
  local start end
  start=$(date +%s%N)
  "$@" >/dev/null
  end=$(date +%s%N)
  echo $(((end - start) / 1000))
}
median() { tr ' ' '\n' | sed '/^$/d' | sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

# One warm-up of each, then the two alternate so that a busy moment of the machine falls on both.
du -sx --block-size=1 "$tree" >/dev/null
"$dustwhale" measure "$tree" >/dev/null
du_times="" dw_times=""
for _ in $(seq "$runs"); do
  du_times+=" $(elapsed_us du -sx --block-size=1 "$tree")"
  dw_times+=" $(elapsed_us "$dustwhale" measure "$tree")"
done
du_us=$(echo "$du_times" | median)
dw_us=$(echo "$dw_times" | median)
peak_kb=$(/usr/bin/time -v "$dustwhale" measure "$tree" 2>&1 >/dev/null |
  awk -F: '/Maximum resident set size/ { gsub(/ /, "", $2); print $2 }')

awk -v du="$du_us" -v dw="$dw_us" -v kb="$peak_kb" -v runs="$runs" 'BEGIN {
  printf "du -sx            median of %d: %8.3f s\n", runs, du / 1e6
  printf "dustwhale measure median of %d: %8.3f s\n", runs, dw / 1e6
  printf "ratio dustwhale/du: %.2f (target <= 1.20)\n", dw / du
  printf "dustwhale peak memory: %.1f MiB (target < 16 MiB)\n", kb / 1024
}'
