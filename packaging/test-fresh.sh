#!/bin/bash
# Tries on fresh machines what README promises: two commands, no questions. A machine is a copy of a clean system with a
# clone of this project in it; nothing outside build/fresh and the user's cache is touched. As root.
#
#   packaging/test-fresh.sh [RELEASE...]         ./run, the packages and ./test as root, then ./run and ./test as an
#                                                ordinary user with sudo; bookworm unless other releases are named
#   packaging/test-fresh.sh all                  the same in bookworm, trixie and noble, as far as there is a mirror
#   packaging/test-fresh.sh --quick [RELEASE]    only whether packages.txt names all that every build's configuration
#                                                and the making of packages need
# shellcheck disable=SC2317 # in_layer calls functions by their names
set -euo pipefail
cd "$(dirname "$0")/.."
source packaging/setup.sh
source packaging/clean-root.sh
in_own_namespace packaging/test-fresh.sh "$@"

readonly logs=$PWD/build/fresh
mkdir -p "$logs"

# on_machine USER COMMAND   As that user after logging in, in the project's folder. Not in a chroot, which lacks some of
# what a machine can do.
on_machine() {
  # shellcheck disable=SC2016 # for the shell in there
  env -i TERM=dumb PATH="$PATH" unshare --mount --propagation private \
    sh -c 'cd "$1" && pivot_root . mnt && umount --lazy /mnt && exec su - "$2" -c "cd vintrel && $3"' \
    sh "$root" "$1" "$2" </dev/null
}

# shellcheck disable=SC2016 # the package manager's own variable
installed() { inside dpkg-query -W -f '${Package}\n' | sort; }

# try USER COMMAND   Prints how long it took, and what it installed.
try() {
  local log start=$SECONDS before
  log=$logs/$release-$1-$(basename "$2").log
  before=$(installed)
  if ! on_machine "$1" "$2" >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    die "$release: $2 as $1 failed after $((SECONDS - start)) s; its whole output is in $log"
  fi
  local took=$((SECONDS - start)) new
  mapfile -t new < <(comm -13 <(echo "$before") <(installed))
  printf '%s: %s as %s: %d min %02d s, %d packages installed\n' "$release" "$2" "$1" $((took / 60)) $((took % 60)) \
    "${#new[@]}"
  fold -s -w 114 <<<"${new[*]}" | sed 's/^/    /'
}

# clone HOME   What is committed.
clone() { git -c safe.directory='*' clone --quiet "$PWD" "$root$1/vintrel"; }

try_as_root() {
  enter_copy system
  clone /root
  try root ./run
  try root packaging/build-debs.sh # before the tests, whose packages are not to help
  try root packaging/check-debs.sh
  try root ./test
  leave_copy
}

try_as_user() {
  enter_copy system
  inside apt-get -q update >"$logs/$release-sudo.log" 2>&1
  inside apt-get -qy --no-install-recommends install sudo >>"$logs/$release-sudo.log" 2>&1 ||
    die "sudo cannot be installed; see $logs/$release-sudo.log"
  inside useradd --create-home --shell /bin/bash ada
  echo "ada ALL=(ALL) NOPASSWD: ALL" >"$root/etc/sudoers.d/ada"
  clone /home/ada
  inside chown -R ada: /home/ada
  try ada ./run
  try ada ./test
  leave_copy
}

# In the copy's project.
in_project() { inside env -C /root/vintrel "$@"; }

# copy_project   What is there, committed or not.
copy_project() {
  mkdir -p "$root/root/vintrel"
  git -c safe.directory='*' ls-files -coz --exclude-standard --deduplicate |
    tar --create --null --files-from=- --ignore-failed-read 2>/dev/null | tar -x -C "$root/root/vintrel"
}

# lower_systems LAYER   What a layer of installed packages lies on, and the layer itself, as enter_copy wants it. Each
# group is seen to suffice for its command, without what other groups bring along.
lower_systems() {
  case $1 in
    run) echo "$installed/run system" ;;
    everything) echo "$installed/everything $(lower_systems test)" ;;
    *) echo "$installed/$1 $(lower_systems run)" ;;
  esac
}

# groups_of LAYER
groups_of() {
  case $1 in
    run) echo run ;;
    everything) sed -n 's/^\([a-z]\+\) .*/\1/p' packaging/packages.txt | sort -u ;;
    *) echo run "$1" ;;
  esac
}

