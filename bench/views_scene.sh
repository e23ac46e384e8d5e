#!/bin/bash
# Measures the popover with 1,000 candidates on an X server of its own, one program for each matter. Prints a
# table.
#
#     bench/views_scene.sh [BUILD_FOLDER] [MATTER...]      (ROUNDS=51 for more or fewer than 21 rounds)
#
# The matters are open, filter, rescan, memory and idle.
set -euo pipefail

source_folder=$(cd "$(dirname "$0")/.." && pwd)
bin=$(realpath "${1:-$source_folder/build/release}")/bin
[[ $# -eq 0 ]] || shift
if [[ $# -gt 0 ]]; then matters=("$@"); else matters=(open filter rescan memory idle); fi
program=$bin/bench_views
[[ -x $program ]] || { echo "views_scene.sh: $program is missing" >&2; exit 1; }

# shellcheck source=bench/screen.sh
source "$(dirname "${BASH_SOURCE[0]}")/screen.sh"

# No message bus, and none started on demand.
export DBUS_SESSION_BUS_ADDRESS=unix:path=$folder/none
unset WAYLAND_DISPLAY QT_SCALE_FACTOR QT_STYLE_OVERRIDE
export QT_QPA_PLATFORM=xcb XDG_RUNTIME_DIR=$folder/runtime LC_ALL=C.UTF-8
mkdir -m 700 "$XDG_RUNTIME_DIR"

echo "| what | median (least to most) | processor time | target | verdict |"
echo "|---|---|---|---|---|"
for matter in "${matters[@]}"; do
    "$program" "$matter" "${ROUNDS:-21}"
done
