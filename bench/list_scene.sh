#!/bin/bash
# Measures `vintrel list` on a scene of 1,000 processes, against the tools that tell the same, a bare program that
# reads the same, and one that does next to nothing. Prints a table; says "MISSED" where a figure is over its target, and fails only when it
# could not measure.
#
#     bench/list_scene.sh [BUILD_FOLDER]        (ROUNDS=31 for more or fewer than 21 rounds)
set -euo pipefail

source_folder=$(cd "$(dirname "$0")/.." && pwd)
bin=$(realpath "${1:-$source_folder/build/release}")/bin
rounds=${ROUNDS:-21}
vintrel=$bin/vintrel
bare=$bin/bare_program
measure=$bin/bench_measure

folder=$(mktemp -d)
scene_pid=
finish() {
    if [[ -n $scene_pid ]]; then
        exec {scene_input}>&-
        wait "$scene_pid" || true
    fi
    rm -rf "$folder"
}
trap finish EXIT

lsof=/usr/sbin/lsof
[[ -x $lsof ]] || lsof=/usr/bin/lsof
for program in "$vintrel" "$bare" "$bin/bare_facts" "$measure" "$bin/bench_scene" "$lsof" /bin/ps; do
    [[ -x $program ]] || { echo "list_scene.sh: $program is missing" >&2; exit 1; }
done

# A user with one setting, in the locale of the tools. The limit is what most systems give a
# shell: lsof tries to close every descriptor below it, which would slow down the reference alone.
export HOME=$folder/home XDG_CONFIG_HOME=$folder/config XDG_DATA_HOME=$folder/data XDG_CACHE_HOME=$folder/cache
export XDG_STATE_HOME=$folder/state XDG_RUNTIME_DIR=$folder/runtime LC_ALL=C.UTF-8
ulimit -S -n 1024
mkdir -p "$HOME" "$XDG_CONFIG_HOME/Vintrel" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
printf '[General]\nelapsedThreshold=900\n' >"$XDG_CONFIG_HOME/Vintrel/Vintrel.conf"

mkfifo "$folder/scene-input" "$folder/scene-output"
"$bin/bench_scene" "$folder" <"$folder/scene-input" >"$folder/scene-output" &
scene_pid=$!
exec {scene_input}>"$folder/scene-input"
read -r pids <"$folder/scene-output"

# The tools that tell what vintrel lists.
ps_command=(/bin/ps -axww -o 'pid=,ppid=,etime=,tty=,pcpu=,rss=,args=')
listeners=("$lsof" -nPi -sTCP:LISTEN)
directories=("$lsof" -a -p "$pids" -d cwd -Fpn)

libraries() { ldd "$1" | awk '{ print $1 }' | sort; }
listed=$("$vintrel" list | tail -n +2 | wc -l)
{
    echo "candidates listed: $listed of $(tr ',' '\n' <<<"$pids" | wc -l) in the scene;" \
        "$("${ps_command[@]}" | wc -l) processes; load before: $(cut -d' ' -f1-3 /proc/loadavg)"
    cmp -s <(libraries "$vintrel") <(libraries "$bare") || echo "vintrel and bare_program load different libraries"
    echo
    echo "| what | median (least to most) | target | verdict | medians of vintrel and of the other |"
    echo "|---|---|---|---|---|"
}
tools=("${ps_command[@]}" + "${listeners[@]}" + "${directories[@]}")
"$measure" wall "time / tools one after another" 0.12 "$rounds" "$vintrel" list -- "${tools[@]}"
"$measure" wall "time / bare reading of the same facts" 2.00 "$rounds" "$vintrel" list -- "$bin/bare_facts" "$pids"
"$measure" work "processor time / that of the tools" 0.12 "$rounds" "$vintrel" list -- "${tools[@]}"
"$measure" memory "own peak memory - bare program" 3.00 "$rounds" "$vintrel" list -- "$bare"

if command -v strace >/dev/null; then
    strace -f -qq -e trace=execve -e signal=none -o "$folder/trace" "$vintrel" list >/dev/null
    started=$(($(grep -c 'execve(.* = 0' "$folder/trace") - 1))
    echo "| programs started | $started | 0 | $([[ $started == 0 ]] && echo met || echo MISSED) | |"
else
    echo "programs started: not counted, there is no strace"
fi
echo "load after: $(cut -d' ' -f1-3 /proc/loadavg)"
