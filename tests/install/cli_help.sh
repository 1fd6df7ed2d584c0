# Sourced by the tests of the manual pages and the completions: the commands, the options and
# the values of the options, read from the programs' own --help, so that those tests follow
# the programs rather than a copy of their lists.

# The commands of dustwhale ($1), one a line.
dustwhale_commands() {
  "$1" --help | awk '/^Subcommands:/ { listed = 1; next } listed && /^  [a-z]/ { print $1 }'
}

# The long options of dustwhale ($1) or of one of its commands ($2), one a line.
dustwhale_options() {
  "$1" ${2:+"$2"} --help | grep -oE '^  (-[a-zA-Z],)?--[a-z][a-z-]*' | sed 's/.*--/--/'
}

# The values option $3 of command $2 accepts, one a line, when the help lists them
# ("TEXT:{linux,macos}" or "INT in [0 - 3]").
dustwhale_values() {
  local line
  line=$("$1" "$2" --help | grep -E "^  $3 ")
  if [[ $line =~ :\{([^}]*)\} ]]; then
    tr ',' '\n' <<<"${BASH_REMATCH[1]}"
  elif [[ $line =~ \[([0-9]+)\ -\ ([0-9]+)\] ]]; then
    seq "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}"
  fi
}

# The long options of dustwhale-gui ($1), one a line.
gui_options() {
  "$1" --help 2>/dev/null | grep -oE '^  (-[a-z], )?--[a-z][a-z-]*' | sed 's/.*--/--/'
}
