#!/bin/bash
# Measures what others wait for when the program runs already: a second start, and the results that it gives the
# desktop's search. It runs without a screen, on a message bus of its own. Prints two tables.
#
#     bench/instance_scene.sh [BUILD_FOLDER]      (ROUNDS=51 for more or fewer than 31 second starts)
set -euo pipefail

if [[ -z ${VINTREL_BENCH_BUS:-} ]]; then
    command -v dbus-run-session >/dev/null || { echo "instance_scene.sh: dbus-run-session is missing" >&2; exit 1; }
    VINTREL_BENCH_BUS=own exec dbus-run-session -- "$0" "$@"
fi

source_folder=$(cd "$(dirname "$0")/.." && pwd)
bin=$(realpath "${1:-$source_folder/build/release}")/bin
rounds=${ROUNDS:-31}
for program in vintrel-app bench_search bench_measure; do
    [[ -x $bin/$program ]] || { echo "instance_scene.sh: $bin/$program is missing" >&2; exit 1; }
done

folder=$(mktemp -d)
program_pid=
finish() {
    if [[ -n $program_pid ]]; then
        kill "$program_pid" 2>/dev/null || true
        wait "$program_pid" 2>/dev/null || true
    fi
    rm -rf "$folder"
}
trap finish EXIT

export HOME=$folder/home XDG_CONFIG_HOME=$folder/config XDG_DATA_HOME=$folder/data XDG_CACHE_HOME=$folder/cache
export XDG_STATE_HOME=$folder/state XDG_RUNTIME_DIR=$folder/runtime LC_ALL=C.UTF-8 QT_QPA_PLATFORM=offscreen
mkdir -p "$HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"

"$bin/vintrel-app" --service &
program_pid=$!
for _ in {1..100}; do
    dbus-send --session --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner \
        string:dev.vintrel.Vintrel 2>/dev/null | grep -q "boolean true" && break
    sleep 0.1
done

echo "| who asks | median | 99 of 100 | longest | target for 99 of 100 | verdict |"
echo "|---|---|---|---|---|---|"
"$bin/bench_search"
echo
echo "| what | median (least to most) | target | verdict | medians of the second start and of the other |"
echo "|---|---|---|---|---|"
"$bin/bench_measure" wall "second start / only loading the program" 1.50 "$rounds" "$bin/vintrel-app" vintrel:none -- \
    "$bin/vintrel-app" --version
