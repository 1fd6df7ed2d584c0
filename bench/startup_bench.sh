#!/usr/bin/env bash
# Times the desktop app's start on the scan benchmark's Mac-shaped home (about 300,000 entries)
# beside `dustwhale scan` on the same home, in one run: from exec to the window's first frame,
# and to the first frame that shows the finished scan's numbers on Overview, with the app's peak
# memory. The app reports these itself (DUSTWHALE_MILESTONES=quit: each milestone in
# milliseconds since its process started, then it quits), so nothing outside it is timed.
#
#   bench/startup_bench.sh                    # 7 rounds after one warm-up, on Xvfb
#   DISPLAY_KIND=offscreen bench/startup_bench.sh
#
# DISPLAY_KIND=xvfb (the default) runs the app on a private Xvfb server started by xvfb-run: the
# app connects to a real X server, makes a real window and draws it with OpenGL (Mesa's
# software rasterizer), as on a desktop without a GPU. DISPLAY_KIND=offscreen uses Qt's
# offscreen platform and software renderer, which skip the X connection and the GL set-up and
# so flatter the first frame. The tree is scan_bench.sh's (BENCH_DIR, default
# ${TMPDIR:-/tmp}/dustwhale-bench-scan), built when missing. The app's own files (its log and
# flags, with the welcome already seen, and Qt's caches) live in BENCH_DIR/startup, never in the
# user's. BUILD_DIR, DUSTWHALE, RUNS, MAX_LOAD and LOAD_WAIT work as for scan_bench.sh;
# DUSTWHALE_GUI=/path/to/dustwhale-gui skips building the app.
set -euo pipefail

repo=$(cd "$(dirname "$0")/.." && pwd)
name=startup_bench
bench_dir=${BENCH_DIR:-${TMPDIR:-/tmp}/dustwhale-bench-scan}
root=$bench_dir/tree
home=$root/Users/me
display_kind=${DISPLAY_KIND:-xvfb}
# shellcheck source=bench/common.sh
source "$repo/bench/common.sh"

case "$display_kind" in
  xvfb)
    if [ -z "${DUSTWHALE_BENCH_XVFB:-}" ]; then
      command -v xvfb-run >/dev/null || DUSTWHALE_BENCH=1 "$repo/scripts/bootstrap"
      # One server for every run, so its own start is timed in none of them; and a session bus,
      # as a desktop has (without one, each start would launch a bus of its own).
      session=()
      command -v dbus-run-session >/dev/null && session=(dbus-run-session --)
      exec xvfb-run -a -s "-screen 0 1920x1200x24 -nolisten tcp" \
        "${session[@]}" env DUSTWHALE_BENCH_XVFB=1 "$0" "$@"
    fi
    ;;
  offscreen) unset DISPLAY WAYLAND_DISPLAY ;;
  *) die "DISPLAY_KIND is xvfb or offscreen" ;;
esac

gui=${DUSTWHALE_GUI:-$build_dir/src/ui/dustwhale-gui}
if [ ! -x "$gui" ]; then
  [ -n "${DUSTWHALE_GUI:-}" ] && die "$gui is not an executable"
  echo "building the release app in $build_dir" >&2
  (cd "$repo" && cmake --preset release -B "$build_dir" >/dev/null &&
    cmake --build "$build_dir" -j2 --target dustwhale-gui >/dev/null)
fi
if [ ! -d "$root" ]; then
  echo "building the tree in $root (about a minute)" >&2
  python3 "$repo/bench/make_measure_tree.py" --shape mac "$root" >&2
fi

# The app's log, its flags and Qt's caches, apart from the user's; the welcome has been seen,
# as on every start but the first.
own=$bench_dir/startup
mkdir -p "$own/config" "$own/data" "$own/cache"
export XDG_CONFIG_HOME=$own/config XDG_DATA_HOME=$own/data XDG_CACHE_HOME=$own/cache
onboarding_key=$(sed -n 's/.*kOnboardingShownKey = "\(.*\)";/\1/p' "$repo/src/platform/defaults.h")
[ -n "$onboarding_key" ] || die "the welcome's flag is not named in src/platform/defaults.h"
printf '{"%s": true}\n' "$onboarding_key" >"$own/config/com.dustwhale.Dustwhale.json"

