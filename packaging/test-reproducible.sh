#!/bin/bash
# Makes the packages twice, and compares them byte by byte: the same sources give the same packages whatever the folder,
# the day, the time zone, the language and the file permissions are. Two release builds, so it takes its time.
#
#   packaging/test-reproducible.sh
set -euo pipefail
cd "$(dirname "$0")/.."
source packaging/setup.sh

folder=$(mktemp -d "${TMPDIR:-/var/tmp}/vintrel-reproducible.XXXXXX")
trap 'rm -rf "$folder"' EXIT

# make_in CLONE DATE ENVIRONMENT...   The packages of what is committed, from files of that date.
make_in() {
  local clone=$1 date=$2
  shift 2
  say "Making the packages in $clone"
  git clone --quiet "$PWD" "$clone"
  find "$clone" -path "$clone/.git" -prune -o -exec touch --no-dereference --date "$date" {} +
  env -u SOURCE_DATE_EPOCH "$@" "$clone/packaging/build-debs.sh" >"$folder/log" 2>&1 ||
    { tail -n 40 "$folder/log" >&2; die "the packages cannot be made in $clone"; }
}

first=$folder/a
second=$folder/another/folder/with/a/longer/name
mkdir -p "$(dirname "$second")"
# In these time zones it is never the same day.
make_in "$first" yesterday TZ=west12 LC_ALL=C
(umask 077 && make_in "$second" '3 years ago' TZ=east-14 LC_ALL=C.UTF-8)

shopt -s nullglob
packages=("$first"/build/packages/*.deb)
[[ ${#packages[@]} -eq 2 ]] || die "there are ${#packages[@]} packages, and not two"
differ=0
for package in "${packages[@]}"; do
  other=$second/build/packages/${package##*/}
  if cmp "$package" "$other" >&2; then
    sha256sum "$package" | sed "s|$folder/||"
    continue
  fi
  differ=1
  dpkg-deb -R "$package" "$folder/one"
  dpkg-deb -R "$other" "$folder/two"
  diff -r "$folder/one" "$folder/two" >&2 || true
  rm -r "$folder/one" "$folder/two"
done
[[ $differ -eq 0 ]] || die "the same sources give different packages"
