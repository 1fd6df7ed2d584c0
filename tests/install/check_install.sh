#!/usr/bin/env bash
# Installs the build into a temporary prefix, as a packager would, and checks that a Linux
# desktop finds everything: both programs, the desktop entry (valid, starting dustwhale-gui with
# the dustwhale icon) and the icon at every size it looks for, plus the scalable drawing.
#   check_install.sh BUILD_DIR
set -euo pipefail
build=$1
prefix=$(mktemp -d)
# Only the temporary prefix this script made is removed.
trap 'rm -rf -- "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null

fail() { echo "install: $*" >&2; exit 1; }
for program in dustwhale dustwhale-gui; do
  [ -x "$prefix/bin/$program" ] || fail "bin/$program is missing or not executable"
done
entry=$prefix/share/applications/com.dustwhale.Dustwhale.desktop
[ -f "$entry" ] || fail "the desktop entry is missing"
grep -qx 'Name=Dustwhale' "$entry" || fail "the entry's Name is not Dustwhale"
grep -qx 'Exec=dustwhale-gui' "$entry" || fail "the entry does not start dustwhale-gui"
grep -qx 'Icon=dustwhale' "$entry" || fail "the entry's Icon is not dustwhale"
grep -qx 'Categories=System;Utility;FileTools;' "$entry" || fail "the entry's Categories differ"
if command -v desktop-file-validate >/dev/null; then
  # Hints (such as more than one main category) are advice; errors and warnings fail.
  out=$(desktop-file-validate "$entry" | grep -Ev ': hint: ' || true)
  [ -z "$out" ] || fail "desktop-file-validate: $out"
fi
icons=$prefix/share/icons/hicolor
[ -s "$icons/scalable/apps/dustwhale.svg" ] || fail "the scalable icon is missing"
for n in 16 32 48 64 128 256 512; do
  png=$icons/${n}x${n}/apps/dustwhale.png
  [ -s "$png" ] || fail "the ${n}x${n} icon is missing"
  # A PNG's width and height are the big-endian words at bytes 16 and 20.
  read -r w h < <(od -An -tu1 -j16 -N8 "$png" |
    awk '{print $1*16777216+$2*65536+$3*256+$4, $5*16777216+$6*65536+$7*256+$8}')
  [ "$w" = "$n" ] && [ "$h" = "$n" ] || fail "the ${n}x${n} icon is ${w}x${h}"
done
echo "install: everything in place under a temporary prefix"