scan() { "$dustwhale" scan --root "$root" --home "$home" --layout macos --json; }
# One start of the app; its milestones ("name ms main-thread-cpu ms" lines) to $1. A start that
# never shows its numbers is stopped after two minutes.
app_start() {
  DUSTWHALE_MILESTONES=quit timeout 120 "$gui" --root "$root" --home "$home" --layout macos \
    2>"$1.err" >/dev/null || die "the app did not show its numbers: $(tail -3 "$1.err")"
  awk '$2 == "milestone" { print $3, $4, $6 }' "$1.err" >"$1"
  grep -q '^overview ' "$1" || die "the app printed no overview milestone"
}
milestone() { awk -v n="$1" -v f="$3" '$1 == n { print $f }' "$2"; }

entries=$(find "$home" | wc -l)
echo "home: $entries entries (scan_bench.sh's Mac-shaped home)"
# The scene graph the app chose: Qt Quick's software renderer where no GPU could draw (and
# always offscreen), else OpenGL.
renderer=$(DUSTWHALE_MILESTONES=quit QSG_INFO=1 timeout 120 "$gui" --root "$root" \
  --home "$home" --layout macos 2>&1 >/dev/null |
  sed -n 's/.*\(Using QRhi with backend [A-Za-z]*\|software\)/\1/p' | head -1)
case "$display_kind" in
  xvfb) echo "display: Xvfb $DISPLAY (the xcb platform); renderer: ${renderer:-unknown}" ;;
  offscreen) echo "display: Qt's offscreen platform (flatters the app); renderer: ${renderer:-unknown}" ;;
esac

wait_for_quiet
load_before=$(load1)
runs_dir=$(mktemp -d)
trap 'rm -rf "$runs_dir"' EXIT  # this run's own milestone files
scan >/dev/null
app_start "$runs_dir/warm"
scan_times=""
declare -A app_times
names=(main application bridge scan-started qml-loaded first-frame scan-done overview
  peak-memory-kib)
declare -A app_cpu
for i in $(seq "$runs"); do
  scan_times+=" $(elapsed_us scan)"
  app_start "$runs_dir/$i"
  for n in "${names[@]}"; do
    app_times[$n]+=" $(milestone "$n" "$runs_dir/$i" 2)"
    app_cpu[$n]+=" $(milestone "$n" "$runs_dir/$i" 3)"
  done
done
load_after=$(load1)

scan_ms=$(echo "$scan_times" | median | awk '{ print $1 / 1000 }')
declare -A med
for n in "${names[@]}"; do med[$n]=$(echo "${app_times[$n]}" | median); done

awk -v runs="$runs" -v scan="$scan_ms" -v first="${med[first-frame]}" \
  -v overview="${med[overview]}" -v kib="${med[peak-memory-kib]}" 'function verdict(ok) {
    return ok ? "met" : "MISSED"
  }
  BEGIN {
  printf "%-34s %12s   %s\n", "median of " runs " rounds", "", "target"
  printf "%-34s %9.0f ms\n", "dustwhale scan (command line)", scan
  printf "%-34s %9.0f ms   <= 300 ms: %s\n", "app: first frame", first, verdict(first <= 300)
  printf "%-34s %9.0f ms   <= %.0f ms (the scan + 200 ms): %s\n", "app: numbers on Overview",
    overview, scan + 200, verdict(overview <= scan + 200)
  printf "%-34s %9.1f MiB  <= 150 MiB: %s\n", "app: peak memory", kib / 1024,
    verdict(kib / 1024 <= 150)
}'
echo "where the app's time goes (medians, ms since exec; the main thread's CPU time by then):"
for n in "${names[@]::8}"; do
  printf '  %-14s %7.0f   %7.0f\n' "$n" "${med[$n]}" "$(echo "${app_cpu[$n]}" | median)"
done
echo "1-minute load average: $load_before before, $load_after after"
