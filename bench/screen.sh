# shellcheck shell=bash
# Sourced by scenes that show something: an X server of their own, which ends with them, and a folder that goes with it.
# Sets `folder` and DISPLAY.

command -v Xvfb >/dev/null || { echo "${0##*/}: Xvfb is missing" >&2; exit 1; }
folder=$(mktemp -d)
server_pid=
finish() {
    if [[ -n $server_pid ]]; then
        kill "$server_pid" 2>/dev/null || true
        wait "$server_pid" 2>/dev/null || true
    fi
    rm -rf "$folder"
}
trap finish EXIT

# The server chooses a free number and tells it.
mkfifo "$folder/display"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$folder/display" >"$folder/server.log" 2>&1 &
server_pid=$!
read -r -t 20 display <"$folder/display" || { cat "$folder/server.log" >&2; exit 1; }
export DISPLAY=:$display
