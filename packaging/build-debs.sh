#!/bin/bash
# Makes the Debian packages vintrel and vintrel-app from the release build, in build/packages.
#
#   packaging/build-debs.sh
#
# VINTREL_MAINTAINER="Name <address>" in the environment names who answers for them.
set -euo pipefail
cd "$(dirname "$0")/.."
source packaging/setup.sh
install_packages packaging/packages.txt run deb

# The same sources give the same packages: the newest entry of their changelog says when they were made.
if [[ -z ${SOURCE_DATE_EPOCH:-} ]]; then
  made=$(sed -n '/^ -- /{s/^ -- .*  //p;q}' packaging/debian/changelog.in)
  [[ -n $made ]] || die "packaging/debian/changelog.in does not say when its newest entry was made"
  SOURCE_DATE_EPOCH=$(date -d "$made" +%s)
fi
export SOURCE_DATE_EPOCH

packages=build/packages
rm -rf "$packages"
# What is installed names the folder that it is installed in; the rest of the build does not depend on it.
prefix=$(sed -n 's/^CMAKE_INSTALL_PREFIX:[^=]*=//p' build/release/CMakeCache.txt 2>/dev/null || true)
configure() { cmake --preset release "$@" >/dev/null; }
trap 'configure -DCMAKE_INSTALL_PREFIX="${prefix:-/usr/local}"' EXIT
configure -DCMAKE_INSTALL_PREFIX=/usr ${VINTREL_MAINTAINER:+-DVINTREL_MAINTAINER="$VINTREL_MAINTAINER"}
build release vintrel vintrel-app
(umask 022 && cpack --config build/release/CPackConfig.cmake -B "$packages" >"$packages.log" 2>&1) ||
  { cat "$packages.log" >&2; die "the packages could not be made"; }
rm -rf "$packages/_CPack_Packages" "$packages.log"
printf '%s\n' "$packages"/*.deb
