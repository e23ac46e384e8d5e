#!/usr/bin/env bash
# Runs the fuzz targets, each for so many seconds, two at a time, and stops at the first that fails.
#
#   fuzz/run.sh SECONDS [TARGET...]      the targets are the folders of fuzz/seeds; without any: all
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
# shellcheck source-path=SCRIPTDIR/.. source=packaging/setup.sh
source packaging/setup.sh

readonly work=$PWD/build/fuzz/work
declare -A target_of=() # by the number of the process that runs it

# Both come into being for the time of a run, so that a user's files neither matter nor change.
export HOME=$work/home XDG_DATA_HOME=$work/home/data
export LC_ALL=C.UTF-8
ASAN_SYMBOLIZER_PATH=$(command -v llvm-symbolizer-19 || true)
export ASAN_SYMBOLIZER_PATH

start() {
  local target=$1 seconds=$2 folder=$work/$1
  rm -rf "$folder"
  mkdir -p "$folder/corpus" "$folder/failures"
  cp "fuzz/seeds/$target"/* "$folder/corpus/"
  setarch -R "build/fuzz/bin/fuzz-$target" "$folder/corpus" -max_total_time="$seconds" -timeout=5 -rss_limit_mb=2048 \
    -max_len=4096 -print_final_stats=1 -artifact_prefix="$folder/failures/" >"$folder/log" 2>&1 &
  target_of[$!]=$target
}

# The last number behind NAME in a log.
figure() { sed -nE "s/.*$2: *([0-9]+).*/\1/p" "$1" | tail -n 1; }

describe() {
  local log=$work/$1/log at_start at_end
  at_start=$(sed -nE 's/.*INITED cov: ([0-9]+).*/\1/p' "$log")
  at_end=$(sed -nE 's/^#.* cov: ([0-9]+).*/\1/p' "$log" | tail -n 1)
  printf '%-15s %9d runs, coverage %d (%d of it new), %d new inputs\n' "$1" \
    "$(figure "$log" 'stat::number_of_executed_units')" "$at_end" $((at_end - at_start)) \
    "$(figure "$log" 'stat::new_units_added')"
}

stop_the_others() {
  local pid
  for pid in "${!target_of[@]}"; do
    kill "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  done
  target_of=()
}
trap stop_the_others EXIT

fail() {
  local target=$1 input
  stop_the_others
  grep -m 20 -E 'violated|ERROR|SUMMARY|runtime error|^ +#[0-9]+ .*(VintrelCore/|fuzz/)' "$work/$target/log" >&2 ||
    tail -n 20 "$work/$target/log" >&2
  input=$(find "$work/$target/failures" -type f -print -quit)
  say "The whole output: $work/$target/log"
  [[ -z $input ]] || say "Once more: build/fuzz/bin/fuzz-$target $input"
  die "$target failed"
}

wait_for_one() {
  local ended status=0
  wait -n -p ended "${!target_of[@]}" || status=$?
  local target=${target_of[$ended]}
  unset "target_of[$ended]"
  [[ $status -eq 0 ]] || fail "$target"
  describe "$target"
}

[[ ${1:-} =~ ^[1-9][0-9]*$ ]] || die "usage: fuzz/run.sh SECONDS [TARGET...]"
seconds=$1
shift
targets=("$@")
if [[ $# -eq 0 ]]; then
  mapfile -t targets < <(find fuzz/seeds -mindepth 1 -maxdepth 1 -type d -printf '%f\n' | sort)
fi
for target in "${targets[@]}"; do
  [[ -d fuzz/seeds/$target ]] || die "there is no target $target"
done
build fuzz all
mkdir -p "$HOME"

for target in "${targets[@]}"; do
  [[ ${#target_of[@]} -lt 2 ]] || wait_for_one
  start "$target" "$seconds"
done
while [[ ${#target_of[@]} -gt 0 ]]; do
  wait_for_one
done
say "${#targets[@]} targets, nothing found"
