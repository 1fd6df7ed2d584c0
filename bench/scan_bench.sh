#!/usr/bin/env bash
# Times `dustwhale scan` on a Mac-shaped root of about 300,000 entries against one `du -sx` over
# exactly the places the scan walks (listed by scanned_places.py), after checking that the scan
# sizes two chosen caches as du does. Prints each median, their ratio and the scan's peak memory.
#
#   bench/scan_bench.sh               # 7 timed runs of each after one warm-up
#   RUNS=11 bench/scan_bench.sh
#
# The tree lives outside the repository (BENCH_DIR, default ${TMPDIR:-/tmp}/dustwhale-bench-scan)
# and is reused; delete that folder to build it again. The release binary is built in
# BUILD_DIR (default build/release) when it is missing; DUSTWHALE=/path/to/dustwhale skips that.
# Timing waits (up to LOAD_WAIT seconds, default 600) for the 1-minute load average to fall to
# MAX_LOAD (default 0.7), since both tools use every core.
set -euo pipefail

repo=$(cd "$(dirname "$0")/.." && pwd)
name=scan_bench
bench_dir=${BENCH_DIR:-${TMPDIR:-/tmp}/dustwhale-bench-scan}
root=$bench_dir/tree
home=$root/Users/me
# shellcheck source=bench/common.sh
source "$repo/bench/common.sh"

if [ ! -d "$root" ]; then
  echo "building the tree in $root (about a minute)" >&2
  python3 "$repo/bench/make_measure_tree.py" --shape mac "$root" >&2
fi

scan() { "$dustwhale" scan --root "$root" --home "$home" --layout macos --json; }
python3 "$repo/bench/scanned_places.py" "$root" "$home" >"$bench_dir/places.txt"
mapfile -t places <"$bench_dir/places.txt"
[ "${#places[@]}" -gt 0 ] || die "no places to measure under $home"

# The scan's answer must match du's where the two can be compared: the two chosen caches byte
# for byte, and the leftover paths the scan reports against those the list derived.
json=$bench_dir/scan.json
scan >"$json"
checked=$(cd "$repo/bench" && python3 -c 'import make_measure_tree as t; print(t.BIG_CACHE, t.SHARED_CACHE)')
for name in $checked; do
  path=$home/Library/Caches/$name
  expected=$(du -sx --block-size=1 "$path" | cut -f1)
  grep -qxF "$path" "$bench_dir/places.txt" || die "$path is missing from the du list"
  python3 - "$json" "$path" "$expected" <<'EOF' || exit 1
import json, sys
findings, path, expected = json.load(open(sys.argv[1]))["findings"], sys.argv[2], int(sys.argv[3])
got = [f["bytes"] for f in findings if f["kind"] == "cache" and f["id"] == path]
if got != [expected]:
    sys.exit("scan_bench: MISMATCH: the scan sized %s as %s, du -sx as %d" % (path, got, expected))
print("%s: %d bytes (dustwhale and du agree)" % (path, expected))
EOF
done
python3 - "$json" "$bench_dir/places.txt" "$home" <<'EOF' || exit 1
import json, sys
findings, home = json.load(open(sys.argv[1]))["findings"], sys.argv[3]
listed = set(open(sys.argv[2]).read().splitlines())
reported = {p for f in findings for p in f["leftoverPaths"]}
# Removed apps' caches are listed as caches; every other Library entry listed is a leftover.
others = {p for p in listed if p.startswith(home + "/Library/")
          and not p.startswith(home + "/Library/Caches/") and "/Google/Chrome/" not in p}
if not reported <= listed or others - reported:
    sys.exit("scan_bench: MISMATCH: leftover paths only the scan has: %s; only the list has: %s"
             % (sorted(reported - listed)[:3], sorted(others - reported)[:3]))
EOF
entries=$(find "$home" | wc -l)
echo "home: $entries entries; du is given ${#places[@]} places"

reference() { du -sx --block-size=1 "${places[@]}"; }
ours() { scan; }
wait_for_quiet
load_before=$(load1)
time_both
load_after=$(load1)
du_us=$ref_us dw_us=$our_us
peak_kb=$(peak_kib "$dustwhale" scan --root "$root" --home "$home" --layout macos --json)

awk -v du="$du_us" -v dw="$dw_us" -v kb="$peak_kb" -v runs="$runs" \
  -v before="$load_before" -v after="$load_after" 'BEGIN {
  printf "du -sx (one call) median of %d: %8.3f s\n", runs, du / 1e6
  printf "dustwhale scan    median of %d: %8.3f s\n", runs, dw / 1e6
  printf "ratio scan/du: %.2f (target <= 0.85)\n", dw / du
  printf "dustwhale peak memory: %.1f MiB\n", kb / 1024
  printf "1-minute load average: %s before, %s after\n", before, after
}'
