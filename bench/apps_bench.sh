#!/usr/bin/env bash
# Times `dustwhale apps` on a root of 150 application bundles (some large) with the folders they
# keep in the home's Library, against one `du -sx` over exactly the same bundles and items
# (listed by app_places.py), after checking that the two agree on the places and the total.
# Prints each median, their ratio and the listing's peak memory.
#
#   bench/apps_bench.sh               # 7 timed runs of each after one warm-up
#   RUNS=11 bench/apps_bench.sh
#
# The tree lives outside the repository (BENCH_DIR, default ${TMPDIR:-/tmp}/dustwhale-bench-apps)
# and is reused; delete that folder to build it again. BUILD_DIR, DUSTWHALE, MAX_LOAD and
# LOAD_WAIT work as for the other benchmarks (see bench/README.md).
set -euo pipefail

repo=$(cd "$(dirname "$0")/.." && pwd)
name=apps_bench
bench_dir=${BENCH_DIR:-${TMPDIR:-/tmp}/dustwhale-bench-apps}
root=$bench_dir/tree
home=$root/Users/me
# shellcheck source=bench/common.sh
source "$repo/bench/common.sh"

if [ ! -d "$root" ]; then
  echo "building the tree in $root (about half a minute)" >&2
  python3 "$repo/bench/make_measure_tree.py" --shape apps "$root" >&2
fi

apps() { "$dustwhale" apps --root "$root" --home "$home" --layout macos --json; }
python3 "$repo/bench/app_places.py" "$root" "$home" >"$bench_dir/places.txt"
mapfile -t places <"$bench_dir/places.txt"
[ "${#places[@]}" -gt 0 ] || die "no bundles under $root"

# The same places, and the same total: the sum of every app's bundle and related bytes is what
# du counts over all of them (the tree has no hard links between places).
json=$bench_dir/apps.json
apps >"$json"
du_total=$(du -sx --block-size=1 -c "${places[@]}" | tail -1 | cut -f1)
python3 - "$json" "$bench_dir/places.txt" "$du_total" <<'PY' || exit 1
import json, sys
apps, listed, du_total = json.load(open(sys.argv[1])), open(sys.argv[2]).read().splitlines(), int(sys.argv[3])
ours = [p for a in apps for p in [a["bundlePath"]] + a["related"]]
if sorted(ours) != sorted(listed):
    sys.exit("apps_bench: MISMATCH: places only dustwhale lists: %s; only the list has: %s"
             % (sorted(set(ours) - set(listed))[:3], sorted(set(listed) - set(ours))[:3]))
total = sum(a["bundleBytes"] + a["relatedBytes"] for a in apps)
if total != du_total:
    sys.exit("apps_bench: MISMATCH: dustwhale's apps total %d bytes, du -sx %d" % (total, du_total))
print("%d apps, %d places: %d bytes (dustwhale and du agree)" % (len(apps), len(ours), total))
PY
entries=$(find "$root" | wc -l)
echo "root: $entries entries"

reference() { du -sx --block-size=1 "${places[@]}"; }
ours() { apps; }
wait_for_quiet
load_before=$(load1)
time_both
load_after=$(load1)
peak_kb=$(peak_kib "$dustwhale" apps --root "$root" --home "$home" --layout macos --json)

awk -v du="$ref_us" -v dw="$our_us" -v kb="$peak_kb" -v runs="$runs" \
  -v before="$load_before" -v after="$load_after" 'BEGIN {
  printf "du -sx (one call) median of %d: %8.3f s\n", runs, du / 1e6
  printf "dustwhale apps    median of %d: %8.3f s\n", runs, dw / 1e6
  printf "ratio apps/du: %.2f (target <= 0.8)\n", dw / du
  printf "dustwhale apps peak memory: %.1f MiB\n", kb / 1024
  printf "load average before %s, after %s\n", before, after
}'
