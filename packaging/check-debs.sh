#!/bin/bash
# Looks at the packages in build/packages with the tools that distributions look at packages with, and tries the
# completions in every shell. A word from any of them is a failure.
set -euo pipefail
cd "$(dirname "$0")/.."
source packaging/setup.sh
install_packages packaging/packages.txt check

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
shopt -s nullglob
packages=(build/packages/*.deb)
[[ ${#packages[@]} -eq 2 ]] || die "build/packages holds ${#packages[@]} packages; packaging/build-debs.sh makes two"
for package in "${packages[@]}"; do
  dpkg-deb -x "$package" "$root"
done

# silent WHAT COMMAND...   Fails when it does, and when it has anything to say.
silent() {
  local what=$1 said
  shift
  if ! said=$("$@" 2>&1) || [[ -n $said ]]; then
    die "$what: ${said:-failed}"
  fi
}

# check_metadata COMMAND PATH   Newer validators want a home page, which a build has only when it is given one.
check_metadata() {
  local said
  said=$(appstreamcli "$1" --no-net "$2" 2>&1) && return
  if ! grep -q '^ *W: .*: url-homepage-missing$' <<<"$said" ||
    grep '^ *[EW]: ' <<<"$said" | grep -v ': url-homepage-missing$'; then
    die "metadata: $said"
  fi
}

# lint PACKAGE...   Says what is wrong, but for the metadata, which is looked at below.
lint() {
  local said
  said=$(lintian --allow-root --fail-on none --display-level '>=warning' "$@" 2>&1) || { echo "$said"; return 1; }
  grep -v ': appstream-metadata-validation-failed ' <<<"$said" || true
}
typeset_page() { LC_ALL=C.UTF-8 man --warnings -E UTF-8 -l -Tutf8 -Z "$1" >/dev/null; }
silent "lintian" lint "${packages[@]}"
silent "desktop entry" desktop-file-validate "$root"/usr/share/applications/*.desktop
for file in "$root"/usr/share/metainfo/*.xml; do check_metadata validate "$file"; done
check_metadata validate-tree "$root"

# Whoever makes them from the same sources gets the same: they tell neither of the day nor of the folder.
# packaging/test-reproducible.sh makes them twice to see it.
made=$(zcat "$root/usr/share/doc/vintrel/changelog.Debian.gz" | sed -n '/^ -- /{s/^ -- .*  //p;q}')
times=$(find "$root/usr" -type f -printf '%T@\n' | cut -d . -f 1 | sort -u)
[[ $times == "${SOURCE_DATE_EPOCH:-$(date -d "$made" +%s)}" ]] ||
  die "the files in the packages are of other times than $made, when the changelog has them made: @${times//$'\n'/ @}"
for program in build/release/bin/vintrel{,-app}; do
  if [[ -e $program ]] && grep -qF "$PWD" "$program"; then die "$program names the folder that it was built in"; fi
done

for service in "$root"/usr/share/dbus-1/services/*.service; do
  program=$(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$service")
  [[ -x $root$program ]] || die "${service##*/} starts \"$program\", which is in no package"
done

for program in "$root"/usr/bin/*; do
  [[ -f $root/usr/share/man/man1/${program##*/}.1.gz ]] || die "${program##*/} has no manual page"
done
for page in "$root"/usr/share/man/man1/*.gz; do
  silent "${page##*/}" typeset_page "$page"
  silent "${page##*/}" mandoc -T lint -W warning "$page"
done

completions=$root/completions
mkdir "$completions"
cp "$root/usr/share/bash-completion/completions/vintrel" "$completions/vintrel.bash"
cp "$root/usr/share/zsh/vendor-completions/_vintrel" "$root/usr/share/fish/vendor_completions.d/vintrel.fish" \
  "$completions"
silent "completion" bash -n "$completions/vintrel.bash"
silent "completion" zsh -n "$completions/_vintrel"
silent "completion" fish -n "$completions/vintrel.fish"
python3 -B tests/packaging/completions_test.py "$completions" bash zsh fish 2>"$root/said" ||
  die "completion: $(cat "$root/said")"
