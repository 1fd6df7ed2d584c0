#!/usr/bin/env bash
# Times `dustwhale duplicates --json` against jdupes, rdfind and fdupes on a home of about 1,500
# files of 1-8 MiB (about 3.4 GiB), after checking that all four report the same groups and
# wasted bytes. Prints each median, each ratio, dustwhale's peak memory, and two floors: one
# thread reading every candidate byte (cat), and one thread hashing them with SHA-256 (openssl).
#
#   bench/duplicates_bench.sh            # 7 timed runs of each after one warm-up
#   RUNS=11 bench/duplicates_bench.sh
#
# The home lives outside the repository (BENCH_DIR, default ${TMPDIR:-/tmp}/dustwhale-bench-dups)
# and is reused; delete that folder to build it again. BUILD_DIR, DUSTWHALE, MAX_LOAD and
# LOAD_WAIT work as for the other benchmarks.
set -euo pipefail

repo=$(cd "$(dirname "$0")/.." && pwd)
name=duplicates_bench
bench_dir=${BENCH_DIR:-${TMPDIR:-/tmp}/dustwhale-bench-dups}
home=$bench_dir/home
# shellcheck source=bench/common.sh
source "$repo/bench/common.sh"

for tool in jdupes rdfind fdupes openssl; do
  command -v "$tool" >/dev/null || DUSTWHALE_BENCH=1 "$repo/scripts/bootstrap"
done

if [ ! -d "$home" ]; then
  echo "building the home in $home (about half a minute)" >&2
  python3 "$repo/bench/make_duplicates_tree.py" "$home" >&2
fi
folders=("$home/Downloads" "$home/Movies" "$home/Music" "$home/Pictures")
candidates=$bench_dir/candidates
find "${folders[@]}" -type f -size +1048575c -print0 >"$candidates"
count=$(tr -cd '\0' <"$candidates" | wc -c)
bytes=$(xargs -0 stat -c %s <"$candidates" | awk '{ s += $1 } END { print s }')
echo "home: $count candidate files of 1 MiB or more, $(awk -v b="$bytes" 'BEGIN { printf "%.2f", b / 2^30 }') GiB"

# The same answer first.
out=$bench_dir/out
mkdir -p "$out"
"$dustwhale" duplicates --home "$home" --layout macos --json >"$out/dustwhale.json"
jdupes -q -r "${folders[@]}" >"$out/jdupes.txt"
(cd "$out" && rdfind -outputname "$out/rdfind.txt" "${folders[@]}" >/dev/null)
fdupes -q -r "${folders[@]}" >"$out/fdupes.txt"
python3 "$repo/bench/duplicate_groups.py" "$out/dustwhale.json" "$out/jdupes.txt" \
  "$out/rdfind.txt" "$out/fdupes.txt" || die "MISMATCH: the tools do not report the same groups"

run_dustwhale() { "$dustwhale" duplicates --home "$home" --layout macos --json; }
run_jdupes() { jdupes -q -r "${folders[@]}"; }
run_rdfind() { (cd "$out" && rdfind -makeresultsfile false "${folders[@]}"); }
run_fdupes() { fdupes -q -r "${folders[@]}"; }
run_read() { xargs -0 cat <"$candidates"; }
run_hash() { xargs -0 openssl dgst -sha256 <"$candidates"; }
tools=(dustwhale jdupes rdfind fdupes read hash)

wait_for_quiet
load_before=$(load1)
declare -A times
for t in "${tools[@]}"; do
  "run_$t" >/dev/null  # warm-up
  times[$t]=""
done
for _ in $(seq "$runs"); do
  for t in "${tools[@]}"; do
    times[$t]+=" $(elapsed_us "run_$t")"
  done
done
load_after=$(load1)
declare -A med
for t in "${tools[@]}"; do
  med[$t]=$(echo "${times[$t]}" | median)
done
peak_kb=$(peak_kib "$dustwhale" duplicates --home "$home" --layout macos --json)

awk -v dw="${med[dustwhale]}" -v jd="${med[jdupes]}" -v rd="${med[rdfind]}" \
  -v fd="${med[fdupes]}" -v rf="${med[read]}" -v hf="${med[hash]}" -v kb="$peak_kb" \
  -v runs="$runs" -v lb="$load_before" -v la="$load_after" 'BEGIN {
  printf "medians of %d runs on a warm cache:\n", runs
  printf "  dustwhale duplicates %8.3f s\n", dw / 1e6
  printf "  jdupes -r            %8.3f s   dustwhale/jdupes %.2f (target <= 0.80)\n", jd / 1e6, dw / jd
  printf "  rdfind               %8.3f s   dustwhale/rdfind %.2f\n", rd / 1e6, dw / rd
  printf "  fdupes -r            %8.3f s   dustwhale/fdupes %.2f\n", fd / 1e6, dw / fd
  printf "  floor: read every candidate byte, one thread     %8.3f s\n", rf / 1e6
  printf "  floor: SHA-256 of every candidate, one thread    %8.3f s\n", hf / 1e6
  printf "dustwhale peak memory: %.1f MiB (target < 64 MiB)\n", kb / 1024
  printf "load average: %s before, %s after\n", lb, la
}'
