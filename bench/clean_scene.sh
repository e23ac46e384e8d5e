#!/bin/bash
# Measures `vintrel clean` of 1, 50 and 500 strays, each several times. Needs root: every run has a process namespace
# of its own, where clean sees nothing but the strays that were started for it.
#
#     bench/clean_scene.sh [BUILD_FOLDER]        (ROUNDS=9 for more or fewer than 5 rounds)
set -euo pipefail

source_folder=$(cd "$(dirname "$0")/.." && pwd)
bin=$(realpath "${1:-$source_folder/build/release}")/bin
for program in "$bin/vintrel" "$bin/bench_clean"; do
    [[ -x $program ]] || { echo "clean_scene.sh: $program is missing" >&2; exit 1; }
done

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export HOME=$folder/home XDG_CONFIG_HOME=$folder/config XDG_DATA_HOME=$folder/data LC_ALL=C.UTF-8
mkdir -p "$HOME" "$XDG_CONFIG_HOME/Vintrel"
printf '[General]\nelapsedThreshold=0.5\n' >"$XDG_CONFIG_HOME/Vintrel/Vintrel.conf"

echo "| strays | list alone | clean beyond that and the grace period | own processor time | threads | own peak memory | it said |"
echo "|---|---|---|---|---|---|---|"
for count in 1 50 500; do
    for _ in $(seq "${ROUNDS:-5}"); do
        unshare --pid --fork --mount-proc --kill-child "$bin/bench_clean" "$bin/vintrel" "$count"
    done
done
