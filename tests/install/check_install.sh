#!/usr/bin/env bash
# Installs the build into a temporary prefix, as a packager would, and checks that a Linux
# desktop finds everything: both programs, the desktop entry (valid, starting dustwhale-gui with
# the dustwhale icon) and the icon at every size it looks for, plus the scalable drawing; the
# manual pages, the completions of bash, zsh and fish where those shells look, the AppStream
# metadata (valid, launching that entry, of this version, showing the screenshots of
# docs/screenshots), the licence and the release notes.
#   check_install.sh BUILD_DIR VERSION
set -euo pipefail
build=$1 version=$2
source_dir=$(realpath "$(dirname "$0")/../..")
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
share=$prefix/share
for file in man/man1/dustwhale.1.gz man/man1/dustwhale-gui.1.gz \
  bash-completion/completions/dustwhale bash-completion/completions/dustwhale-gui \
  zsh/vendor-completions/_dustwhale fish/vendor_completions.d/dustwhale.fish \
  fish/vendor_completions.d/dustwhale-gui.fish doc/dustwhale/copyright doc/dustwhale/changelog.gz \
  lintian/overrides/dustwhale; do
  [ -s "$share/$file" ] || fail "share/$file is missing"
done
for page in dustwhale dustwhale-gui; do
  # Compressed without a name or time: the same text gives the same bytes.
  gzip -t "$share/man/man1/$page.1.gz" || fail "$page.1.gz is not gzip"
  [ "$(od -An -tu1 -j4 -N4 "$share/man/man1/$page.1.gz" | tr -d ' ')" = 0000 ] ||
    fail "$page.1.gz carries a time stamp"
done
grep -q '^License: Apache-2.0$' "$share/doc/dustwhale/copyright" ||
  fail "the copyright file does not name Apache-2.0"
zcat "$share/doc/dustwhale/changelog.gz" | head -1 | grep -qF "dustwhale ($version)" ||
  fail "the changelog does not begin with $version"

metainfo=$share/metainfo/com.dustwhale.Dustwhale.metainfo.xml
[ -s "$metainfo" ] || fail "the AppStream metadata is missing"
grep -q '<project_license>Apache-2.0</project_license>' "$metainfo" ||
  fail "the metadata does not name the Apache-2.0 licence"
grep -q '<launchable type="desktop-id">com.dustwhale.Dustwhale.desktop</launchable>' \
  "$metainfo" || fail "the metadata does not launch the desktop entry"
grep -m1 '<release ' "$metainfo" | grep -q "version=\"$version\"" ||
  fail "the newest release in the metadata is not $version"
shots=$(grep -o '<image[^>]*>[^<]*</image>' "$metainfo" | sed 's/<[^>]*>//g')
[ -n "$shots" ] || fail "the metadata shows no screenshot"
for url in $shots; do
  [ -s "$source_dir/docs/screenshots/$(basename "$url")" ] ||
    fail "the screenshot $url is not one of docs/screenshots"
done
if command -v appstreamcli >/dev/null; then
  # The tree as a software centre reads it: the metadata with its desktop entry. Pedantic notes
  # (an identifier with capitals, which ours has for good) are advice.
  appstreamcli validate-tree --no-net "$prefix" >/dev/null ||
    fail "appstreamcli: $(appstreamcli validate-tree --no-net "$prefix")"
fi
echo "install: everything in place under a temporary prefix"
