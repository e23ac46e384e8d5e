#!/bin/bash
# Tries on fresh machines what README promises: two commands, no questions. A machine is a copy of a clean system with a
# clone of this project in it; nothing outside build/fresh and the user's cache is touched. As root.
#
#   packaging/test-fresh.sh [RELEASE...]         ./run, the packages and ./test as root, then ./run and ./test as an
#                                                ordinary user with sudo; bookworm unless other releases are named
#   packaging/test-fresh.sh all                  the same in bookworm, trixie and noble, as far as there is a mirror
#   packaging/test-fresh.sh --quick [RELEASE]    only whether packages.txt names all that every build's configuration
#                                                and the making of packages need
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

# installed_system   Sets $full to the folder below $base with what installing all of packages.txt adds to the clean
# system; made anew when the list or the system has changed.
installed_system() {
  local groups left
  full=full.$({ cat packaging/packages.txt && stat -c %Y "$base/made"; } | sha256sum | head -c 16)
  if [[ ! -e $base/$full ]]; then
    for left in "$base"/full.*; do
      if [[ -d $left ]] && flock --nonblock "$left" true; then rm -rf --one-file-system "$left"; fi
    done
    mapfile -t groups < <(sed -n 's/^\([a-z]\+\) .*/\1/p' packaging/packages.txt | sort -u)
    enter_copy system
    copy_project
    echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/quick"
    # shellcheck disable=SC2016 # for the shell in there
    in_project bash -c 'source packaging/setup.sh; install_packages packaging/packages.txt "$@"' "$release" "${groups[@]}"
    rm -r "$root/root/vintrel" "$root/etc/dpkg/dpkg.cfg.d/quick"
    leave_copy "$base/$full"
  fi
  exec {full_lock}<"$base/$full"
  flock --shared "$full_lock"
}

expect_needs_met() {
  # shellcheck disable=SC2016 # for the shell in there
  in_project bash -c 'source packaging/setup.sh
    while read -r package proof; do
      need_is_met "$package" "$proof" || die "\"${proof:-$package}\" is not met by installing $package"
    done < <(sed -n "s/^[a-z]\+ \+//p" packaging/packages.txt)' "$release"
}

# expect_configured   Every preset, those with optional parts too.
expect_configured() {
  local preset presets failed=''
  local -A jobs
  mapfile -t presets < <(in_project cmake --list-presets | sed -n 's/^ *"\([^"]*\)".*/\1/p')
  [[ ${#presets[@]} -gt 0 ]] || die "there are no presets"
  for preset in "${presets[@]}"; do
    in_project cmake --preset "$preset" -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_REQUIRE_FIND_PACKAGE_benchmark=ON --no-warn-unused-cli \
      >"$work/$preset" 2>&1 &
    jobs[$preset]=$!
  done
  for preset in "${presets[@]}"; do
    wait "${jobs[$preset]}" || failed+=" $preset"
  done
  for preset in $failed; do grep -A 12 '^CMake Error' "$work/$preset" >&2 || tail -n 20 "$work/$preset" >&2; done
  [[ -z $failed ]] || die "$release: with packages.txt alone these cannot be configured:$failed"
  printf '%s: configured: %s\n' "$release" "${presets[*]}"
}

# expect_packages   Made like the real ones, with another program in the place of those that building takes minutes for.
expect_packages() {
  local program
  in_project mkdir -p build/release/bin
  for program in vintrel vintrel-app; do
    cp "$root/bin/true" "$root/root/vintrel/build/release/bin/$program"
  done
  in_project cpack --config build/release/CPackConfig.cmake -B build/packages >"$work/cpack" 2>&1 ||
    { tail -n 20 "$work/cpack" >&2; die "$release: packages cannot be made"; }
  printf '%s: packages can be made\n' "$release"
}

look_quickly() {
  make_clean_system "$release"
  installed_system
  enter_copy "$full" system
  copy_project
  expect_needs_met
  expect_configured
  expect_packages
  leave_copy
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
