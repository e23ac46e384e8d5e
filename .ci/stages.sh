# Sourced by .ci/run and .ci/nightly: what both of them are made of.
# shellcheck shell=bash disable=SC2034 # the scripts that source this read "began"

sources() { git ls-files -co --exclude-standard -- '*.cpp' '*.h'; }
minutes() { printf '%d:%02d' $(($1 / 60)) $(($1 % 60)); }

times=()

# stage NAME COMMAND...   Says how long the command took; a failure ends the run.
stage() {
  local name=$1 start=$SECONDS
  shift
  say "$name"
  "$@"
  times+=("$(printf '%6s  %s' "$(minutes $((SECONDS - start)))" "$name")")
}

# finish   How long each stage took.
finish() {
  printf '%s\n' "${times[@]}"
  say "All is well, in $(minutes "$SECONDS")"
}

check_format() { sources | xargs clang-format-19 --dry-run --Werror; }

check_scripts() {
  git ls-files -co --exclude-standard -- run test .ci/run .ci/nightly '*.sh' '*.bash' | xargs shellcheck -x
}

# build_release   All that a release build can make, without warnings. The packages are made of the same objects.
build_release() {
  trap 'cmake --preset release -DVINTREL_WERROR=OFF >/dev/null' EXIT
  cmake --preset release -DVINTREL_WERROR=ON >/dev/null
  build release vintrel vintrel-app benchmarks
}

check_packages() {
  packaging/build-debs.sh >/dev/null
  packaging/check-debs.sh
}