# install_layer LAYER   Once for each state of packages.txt.
install_layer() {
  local below groups lock
  exec {lock}<"$base/made"
  flock "$lock"
  if [[ ! -e $base/$installed/$1 ]]; then
    read -ra below <<<"$(lower_systems "$1")"
    read -ra groups <<<"$(groups_of "$1" | tr '\n' ' ')"
    enter_copy "${below[@]:1}"
    copy_project
    # Neither what people read is needed here, nor that everything survives a crash.
    printf '%s\n' force-unsafe-io "path-exclude=/usr/share/"{doc,help,info,locale,man}'/*' \
      >"$root/etc/dpkg/dpkg.cfg.d/quick"
    # shellcheck disable=SC2016 # for the shell in there
    in_project bash -c 'source packaging/setup.sh; install_packages packaging/packages.txt "$@"' "$release" "${groups[@]}"
    rm -r "$root/root/vintrel" "$root/etc/dpkg/dpkg.cfg.d/quick"
    leave_copy "$base/$installed/$1"
  fi
  exec {lock}<&-
}

# hold_layers   Sets $installed to the folder below $base for the layers of this packages.txt on this clean system, and
# removes what no run has used for a week.
hold_layers() {
  local left lock
  installed=full.$({ cat packaging/packages.txt && stat -c %Y "$base/made"; } | sha256sum | head -c 16)
  exec {lock}<"$base/made"
  flock "$lock"
  mkdir -p "$base/$installed"
  touch "$base/$installed"
  while read -r left; do
    if flock --nonblock "$left" true; then rm -rf --one-file-system "$left"; fi
  done < <(find "$base" -maxdepth 1 -name 'full.*' -mtime +7)
  exec {installed_lock}<"$base/$installed" {lock}<&-
  flock --shared "$installed_lock"
}

expect_needs_met() {
  # shellcheck disable=SC2016 # for the shell in there
  in_project bash -c 'source packaging/setup.sh
    while read -r package proof; do
      need_is_met "$package" "$proof" || die "\"${proof:-$package}\" is not met by installing $package"
    done < <(sed -n "s/^[a-z]\+ \+//p" packaging/packages.txt)' "$release"
}

# expect_configured PRESET...   Those with optional parts too.
expect_configured() {
  local preset failed=''
  local -A jobs
  for preset in "$@"; do
    in_project cmake --preset "$preset" -DCMAKE_INSTALL_PREFIX=/usr --no-warn-unused-cli "${optional[@]}" \
      >"$work/$preset" 2>&1 &
    jobs[$preset]=$!
  done
  for preset in "$@"; do
    wait "${jobs[$preset]}" || failed+=" $preset"
  done
  for preset in $failed; do grep -A 12 '^CMake Error' "$work/$preset" >&2 || tail -n 20 "$work/$preset" >&2; done
  [[ -z $failed ]] || die "$release: with $layer of packages.txt these cannot be configured:$failed"
}

# expect_packages   Made like the real ones, with another program in the place of those that building takes minutes for.
expect_packages() {
  local program
  expect_configured release
  in_project mkdir -p build/release/bin
  for program in vintrel vintrel-app; do
    cp "$root/bin/true" "$root/root/vintrel/build/release/bin/$program"
  done
  in_project cpack --config build/release/CPackConfig.cmake -B build/packages >"$work/cpack" 2>&1 ||
    { tail -n 20 "$work/cpack" >&2; die "$release: with $layer of packages.txt no packages can be made"; }
}

# in_layer LAYER CHECK ARGUMENT...   In a copy of it.
in_layer() {
  local below layer=$1 start=$SECONDS
  shift
  install_layer "$layer"
  read -ra below <<<"$(lower_systems "$layer")"
  enter_copy "${below[@]}"
  copy_project
  "$@"
  leave_copy
  printf '%s: %s suffices for %s (%d s)\n' "$release" "$layer" "${*//_/ }" $((SECONDS - start))
}

look_quickly() {
  local presets optional=()
  make_clean_system "$release"
  hold_layers
  in_layer run expect_configured release
  in_layer deb expect_packages
  in_layer test expect_configured debug
  in_layer everything expect_needs_met
  mapfile -t presets < <(cmake --list-presets | sed -n 's/^ *"\([^"]*\)".*/\1/p')
  [[ ${#presets[@]} -gt 0 ]] || die "there are no presets"
  optional=(-DCMAKE_REQUIRE_FIND_PACKAGE_benchmark=ON)
  in_layer everything expect_configured "${presets[@]}"
}

# In one piece: a run takes long, and the shell reads on in a script that was changed meanwhile.
main() {
  local quickly='' releases=()
  if [[ ${1:-} == --quick ]]; then
    quickly=yes
    shift
  fi
  releases=("${@:-bookworm}")
  if [[ $* == all ]]; then
    releases=()
    for release in bookworm trixie noble; do
      if mirror_of "$release" >/dev/null; then releases+=("$release"); else echo "$release: no mirror"; fi
    done
  fi
  for release in "${releases[@]}"; do
    if [[ -n $quickly ]]; then
      look_quickly
    else
      make_clean_system "$release"
      try_as_root
      try_as_user
    fi
  done
  exit
}
main "$@"
