#!/usr/bin/env bash
# Times `dustwhale duplicates --share --yes` against `jdupes -B -r` and `duperemove -dr` on a
# loop-mounted Btrfs image holding the duplicates benchmark's home (about 1,500 files of 1-8 MiB,
# 3.4 GiB). Every run of every tool gets a fresh copy of the data (written with no shared blocks,
# synced, and, with CACHE=cold, the page cache dropped), and the file system's free space is read
# before and after it (after a sync: Btrfs frees shared blocks at its commit). Every timed run
# includes that commit: dustwhale syncs to measure what it freed, the others are followed by one. Prints each
# median time, the ratios to the faster reference, and what each freed. Needs root (the loop
# mount).
#
#   bench/share_bench.sh                  # 3 runs of each, cold cache
#   RUNS=5 CACHE=warm bench/share_bench.sh
#
# The source home and the image live outside the repository (BENCH_DIR, default
# ${TMPDIR:-/tmp}/dustwhale-bench-share); the source home is reused, the image is made anew.
# BUILD_DIR, DUSTWHALE, MAX_LOAD and LOAD_WAIT work as for the other benchmarks.
set -euo pipefail

repo=$(cd "$(dirname "$0")/.." && pwd)
name=share_bench
bench_dir=${BENCH_DIR:-${TMPDIR:-/tmp}/dustwhale-bench-share}
source_home=$bench_dir/home
image=$bench_dir/btrfs.img
mnt=$bench_dir/mnt
cache=${CACHE:-cold}
RUNS=${RUNS:-3}
# shellcheck source=bench/common.sh
source "$repo/bench/common.sh"

[ "$(id -u)" -eq 0 ] || die "needs root: it loop-mounts a Btrfs image"
for tool in jdupes duperemove mkfs.btrfs; do
  command -v "$tool" >/dev/null || DUSTWHALE_BENCH=1 "$repo/scripts/bootstrap"
done

mkdir -p "$bench_dir"
if [ ! -d "$source_home" ]; then
  echo "building the home in $source_home (about half a minute)" >&2
  python3 "$repo/bench/make_duplicates_tree.py" "$source_home" >&2
fi

# A fresh Btrfs image, sparse: room for one copy of the data at a time and its metadata.
mkdir -p "$mnt"
if mountpoint -q "$mnt"; then umount "$mnt"; fi
truncate -s 0 "$image"
truncate -s 12G "$image"
mkfs.btrfs -q -f "$image" >/dev/null
mount -o loop "$image" "$mnt"
cleanup() { umount "$mnt" 2>/dev/null || true; }
trap cleanup EXIT

# Our log and settings go to a home of the benchmark's own, never the user's.
export HOME=$bench_dir/user XDG_DATA_HOME=$bench_dir/user/.local/share \
  XDG_CONFIG_HOME=$bench_dir/user/.config
mkdir -p "$XDG_DATA_HOME" "$XDG_CONFIG_HOME"

work=$mnt/work
folders=("$work/Downloads" "$work/Movies" "$work/Music" "$work/Pictures")
free_bytes() {
  sync -f "$mnt"
  df -B1 --output=avail "$mnt" | tail -1 | tr -d ' '
}
fresh_copy() {
  # Only the benchmark's own copy on its own image goes: the source home is never touched.
  rm -rf "$work"
  cp -a --reflink=never "$source_home" "$work"
  sync -f "$mnt"
  if [ "$cache" = cold ]; then echo 3 >/proc/sys/vm/drop_caches; fi
}

# Each timed run ends when the file system has committed what the tool changed (dustwhale does so
# itself to read the free space; the others would leave it to the next commit).
run_dustwhale() { "$dustwhale" duplicates --home "$work" --layout macos --share --yes; }
run_jdupes() { jdupes -B -r -q "${folders[@]}" && sync -f "$mnt"; }
run_duperemove() { duperemove -dr -q "${folders[@]}" && sync -f "$mnt"; }
tools=(dustwhale jdupes duperemove)

wait_for_quiet
load_before=$(load1)
declare -A times freed
for round in $(seq "$RUNS"); do
  for t in "${tools[@]}"; do
    fresh_copy
    before=$(free_bytes)
    times[$t]+=" $(elapsed_us "run_$t")"
    after=$(free_bytes)
    freed[$t]+=" $((after - before))"
    if [ "$round" = 1 ]; then
      # Every file is still there with its bytes.
      diff -r -q "$source_home" "$work" >/dev/null || die "MISMATCH: $t changed the files"
    fi
  done
done
load_after=$(load1)

declare -A med fmed
for t in "${tools[@]}"; do
  med[$t]=$(echo "${times[$t]}" | median)
  fmed[$t]=$(echo "${freed[$t]}" | median)
done
fastest=$((med[jdupes] < med[duperemove] ? med[jdupes] : med[duperemove]))
most=$((fmed[jdupes] > fmed[duperemove] ? fmed[jdupes] : fmed[duperemove]))

awk -v dw="${med[dustwhale]}" -v jd="${med[jdupes]}" -v dr="${med[duperemove]}" \
  -v fast="$fastest" -v fdw="${fmed[dustwhale]}" -v fjd="${fmed[jdupes]}" \
  -v fdr="${fmed[duperemove]}" -v most="$most" -v runs="$RUNS" -v cache="$cache" \
  -v lb="$load_before" -v la="$load_after" 'BEGIN {
  printf "medians of %d runs, each on a fresh copy, %s cache:\n", runs, cache
  printf "  dustwhale duplicates --share --yes %8.3f s   freed %13d bytes (%.2f GiB)\n", dw / 1e6, fdw, fdw / 2^30
  printf "  jdupes -B -r                       %8.3f s   freed %13d bytes (%.2f GiB)\n", jd / 1e6, fjd, fjd / 2^30
  printf "  duperemove -dr                     %8.3f s   freed %13d bytes (%.2f GiB)\n", dr / 1e6, fdr, fdr / 2^30
  printf "dustwhale / faster reference: %.2f (target <= 0.80)\n", dw / fast
  printf "freed: dustwhale - most freed by a reference: %d bytes (target >= 0)\n", fdw - most
  printf "load average: %s before, %s after\n", lb, la
}'
