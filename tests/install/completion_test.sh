#!/usr/bin/env bash
# The shell completions, driven in the shells themselves: bash through the function `complete -p`
# names for each program, fish through `complete -C`, zsh through its completion system on a
# pseudo-terminal (zsh_complete.zsh). Each must offer exactly the commands and the options the
# programs' --help lists, the values of --layout, --kind, --scope, --depth and --appearance,
# the folders (and only the folders) for --root, --home and --screenshot, and for put-back the
# ids of the Recently Cleared items still in the Trash, from the log of the places the command
# line names. fish and zsh are checked where they are installed.
#   completion_test.sh COMPLETIONS_DIR DUSTWHALE [DUSTWHALE_GUI]
set -euo pipefail
completions=$(realpath "$1") dustwhale=$(realpath "$2") gui=${3:+$(realpath "$3")}
here=$(dirname "$(realpath "$0")")
source "$here/cli_help.sh"

work=$(mktemp -d)
# Only the temporary folder this script made is removed.
trap 'rm -rf -- "$work"' EXIT
export HOME=$work/home XDG_DATA_HOME=$work/home/.local/share XDG_CONFIG_HOME=$work/home/.config
export PATH=$(dirname "$dustwhale")${gui:+:$(dirname "$gui")}:$PATH
mkdir -p "$HOME"
failures=0

# Recently Cleared, for real: two removed Flatpak apps' data cleared, and one put back.
for app in org.example.Gone org.example.Back; do
  mkdir -p "$HOME/.var/app/$app/config"
  echo 'zoom=2' >"$HOME/.var/app/$app/config/settings.ini"
done
dustwhale clear --id leftover:org.example.Gone --id leftover:org.example.Back --yes >/dev/null
# The ids `dustwhale history` shows under "In the Trash", or all of them.
in_trash() { dustwhale history | awk '/^  In the Trash / { on = 1 } on && $1 == "id" { print $2; on = 0 }'; }
all_ids() { dustwhale history | awk '$1 == "id" { print $2 }'; }
dustwhale put-back "$(dustwhale history | awk '/org.example.Back$/ { on = 1 } on && $1 == "id" { print $2; exit }')" >/dev/null
in_trash=$(in_trash)
if [ "$(wc -l <<<"$in_trash")" != 1 ] || [ "$(all_ids | wc -l)" != 2 ]; then
  echo "completion: setting up Recently Cleared failed" >&2
  exit 1
fi

# A stand-in for the program that records what the completion asks it, to see that the places
# of the command line reach it (the log follows them on a Mac), a leading ~ expanded.
stub=$work/stub
mkdir -p "$stub"
cat >"$stub/dustwhale" <<STUB
#!/bin/sh
printf '%s\n' "\$@" >"$work/asked"
printf '[\n  {\n    "id": "%s",\n    "name": "Stub",\n    "status": "In the Trash"\n  }\n]\n' STUB-ID
STUB
chmod +x "$stub/dustwhale"

# Completions of folders and files are taken from the current folder.
mkdir -p "$work/here/alpha" "$work/here/beta two"
touch "$work/here/gamma"
cd "$work/here"

