#!/usr/bin/env bash
# The start-up milestones the start-up benchmark reads: with DUSTWHALE_MILESTONES=quit the app,
# started on a small Mac-shaped home, prints every milestone once, in the order it reaches them,
# in milliseconds since its process started, then its peak memory, and quits by itself with 0.
# Without the variable it prints none.
#   milestones_test.sh DUSTWHALE_GUI
set -euo pipefail
gui=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT  # the test's own temporary home
root=$work/root home=$work/root/Users/me
mkdir -p "$root/Applications" "$home/Library/Caches/com.example.app" "$work/config" "$work/data"
head -c 100000 /dev/zero >"$home/Library/Caches/com.example.app/blob"
export XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data XDG_CACHE_HOME=$work/cache
unset DISPLAY WAYLAND_DISPLAY

DUSTWHALE_MILESTONES=quit timeout 120 "$gui" --root "$root" --home "$home" --layout macos \
  2>"$work/err" >/dev/null || { cat "$work/err" >&2; echo "milestones: the app did not quit by itself with 0" >&2; exit 1; }
awk '$2 == "milestone" { print $3, $4 }' "$work/err" >"$work/got"
awk -v want="main application bridge scan-started qml-loaded first-frame scan-done overview peak-memory-kib" '
  BEGIN { n = split(want, names, " ") }
  { seen[$1]++; at[$1] = $2 }
  END {
    bad = 0
    for (i = 1; i <= n; i++) if (seen[names[i]] != 1) { print "milestones: " names[i] " printed " seen[names[i]] + 0 " times"; bad = 1 }
    # The start-up path is sequential up to the loaded window; the first frame comes after it, and
    # the Overview frame after the scan is done and no earlier than the first frame.
    split("main application bridge scan-started qml-loaded first-frame", order, " ")
    for (i = 2; i <= 6; i++) if (at[order[i]] < at[order[i - 1]]) { print "milestones: " order[i] " before " order[i - 1]; bad = 1 }
    if (at["overview"] < at["scan-done"] || at["overview"] < at["first-frame"]) { print "milestones: overview before its scan or the first frame"; bad = 1 }
    if (at["main"] <= 0 || at["peak-memory-kib"] <= 0) { print "milestones: times are not since the process start"; bad = 1 }
    exit bad
  }' "$work/got" >&2 || { cat "$work/err" >&2; exit 1; }

# Without the variable: nothing printed (the app is stopped; it would keep running).
timeout 5 "$gui" --root "$root" --home "$home" --layout macos 2>"$work/err2" >/dev/null || true
if grep -q milestone "$work/err2"; then
  echo "milestones: printed without DUSTWHALE_MILESTONES" >&2
  exit 1
fi
