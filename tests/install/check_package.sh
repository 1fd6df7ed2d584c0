#!/usr/bin/env bash
# Checks the Debian package as a user's machine would meet it: unpacked into a temporary
# folder, its own programs run from there (the version, a scan of a test home, every page of
# the app drawn to PNG files), its desktop entry and AppStream metadata validated, each QML
# module the app loads named in its dependencies, and lintian run on it: no error, and no
# warning that the package does not override with its reason.
#   check_package.sh dustwhale_<version>_<arch>.deb
set -euo pipefail
deb=$(realpath "$1")
work=$(mktemp -d)
# Only the temporary folder this script made is removed.
trap 'rm -rf -- "$work"' EXIT
fail() { echo "package: $*" >&2; exit 1; }

dpkg-deb --info "$deb"
field() { dpkg-deb --field "$deb" "$1"; }
version=$(field Version)
[ "$(field Package)" = dustwhale ] || fail "the package is not called dustwhale"
[ "$(basename "$deb")" = "dustwhale_${version}_$(dpkg --print-architecture).deb" ] ||
  fail "$(basename "$deb") is not named dustwhale_${version}_<arch>.deb"
depends=$(field Depends)

root=$work/root
dpkg-deb -x "$deb" "$root"
for file in usr/bin/dustwhale usr/bin/dustwhale-gui \
  usr/share/applications/com.dustwhale.Dustwhale.desktop \
  usr/share/metainfo/com.dustwhale.Dustwhale.metainfo.xml \
  usr/share/icons/hicolor/scalable/apps/dustwhale.svg \
  usr/share/icons/hicolor/256x256/apps/dustwhale.png \
  usr/share/man/man1/dustwhale.1.gz usr/share/man/man1/dustwhale-gui.1.gz \
  usr/share/bash-completion/completions/dustwhale usr/share/zsh/vendor-completions/_dustwhale \
  usr/share/fish/vendor_completions.d/dustwhale.fish \
  usr/share/doc/dustwhale/copyright usr/share/doc/dustwhale/changelog.gz; do
  [ -s "$root/$file" ] || fail "$file is missing"
done
grep -q '^License: Apache-2.0$' "$root/usr/share/doc/dustwhale/copyright" ||
  fail "the copyright file does not name the Apache-2.0 licence"

# One version everywhere: the package, the programs, the manual and the release notes (About
# shows the app's, which test_ui checks).
bin=$root/usr/bin
[ "$("$bin/dustwhale" --version)" = "dustwhale $version" ] ||
  fail "dustwhale --version says $("$bin/dustwhale" --version), the package $version"
gui_version=$("$bin/dustwhale-gui" --version 2>/dev/null)
[ "$gui_version" = "Dustwhale $version" ] ||
  fail "dustwhale-gui --version says $gui_version, the package $version"
zcat "$root/usr/share/man/man1/dustwhale.1.gz" | grep -q "^\.TH .*\"dustwhale $version\"" ||
  fail "the manual page is not of version $version"
metainfo=$root/usr/share/metainfo/com.dustwhale.Dustwhale.metainfo.xml
grep -m1 '<release ' "$metainfo" | grep -q "version=\"$version\"" ||
  fail "the newest release in the AppStream metadata is not $version"
zcat "$root/usr/share/doc/dustwhale/changelog.gz" | head -1 | grep -q "^dustwhale ($version)" ||
  fail "the changelog's newest entry is not $version"

# A scan of a small home by the packaged program: a cache and a removed Flatpak app's data.
home=$work/home
mkdir -p "$home/.cache/pip/http" "$home/.var/app/org.example.Gone/config"
head -c $((12 * 1024 * 1024)) /dev/urandom >"$home/.cache/pip/http/blob"
echo 'zoom=2' >"$home/.var/app/org.example.Gone/config/settings.ini"
export HOME=$home XDG_DATA_HOME=$home/.local/share XDG_CONFIG_HOME=$home/.config \
  XDG_CACHE_HOME=$home/.cache
scan=$("$bin/dustwhale" scan --json) || fail "dustwhale scan --json failed"
for id in "\"id\": \"$home/.cache/pip\"" '"id": "leftover:org.example.Gone"'; do
  grep -qF "$id" <<<"$scan" || fail "the scan did not list $id: $scan"
done

# Every page drawn by the packaged app, offscreen; the QML modules it loads meanwhile must
# come with the package's dependencies.
shots=$work/shots
QML_IMPORT_TRACE=1 "$bin/dustwhale-gui" --screenshot "$shots" --appearance light \
  >"$work/gui.log" 2>&1 || { cat "$work/gui.log" >&2; fail "dustwhale-gui --screenshot failed"; }
for page in overview caches uninstaller sheet-about; do
  [ -s "$shots/light-$page.png" ] || fail "dustwhale-gui drew no light-$page.png"
done
# The trace names each module's qmldir; those on disk (not in the app's own resources) are the
# system's.
while read -r qmldir; do
  package=$(dpkg --search "$qmldir" 2>/dev/null | head -1 | sed 's/:.*//') ||
    fail "the app loads $qmldir, which no package holds"
  grep -qE "(^|, )$package( |,|$)" <<<"$depends" ||
    fail "the app loads $qmldir, but the package does not depend on $package"
done < <(grep -o '"/[^"]*/qmldir"' "$work/gui.log" | tr -d '"' | sort -u)

# The desktop's and the software centre's own validators. Hints of desktop-file-validate (more
# than one main category) and pedantic notes of appstreamcli are advice.
out=$(desktop-file-validate "$root/usr/share/applications/com.dustwhale.Dustwhale.desktop" |
  grep -Ev ': hint: ' || true)
[ -z "$out" ] || fail "desktop-file-validate: $out"
appstreamcli validate --no-net "$metainfo" || fail "appstreamcli validate failed"
appstreamcli validate-tree --no-net "$root" || fail "appstreamcli validate-tree failed"

echo "lintian:"
lintian --display-info --show-overrides "$deb" 2>&1 | grep -v 'running with root privileges' |
  tee "$work/lintian.txt"
if grep -E '^(E|W): ' "$work/lintian.txt" >/dev/null; then
  fail "lintian reports errors or warnings"
fi
echo "package: $(basename "$deb") unpacks, runs, validates and passes lintian"