bash_offers() {
  bash --norc --noprofile -c '
    set -f
    source "$1" || exit 1
    line=$2
    words=()
    # As readline splits a line: at blanks, and "=" is a word of its own.
    for word in $line; do
      while [[ $word == *=* ]]; do
        [[ -n ${word%%=*} ]] && words+=("${word%%=*}")
        words+=("=")
        word=${word#*=}
      done
      [[ -n $word ]] && words+=("$word")
    done
    [[ $line == *" " ]] && words+=("")
    COMP_WORDS=("${words[@]}")
    COMP_CWORD=$((${#words[@]} - 1))
    COMP_LINE=$line
    COMP_POINT=${#line}
    spec=$(complete -p "${words[0]}") || exit 1
    function=${spec#*-F }
    function=${function%% *}
    "$function" "${words[0]}" "${words[COMP_CWORD]}" "${words[COMP_CWORD - 1]}"
    printf "%s\n" "${COMPREPLY[@]}"
  ' bash "$completions/dustwhale.bash" "$1"
}
fish_offers() {
  fish --no-config -c 'source $argv[1]; source $argv[2]; complete -C $argv[3]' \
    "$completions/dustwhale.fish" "$completions/dustwhale-gui.fish" "$1" | cut -f1
}
zsh_offers() { "$here/zsh_complete.zsh" "$completions" "$1" "$work/zcompdump"; }

# The offers as a set: sorted, once each, a folder without its trailing slash, a value without
# the "--option=" before it, and of a list separated by commas only the member being completed.
normalized() { sed -e 's:/$::' -e 's/^--[a-z-]*=//' -e 's/.*,//' | grep -v '^$' | sort -u; }

shells=(bash)
command -v fish >/dev/null && shells+=(fish)
command -v zsh >/dev/null && shells+=(zsh)

expect() {  # expect LINE WORDS...: each shell offers exactly these words at the end of LINE
  local line=$1 shell got want
  shift
  want=$(printf '%s\n' "$@" | normalized)
  local IFS=$'\n'  # an offer is a line: a name with a space is one
  for shell in "${shells[@]}"; do
    got=$("${shell}_offers" "$line" | normalized) || got="(the completion failed)"
    if [ "$got" != "$want" ]; then
      echo "completion ($shell) of '$line':" >&2
      diff <(echo "$want") <(echo "$got") | sed -n 's/^</  missing:/p; s/^>/  offered:/p' >&2 ||
        true
      failures=$((failures + 1))
    fi
  done
}

[ "$(bash --norc -c 'source "$1"; complete -p dustwhale' bash "$completions/dustwhale.bash")" = \
  "complete -F _dustwhale dustwhale" ] || { echo "bash: no completion for dustwhale" >&2; failures=$((failures + 1)); }

expect "dustwhale " $(dustwhale_commands "$dustwhale")
expect "dustwhale --" $(dustwhale_options "$dustwhale")
for command in $(dustwhale_commands "$dustwhale"); do
  options=$(dustwhale_options "$dustwhale" "$command")
  expect "dustwhale $command --" $options
  for option in $options; do
    values=$(dustwhale_values "$dustwhale" "$command" "$option")
    [ -n "$values" ] && expect "dustwhale $command $option " $values
  done
done
expect "dustwhale scan --layout=m" macos
expect "dustwhale duplicates --scope downloads,m" movies music
expect "dustwhale scan --root " alpha "beta two"
expect "dustwhale put-back --home " alpha "beta two"
expect "dustwhale clear --home=al" alpha
expect "dustwhale measure " alpha "beta two" gamma
expect "dustwhale put-back " $in_trash
expect "dustwhale put-back --layout linux $in_trash " $in_trash
PATH=$stub:$PATH expect "dustwhale put-back --root ~/r --home=~/h --layout macos " STUB-ID
for shell in "${shells[@]}"; do
  rm -f "$work/asked"
  PATH=$stub:$PATH "${shell}_offers" "dustwhale put-back --root ~/r --home=~/h --layout macos " \
    >/dev/null
  asked=$(paste -sd' ' "$work/asked" 2>/dev/null || true)
  if [ "$asked" != "history --root $HOME/r --home $HOME/h --layout macos --json" ]; then
    echo "completion ($shell) asked for the cleared ids with: $asked" >&2
    failures=$((failures + 1))
  fi
done

if [ -n "$gui" ]; then
  [ "$(bash --norc -c 'source "$1"; complete -p dustwhale-gui' bash "$completions/dustwhale.bash")" = \
    "complete -F _dustwhale_gui dustwhale-gui" ] || { echo "bash: no completion for dustwhale-gui" >&2; failures=$((failures + 1)); }
  expect "dustwhale-gui --" $(gui_options "$gui")
  expect "dustwhale-gui --appearance " light dark
  expect "dustwhale-gui --layout " linux macos
  expect "dustwhale-gui --screenshot " alpha "beta two"
fi

[ "$failures" -eq 0 ] || exit 1
echo "completion: ${shells[*]} offer the commands, options, values, folders and cleared ids"
