#!/bin/bash
# Measures the application in the tray: how soon its icon is there, and what memory and wake-ups it costs while
# nobody opens it. On an X server and a message bus of its own, where nothing is started on demand. Prints a table.
#
#     bench/tray_scene.sh [BUILD_FOLDER]      (ROUNDS=51 for more or fewer than 31 starts, IDLE=20 for less than 60 s)
set -euo pipefail

source_folder=$(cd "$(dirname "$0")/.." && pwd)
bin=$(realpath "${1:-$source_folder/build/release}")/bin
for program in vintrel-app bench_tray bare_tray; do
    [[ -x $bin/$program ]] || { echo "tray_scene.sh: $bin/$program is missing" >&2; exit 1; }
done
command -v dbus-run-session >/dev/null || { echo "tray_scene.sh: dbus-run-session is missing" >&2; exit 1; }

# shellcheck source=bench/screen.sh
source "$(dirname "${BASH_SOURCE[0]}")/screen.sh"

unset WAYLAND_DISPLAY XDG_CURRENT_DESKTOP QT_SCALE_FACTOR QT_STYLE_OVERRIDE QT_QPA_PLATFORMTHEME
export QT_QPA_PLATFORM=xcb LC_ALL=C.UTF-8
export HOME=$folder/home XDG_CONFIG_HOME=$folder/config XDG_DATA_HOME=$folder/data XDG_CACHE_HOME=$folder/cache
export XDG_STATE_HOME=$folder/state XDG_RUNTIME_DIR=$folder/runtime
mkdir -p "$HOME" "$XDG_CONFIG_HOME/Vintrel" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
printf '[General]\nelapsedThreshold=900\nscanInterval=100000\n' >"$XDG_CONFIG_HOME/Vintrel/Vintrel.conf"
cat >"$folder/bus.conf" <<END
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=$folder</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
END
on_a_bus() { dbus-run-session --config-file="$folder/bus.conf" -- "$@"; }

echo "load before: $(cut -d' ' -f1-3 /proc/loadavg)"
echo
echo "| what | figure | target | verdict |"
echo "|---|---|---|---|"
on_a_bus "$bin/bench_tray" start "${ROUNDS:-31}" "$bin/vintrel-app"
on_a_bus "$bin/bench_tray" idle "${IDLE:-60}" "$bin/vintrel-app" "$bin/bare_tray"
echo
echo "load after: $(cut -d' ' -f1-3 /proc/loadavg)"
