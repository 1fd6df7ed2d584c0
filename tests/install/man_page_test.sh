#!/usr/bin/env bash
# The manual pages against the programs themselves: every command of dustwhale has its section,
# which names every option the command's --help lists (and documents none it lacks); the page
# lists the exit statuses and an example of every command, carries the program's version, and
# formats without a warning; dustwhale-gui's page names every option of its --help.
#   man_page_test.sh MAN_DIR DUSTWHALE [DUSTWHALE_GUI]
set -euo pipefail
mandir=$1 dustwhale=$2 gui=${3:-}
source "$(dirname "$0")/cli_help.sh"
failures=0
fail() {
  echo "man page: $*" >&2
  failures=$((failures + 1))
}

# The page's text with the roff escapes that matter here undone: \- is a hyphen, font changes
# go, \(ti is ~, \~ a space.
plain() {
  sed -e 's/\\-/-/g' -e 's/\\f[BIRP]//g' -e 's/\\(ti/~/g' -e 's/\\~/ /g' -e 's/\\&//g' "$1"
}
# The text from ".SS NAME" or ".SH NAME" to the next heading.
section() {
  awk -v name="$1" '/^\.S[HS] / { on = ($0 == ".SS " name || $0 == ".SH " name); next } on'
}
# The option each .TP of a section documents: the first option on the line after it.
documented() {
  awk '/^\.TP/ { getline; if (match($0, /--[a-z][a-z-]*/)) print substr($0, RSTART, RLENGTH) }'
}
names() { grep -qE -- "(^|[^a-z-])$1([^a-z-]|$)"; }

text=$(plain "$mandir/dustwhale.1")
version=$("$dustwhale" --version)
grep -q "^\.TH DUSTWHALE 1 .*\"$version\"" <<<"$text" ||
  fail "the .TH line does not carry \"$version\""

commands=$(dustwhale_commands "$dustwhale")
[ -n "$commands" ] || fail "dustwhale --help lists no commands"
for command in $commands; do
  body=$(section "$command" <<<"$text")
  if [ -z "$body" ]; then
    fail "no section .SS $command"
    continue
  fi
  options=$(dustwhale_options "$dustwhale" "$command")
  for option in $options; do
    [ "$option" = --help ] && continue  # one entry under OPTIONS serves every command
    names "$option" <<<"$body" || fail "the section of $command does not name $option"
  done
  for option in $(documented <<<"$body"); do
    grep -qxF -- "$option" <<<"$options" ||
      fail "the section of $command documents $option, which $command does not take"
  done
  section EXAMPLES <<<"$text" | grep -qE "^dustwhale $command( |$)" ||
    fail "no example of dustwhale $command"
done

global=$(section OPTIONS <<<"$text")
for option in $(dustwhale_options "$dustwhale") -h; do
  names "$option" <<<"$global" || fail "OPTIONS does not name $option"
done
status=$(section "EXIT STATUS" <<<"$text")
for code in 0 1 2; do
  grep -qx "\.B $code" <<<"$status" || fail "EXIT STATUS does not list $code"
done

if [ -n "$gui" ]; then
  gui_text=$(plain "$mandir/dustwhale-gui.1")
  for option in $(gui_options "$gui"); do
    names "$option" <<<"$gui_text" || fail "dustwhale-gui.1 does not name $option"
  done
fi

# As lintian formats them: any warning of groff or man fails.
if command -v man >/dev/null; then
  for page in "$mandir/dustwhale.1" "$mandir/dustwhale-gui.1"; do
    warnings=$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 \
      man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null || true)
    [ -z "$warnings" ] || fail "$(basename "$page"): $warnings"
  done
fi

[ "$failures" -eq 0 ] || exit 1
echo "man page: every command and option of dustwhale and dustwhale-gui is documented"
