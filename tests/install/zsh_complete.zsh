#!/usr/bin/env zsh
# Prints, one per line, the words zsh's own completion offers at the end of a command line,
# with the completion functions of a folder first on its path. It types the line and a Tab into
# an interactive zsh on a pseudo-terminal, and each match is printed as compadd receives it.
#   zsh_complete.zsh FUNCTIONS_DIR 'dustwhale put-back ' [DUMP_FILE]
# With DUMP_FILE the completion system keeps its index of functions there (made by the first
# call, read by the next ones, which start much faster).
emulate -L zsh
zmodload zsh/zpty || exit 2
local dir=$1 line=$2 dump=${3:+-d ${(q)3}}

zpty shell zsh -f -i
zpty -w shell "PS1='' RPS1=''; fpath=(${(q)dir} \$fpath); autoload -Uz compinit; compinit -u ${dump:--D}"
# Every match zsh would add is printed between markers, unquoted as the shell would pass it
# ("beta\ two" is "beta two"); lookups that only ask (-O, -A, -D) pass through untouched. (No
# comments inside: an interactive shell does not take them.)
zpty -w shell 'compadd() {
  local word
  for word in "$@"; do
    [[ $word == (-|--) ]] && break
    [[ $word == -[OAD] ]] && { builtin compadd "$@"; return }
  done
  local -a found
  builtin compadd -O found "$@"
  (( $#found )) && print -rl -- "<mat""ch>"${^${(Q)found}}"</mat""ch>"
  builtin compadd "$@"
}'
zpty -w shell 'finished() { print -r -- "<end-of-""completion>" }; comppostfuncs=(finished)'
zpty -w shell "bindkey '^I' complete-word"
# What the terminal echoes of the lines above holds the markers split by quotes; only the
# output of the Tab holds them whole.
zpty -w shell 'print -r -- "<start-of-""completion>"'
# -n: no newline after the Tab, so that the line is completed and never run.
zpty -n -w shell "$line"$'\t'

local out chunk
integer limit=$((SECONDS + 20))
while ((SECONDS < limit)); do
  if zpty -rt shell chunk; then
    out+=$chunk
    [[ $out == *'<end-of-completion>'* ]] && break
  else
    sleep 0.05
  fi
done
zpty -d shell
[[ $out == *'<end-of-completion>'* ]] || { print -u2 "zsh_complete: no completion came back"; exit 1 }
out=${out%%'<end-of-completion>'*}
out=${out##*'<start-of-completion>'}
print -r -- $out | tr -d '\r' | sed -n 's/.*<match>\(.*\)<\/match>.*/\1/p'
