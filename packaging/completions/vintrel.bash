# bash completion for vintrel(1)
# shellcheck shell=bash

_vintrel() {
  local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]-} choices=
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    choices='list clean kill help --help --version'
  elif ((COMP_CWORD == 2)); then
    case $command in
      list) choices=--safe ;;
      # What is on the list can be ended; the first line of it is a heading.
      kill) choices=$("${COMP_WORDS[0]}" list 2>/dev/null | awk 'NR > 1 { print $1 }') ;;
    esac
  fi
  mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$word")
}

complete -F _vintrel vintrel
