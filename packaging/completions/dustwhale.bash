# bash completion for dustwhale and dustwhale-gui                 -*- shell-script -*-
#
# Commands, their options, the values of --layout, --kind, --scope, --depth and --appearance,
# folders for --root, --home and --screenshot, files for measure, and for put-back the ids of
# the Recently Cleared items still in the Trash. Needs nothing but bash itself.

_dustwhale_place_options='--root --home --layout'

# The options of each command, as `dustwhale COMMAND --help` lists them.
_dustwhale_options() {
  case $1 in
    scan | history | apps) echo "$_dustwhale_place_options --json" ;;
    clear) echo "$_dustwhale_place_options --kind --suggested --id --dry-run --yes" ;;
    put-back) echo "$_dustwhale_place_options --clear --last" ;;
    measure) echo "--json" ;;
    duplicates)
      echo "$_dustwhale_place_options --scope --json --clear --share --keep --dry-run --yes"
      ;;
    space-map) echo "$_dustwhale_place_options --depth --full --json" ;;
    uninstall) echo "$_dustwhale_place_options --dry-run --yes" ;;
  esac
  echo "--help"
}

# A word as the shell will pass it: a leading ~ is the home folder.
_dustwhale_expand_tilde() {
  case $1 in
    "~") printf '%s\n' "$HOME" ;;
    "~/"*) printf '%s\n' "$HOME/${1#"~/"}" ;;
    *) printf '%s\n' "$1" ;;
  esac
}

# The ids of the Recently Cleared items still in the Trash, newest first, read from the log of
# the places the command line names (its --root, --home and --layout), by the program typed.
_dustwhale_cleared_ids() {
  local program i word value
  program=$(_dustwhale_expand_tilde "${COMP_WORDS[0]}")
  command -v "$program" >/dev/null || return 0
  local -a places=()
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    case $word in
      --root | --home | --layout)
        value=${COMP_WORDS[i + 1]}
        if [[ $value == = ]]; then value=${COMP_WORDS[i + 2]}; fi
        places+=("$word" "$(_dustwhale_expand_tilde "$value")")
        ;;
      --root=* | --home=* | --layout=*)
        places+=("${word%%=*}" "$(_dustwhale_expand_tilde "${word#*=}")")
        ;;
    esac
  done
  # The program prints one key per line; an entry's id comes before its status.
  "$program" history "${places[@]}" --json 2>/dev/null |
    awk -F'"' '$2 == "id" { id = $4 } $2 == "status" && $4 == "In the Trash" { print id }'
}

# One name a line, so that a name with a space stays one word.
_dustwhale_folders() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -d -- "$1")
}

_dustwhale_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

# Completes the value of option $1 from word $2; false when $1 takes no value.
_dustwhale_value() {
  local option=$1 cur=$2
  case $option in
    --root | --home | --screenshot) _dustwhale_folders "$cur" ;;
    --layout) COMPREPLY=($(compgen -W 'linux macos' -- "$cur")) ;;
    --kind) COMPREPLY=($(compgen -W 'cache file leftover' -- "$cur")) ;;
    --depth) COMPREPLY=($(compgen -W '0 1 2 3' -- "$cur")) ;;
    --appearance) COMPREPLY=($(compgen -W 'light dark' -- "$cur")) ;;
    --scope)
      # A list separated by commas: complete its last member.
      local done="" last=$cur
      if [[ $cur == *,* ]]; then
        done=${cur%,*},
        last=${cur##*,}
      fi
      COMPREPLY=($(compgen -P "$done" -W 'downloads movies videos music pictures' -- "$last"))
      ;;
    --id) _dustwhale_files "$cur" ;;  # a path, ~/path or leftover:APP-ID
    *) return 1 ;;
  esac
  return 0
}

# Sets cur to the word being completed and prev to the option whose value it is, if any;
# `--home=DIR` reaches here split at the "=".
_dustwhale_words() {
  cur=${COMP_WORDS[COMP_CWORD]}
  prev=""
  ((COMP_CWORD > 0)) && prev=${COMP_WORDS[COMP_CWORD - 1]}
  if [[ $cur == = ]]; then
    cur=""
  elif [[ $prev == = ]] && ((COMP_CWORD > 1)); then
    prev=${COMP_WORDS[COMP_CWORD - 2]}
  elif [[ $cur == --*=* ]]; then
    prev=${cur%%=*}
    cur=${cur#*=}
  fi
}

_dustwhale() {
  local cur prev
  _dustwhale_words
  COMPREPLY=()
  _dustwhale_value "$prev" "$cur" && return 0

  local command="" i
  for ((i = 1; i < COMP_CWORD; i++)); do
    # Before the command only --help and --version, which take no value.
    if [[ ${COMP_WORDS[i]} != -* ]]; then
      command=${COMP_WORDS[i]}
      break
    fi
  done

  if [[ -z $command ]]; then
    if [[ $cur == -* ]]; then
      COMPREPLY=($(compgen -W '--help --version' -- "$cur"))
    else
      COMPREPLY=($(compgen -W 'scan clear history put-back measure duplicates space-map apps
        uninstall' -- "$cur"))
    fi
    return 0
  fi

  if [[ $cur != -* ]]; then
    case $command in
      put-back)
        COMPREPLY=($(compgen -W "$(_dustwhale_cleared_ids)" -- "$cur"))
        return 0
        ;;
      measure | uninstall)
        _dustwhale_files "$cur"
        return 0
        ;;
    esac
  fi
  COMPREPLY=($(compgen -W "$(_dustwhale_options "$command")" -- "$cur"))
  return 0
}

_dustwhale_gui() {
  local cur prev
  _dustwhale_words
  COMPREPLY=()
  _dustwhale_value "$prev" "$cur" && return 0
  COMPREPLY=($(compgen -W '--root --home --layout --appearance --screenshot --help --help-all
    --version' -- "$cur"))
  return 0
}

complete -F _dustwhale dustwhale
complete -F _dustwhale_gui dustwhale-gui
