#!/usr/bin/env bash
# The app as a screen reader meets it: started under Xvfb on a private session bus with the
# accessibility bus, over a small Mac-shaped home, and read through AT-SPI by check_tree.py.
# Usage: run.sh DUSTWHALE_GUI
set -euo pipefail
gui=${1:?usage: run.sh DUSTWHALE_GUI}
here=$(cd "$(dirname "$0")" && pwd)

# The system's Python, where Debian puts pyatspi (not one a version manager puts first).
python=/usr/bin/python3
for tool in Xvfb dbus-run-session xdotool $python; do
  command -v "$tool" >/dev/null || { echo "accessibility: $tool is missing (scripts/bootstrap installs it)" >&2; exit 1; }
done
"$python" -c 'import pyatspi' 2>/dev/null || {
  echo "accessibility: python3-pyatspi is missing (scripts/bootstrap installs it)" >&2; exit 1; }

work=$(mktemp -d)
xvfb_pid=""
cleanup() {
  # Only the X server this script started; then the temporary folder it made.
  [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

# The scanned home: caches over the 10 MB floor, and two files of one name in two folders that
# are copies of each other (two check boxes a screen reader must tell apart).
root="$work/root"
home="$root/Users/me"
fill() { mkdir -p "$(dirname "$1")"; head -c "$2" /dev/urandom >"$1"; }
fill "$home/Library/Caches/com.example.player/blob" $((60 * 1024 * 1024))
fill "$home/Library/Caches/com.example.chat/data" $((14 * 1024 * 1024))
mkdir -p "$root/Applications" "$home/Movies" "$home/Music" "$home/Pictures"
fill "$home/Downloads/clip.mov" $((2 * 1024 * 1024))
cp "$home/Downloads/clip.mov" "$home/Movies/clip.mov"
mkdir -p "$home/Movies/old"
cp "$home/Downloads/clip.mov" "$home/Movies/old/clip.mov"

# The user whose Trash, log and flags these are; onboarding already seen.
export HOME="$work/user"
export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share"
mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME"
echo '{"brimvale.onboardingShown": true}' >"$XDG_CONFIG_HOME/com.dustwhale.Dustwhale.json"

# A display of our own: Xvfb picks a free number and writes it to the descriptor given. Another
# server may claim the same number at that instant (other suites run beside this one), so the
# display must answer before it is used; else a new server is started. -noreset: the server
# would otherwise reset when the probe's connection closes, and refuse the app meanwhile.
start_display() {
  rm -f "$work/display"
  Xvfb -displayfd 3 -screen 0 1280x900x24 -nolisten tcp -noreset 3>"$work/display" >"$work/xvfb.log" 2>&1 &
  xvfb_pid=$!
  for _ in $(seq 100); do
    display=$(cat "$work/display" 2>/dev/null || true)
    if [ -n "$display" ] && DISPLAY=":$display" xdotool getdisplaygeometry >/dev/null 2>&1; then
      sleep 0.5  # and still answers a moment later
      if kill -0 "$xvfb_pid" 2>/dev/null && DISPLAY=":$display" xdotool getdisplaygeometry >/dev/null 2>&1; then
        return 0
      fi
    fi
    kill -0 "$xvfb_pid" 2>/dev/null || break
    sleep 0.1
  done
  kill "$xvfb_pid" 2>/dev/null || true
  xvfb_pid=""
  return 1
}
display=""
for _ in 1 2 3; do start_display && break; done
[ -n "$xvfb_pid" ] || { echo "accessibility: Xvfb did not start" >&2; cat "$work/xvfb.log" >&2; exit 1; }
export DISPLAY=":$display"

# Qt speaks AT-SPI when asked, whatever the desktop's setting; leaks at exit are not this test's.
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 QT_QPA_PLATFORM=xcb NO_AT_BRIDGE=0
export ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0"
dbus-run-session -- "$python" "${CHECK:-$here/check_tree.py}" "$gui" "$root" "$home"
