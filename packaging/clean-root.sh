# Sourced by test-debs.sh and test-fresh.sh: systems with nothing in them but what every system has, and throw-away
# copies of them. Kept below the user's cache for all checkouts: the systems, and the packages fetched for them.
# shellcheck shell=bash

readonly cache=${XDG_CACHE_HOME:-${HOME:-/root}/.cache}/vintrel/clean-root
PATH=$PATH:/usr/sbin:/sbin

# in_own_namespace SCRIPT ARGUMENT...   Starts the script anew; its mounts and processes end with it, whatever happens.
in_own_namespace() {
  [[ $(id -u) -eq 0 ]] || die "only root can make a clean system"
  if [[ -z ${VINTREL_OWN_NAMESPACE:-} ]]; then
    install_packages packaging/packages.txt root
    VINTREL_OWN_NAMESPACE=yes exec unshare --mount --pid --fork --kill-child --mount-proc "$@"
  fi
}

# mirror_of RELEASE   Where this machine's package manager fetches packages of that distribution; fails without one.
mirror_of() {
  local script=/usr/share/debootstrap/scripts/$1 origin=Debian site
  [[ -e $script ]] || return 1
  if grep -q ubuntu-archive-keyring "$script"; then origin=Ubuntu; fi
  site=$(apt-get indextargets --format "\$(ORIGIN) \$(LABEL) \$(COMPONENT) \$(REPO_URI)" |
    sed -n "s/^$origin $origin main //p" | head -n 1)
  [[ -n $site ]] && printf '%s\n' "$site"
}

# sweep   Removes what earlier runs that were ended have left; what a run uses is locked.
sweep() {
  local left
  for left in "$base"/copy.*; do
    if [[ -d $left ]] && flock --nonblock "$left" true; then rm -rf --one-file-system "$left"; fi
  done
}

# make_clean_system RELEASE   Sets $base, below which the clean system of that release is. It is made anew every month,
# so that it does not fall behind its release.
make_clean_system() {
  local site components=main lock
  base=$cache/$1
  mkdir -p "$base"
  exec {lock}<"$base"
  flock "$lock"
  sweep
  if [[ -z $(find "$base/made" -mtime -30 2>/dev/null) ]]; then
    site=$(mirror_of "$1") || die "$1: no mirror"
    if grep -q ubuntu-archive-keyring "/usr/share/debootstrap/scripts/$1"; then components=main,universe; fi
    say "Making a clean system of $1 (once a month)"
    rm -rf --one-file-system "$base"/{made,system,archives} "$base"/full.*
    mkdir -p "$base/archives/partial"
    debootstrap --variant=minbase --components="$components" --cache-dir="$base/archives" "$1" "$base/system" "$site" \
      >"$base/log" 2>&1 || die "that failed, and it takes the network; the whole output is in $base/log"
    printf '127.0.0.1 localhost\n127.0.1.1 %s\n::1 localhost\n' "$(uname -n)" >"$base/system/etc/hosts"
    printf '#!/bin/sh\nexit 101\n' >"$base/system/usr/sbin/policy-rc.d" # what is installed starts no services
    chmod +x "$base/system/usr/sbin/policy-rc.d"
    touch "$base/made"
  fi
  exec {lock}<&-
}

# enter_copy LOWER...   Mounts at $root a copy of the systems below $base, upper ones first; $work is a folder beside it.
# Both are gone when the script ends, or with leave_copy.
enter_copy() {
  local layer layers='' lock
  for layer in "$@"; do layers+=${layers:+:}$base/$layer; done
  exec {lock}<"$base"
  flock "$lock"
  work=$(mktemp -d "$base/copy.XXXXXX")
  exec {copy_lock}<"$work"
  flock "$copy_lock"
  exec {lock}<&-
  trap leave_copy EXIT
  mkdir "$work"/{root,changes,overlay}
  root=$work/root
  mount -t overlay overlay -o "lowerdir=$layers,upperdir=$work/changes,workdir=$work/overlay" "$root" ||
    die "no copy of a system can be mounted in $cache; XDG_CACHE_HOME can name a folder on another disk"
  mount -t proc proc "$root/proc"
  mount -t sysfs -o ro sysfs "$root/sys"
  mount --rbind /dev "$root/dev"
  mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
  cp -al "$base/archives" "$work/archives" # of its own, because package managers lock it
  rm -f "$work/archives/lock"
  mount --bind "$work/archives" "$root/var/cache/apt/archives"
  cp /etc/resolv.conf "$root/etc/resolv.conf"
}

# leave_copy [FOLDER]   With a folder, what has changed in the copy becomes that one.
leave_copy() {
  trap - EXIT
  umount --lazy --recursive "$root"
  cp -aln "$work"/archives/*.deb "$base/archives" 2>/dev/null || true # for the next run
  if [[ -n ${1:-} ]]; then mv -T "$work/changes" "$1"; fi
  rm -rf --one-file-system "$work"
  exec {copy_lock}<&-
}

# inside COMMAND...   As root in the copy.
inside() {
  env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 CI=true DEBIAN_FRONTEND=noninteractive \
    chroot "$root" "$@" </dev/null
}
