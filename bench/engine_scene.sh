#!/bin/bash
# Measures the application's engine on a scene of 1,000 processes: what a scan costs beside its tools, whether
# scans leave anything behind, and what the program does when no scan is due. Prints a table.
#
#     bench/engine_scene.sh [BUILD_FOLDER]        (ROUNDS=21 for more or fewer than 11 rounds, IDLE=60 seconds)
set -euo pipefail

source_folder=$(cd "$(dirname "$0")/.." && pwd)
bin=$(realpath "${1:-$source_folder/build/release}")/bin
for program in bench_engine bench_scene vintrel-app; do
    [[ -x $bin/$program ]] || { echo "engine_scene.sh: $bin/$program is missing" >&2; exit 1; }
done

folder=$(mktemp -d)
scene_pid=
app_pid=
finish() {
    [[ -z $app_pid ]] || kill "$app_pid" 2>/dev/null || true
    if [[ -n $scene_pid ]]; then
        exec {scene_input}>&-
        wait "$scene_pid" || true
    fi
    rm -rf "$folder"
}
trap finish EXIT

export HOME=$folder/home XDG_CONFIG_HOME=$folder/config XDG_DATA_HOME=$folder/data XDG_CACHE_HOME=$folder/cache
export XDG_STATE_HOME=$folder/state XDG_RUNTIME_DIR=$folder/runtime LC_ALL=C.UTF-8
mkdir -p "$HOME" "$XDG_CONFIG_HOME/Vintrel" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
printf '[General]\nelapsedThreshold=900\nscanInterval=100000\n' >"$XDG_CONFIG_HOME/Vintrel/Vintrel.conf"

mkfifo "$folder/scene-input" "$folder/scene-output"
"$bin/bench_scene" "$folder" <"$folder/scene-input" >"$folder/scene-output" &
scene_pid=$!
exec {scene_input}>"$folder/scene-input"
read -r _ <"$folder/scene-output"

echo "| what | median (least to most) | target | verdict | medians of both |"
echo "|---|---|---|---|---|"
"$bin/bench_engine" cost "${ROUNDS:-11}"
"$bin/bench_engine" growth 50

# Every thread's switches and processor time; both count wake-ups that do nothing, too.
activity() {
    cat "/proc/$1/task/"*/schedstat | awk '{ time += $1; switches += $3 } END { printf "%d %d\n", switches, time }'
}
idle=${IDLE:-60}
QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen} "$bin/vintrel-app" &
app_pid=$!
sleep 3
read -r switches_before time_before < <(activity "$app_pid")
sleep "$idle"
read -r switches_after time_after < <(activity "$app_pid")
echo "| idle for $idle s: times on a processor, processor time | $((switches_after - switches_before))," \
    "$(((time_after - time_before) / 1000)) µs | 0, 0 | | threads: $(find "/proc/$app_pid/task" -mindepth 1 -maxdepth 1 | wc -l)," \
    "$(awk '/VmRSS/ { print $2 }' "/proc/$app_pid/status") KiB resident |"
