#!/usr/bin/env bash
# The bash completion script, sourced in bash as bash-completion would, asked what follows
# "zonclock ad", "zonclock add san j", "zonclock list --form" and "zonclock list --format ".
#   completion-check.sh COMPLETION_SCRIPT ZONCLOCK
set -euo pipefail
script=$1
export PATH="$(dirname "$2"):$PATH"
export ZON_HOST_ROOT=$(mktemp -d)
trap 'rm -rf "$ZON_HOST_ROOT"' EXIT
compopt() { :; }   # only valid inside a completion run of an interactive shell
# shellcheck source=/dev/null
. "$script"

complete_line() {
  read -r -a COMP_WORDS <<<"$1"
  [[ $1 == *" " ]] && COMP_WORDS+=("")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  COMPREPLY=()
  _zonclock
  local IFS='|'
  echo "${COMPREPLY[*]}"
}

expect() {
  local got
  got=$(complete_line "$1")
  [[ $got == "$2" ]] || { echo "completion of '$1': got '$got', expected '$2'" >&2; exit 1; }
}

expect "zonclock ad" "add"
expect "zonclock ch" "changes"
expect "zonclock add Toky" "Tokyo"
expect "zonclock list --form" "--format"
expect "zonclock list --format " "text|json|tsv"
expect "zonclock help sea" "search"
expect "zonclock --root " ""
echo "completion checks passed"
