#!/bin/bash
# Makes docs/screenshots/*.png: the program itself, light and dark, on a screen and among processes of its own.
#
#   docs/screenshots.sh [PROGRAM [FOLDER]]     unless told otherwise, the release build, and docs/screenshots
#
# The scene is a developer's machine after a day of work. Its processes and containers are real and the program finds
# them by itself; their names, and since when they run, are invented. Needs root, for namespaces of its own, and the
# packages xvfb openbox xdotool imagemagick dbus-daemon libglib2.0-bin at-spi2-core python3-gi
# gir1.2-atspi-2.0 docker.io busybox-static fonts-dejavu-core xfce4-panel xfconf.
set -euo pipefail

readonly scale=2 display=:1 home=/srv/ada
project=$(cd "$(dirname "$0")/.." && pwd)
reader=$project/tests/desktop/accessibility.py

die() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  tail -n 5 "$home"/run/*.log >&2 2>/dev/null || true
  exit 1
}

# until_true COMMAND...   Waits until it succeeds.
until_true() {
  local _
  for _ in {1..400}; do
    if "$@" >/dev/null 2>&1; then return 0; fi
    sleep 0.05
  done
  die "this never came: $*"
}

#
# The scene
#

make_home() {
  mount -t tmpfs tmpfs /srv
  mkdir -p "$home"/.config/Vintrel "$home"/.local/share/Vintrel "$home"/run
  chmod 700 "$home/run"
  local name
  for name in ledgra notes shop; do mkdir -p "$home/code/$name/.git"; done
  mkdir -p "$home"/code/shop/apps/web/{.vite,coverage} "$home"/code/ledgra/packages/core "$home"/code/ledgra/api
  touch "$home"/code/shop/apps/web/{vitest.log,.vite/results.json,coverage/coverage.json} "$home"/code/notes/dev.log
  printf '[General]\nprotectedProjects=~/code/ledgra\nignoredNames=dockerd, node @ ~/code/infra\n' \
    >"$home/.config/Vintrel/Vintrel.conf"
  printf 'customRules=storybook = Storybook, tsserver = TypeScript server\n' >>"$home/.config/Vintrel/Vintrel.conf"
  write_clean_log >"$home/.local/share/Vintrel/clean-log.json"
}

# write_clean_log   What has been cleaned in the days before.
write_clean_log() {
  local kind project memory age separator='['
  while IFS='|' read -r kind project memory age; do
    printf '%s{"kind":"%s","projectLabel":"%s","rssKB":%s,"timestamp":"%s"}' \
      "$separator" "$kind" "$project" "$memory" "$(date -u -d "$age ago" +%Y-%m-%dT%H:%M:%SZ)"
    separator=,
  done <<'LOG'
Vite|shop/apps/web|181248|5 days
Jest|ledgra/packages/core|238592|4 days
vitest|shop/apps/web|246784|3 days
Vite|notes|163840|26 hours
playwright-mcp|notes|98304|25 hours
Next.js|shop/apps/admin|312320|3 hours
Vite|shop/apps/web|192512|50 minutes
vitest|ledgra/packages/core|227328|12 minutes
LOG
  printf ']\n'
}

# stray FOLDER MINUTES SHARE MEGABYTES PORT FILES COMMAND   An orphan that has run for so long, used that share of a
# processor (in tenths of a percent), holds that much memory, listens on the port (0 for none) and has the files open.
stray() {
  local folder=$home/code/$1 minutes=$2 share=$3 pid
  shift 3
  # A session of its own, whose leader is gone: nobody looks after it any more.
  # shellcheck disable=SC2016  # they are for the stray
  pid=$(cd "$folder" && setsid bash -c 'perl -e "$0" "$@" </dev/null >/dev/null 2>&1 & echo $!' '
    use IO::Socket::INET;
    my ($megabytes, $port, $files, $command) = @ARGV;
    my @open = map { open(my $file, "<", $_) or die; $file } split / /, $files;
    my $socket = $port ? IO::Socket::INET->new(LocalPort => $port, Listen => 1) : undef;
    my $memory = "x" x ($megabytes << 20);
    $0 = $command;
    sleep 3600;
  ' "$@")
  strays+=("$pid")
  until_true grep -qa "^$4" "/proc/$pid/cmdline"
  make_older "$pid" "$minutes" "$share"
}

# make_older PID MINUTES SHARE   Nobody wants to wait for a day: the kernel's record of the process, as everybody in
# here reads it, has another time of start.
make_older() {
  local record rest ticks=$(($2 * 60 * $(getconf CLK_TCK)))
  record=$(<"/proc/$1/stat")
  read -ra rest <<<"${record##*) }"
  rest[11]=$((ticks * $3 / 1000)) # time used
  rest[19]=$((rest[19] - ticks))  # time of start
  printf '%s) %s\n' "${record%) *}" "${rest[*]}" >"$home/run/stat.$1"
  mount --bind "$home/run/stat.$1" "/proc/$1/stat"
}

start_strays() {
  local modules=node_modules/.bin
  strays=()
  stray shop/apps/web 187 4 238 0 'vitest.log .vite/results.json coverage/coverage.json' "node $modules/vitest --watch"
  stray notes 1568 1 164 5173 dev.log "node $modules/vite"
  stray shop/apps/web 312 3 181 5183 '' "node $modules/vite --port 5183"
  stray ledgra/packages/core 94 2 226 0 '' "node $modules/jest --watch"
  stray notes 46 0 71 0 '' "node $modules/playwright-mcp"
  stray ledgra/api 655 5 88 8000 '' "python -m uvicorn ledgra.main:app --reload"
  stray shop 508 6 117 3001 '' "node server.js"
}

start_containers() {
  mount -t tmpfs tmpfs /run
  export DOCKER_HOST=unix://$home/run/docker.sock
  echo '{}' >"$home/run/docker.json"
  dockerd --config-file="$home/run/docker.json" --data-root="$home/run/docker" --exec-root="$home/run/docker-exec" \
    --pidfile="$home/run/docker.pid" --host="$DOCKER_HOST" --storage-driver=vfs --bridge=none --iptables=false \
    --ip6tables=false >"$home/run/docker.log" 2>&1 &
  until_true docker info
  mkdir -p "$home/run/image/bin"
  cp /bin/busybox "$home/run/image/bin/"
  ln -s busybox "$home/run/image/bin/sh"
  local name image options
  while read -r name image options; do
    tar -C "$home/run/image" -c . | docker import - "$image" >/dev/null
    # shellcheck disable=SC2086  # several options
    docker run -d --network none --name "$name" $options "$image" \
      /bin/sh -c 'memory=$(busybox head -c 9000000 /dev/zero | busybox tr "\0" x); while :; do busybox sleep 1; done' \
      >/dev/null
  done <<'CONTAINERS'
notes-search typesense:27
shop-web-1 shop-web:dev --label com.docker.compose.project=shop
shop-db-1 postgres:16 --label com.docker.compose.project=shop
shop-cache-1 redis:7-alpine --label com.docker.compose.project=shop
CONTAINERS
}

#
# The pictures
#

start_screen() {
  mkdir -p /tmp/.X11-unix
  mount -t tmpfs tmpfs /tmp/.X11-unix # nobody else's screens
  Xvfb $display -nolock -nolisten tcp -screen 0 1800x1400x24 >"$home/run/screen.log" 2>&1 &
  until_true test -S "/tmp/.X11-unix/X${display#:}"
  openbox >"$home/run/openbox.log" 2>&1 &
}

press() { "$reader" Vintrel press "$1" >/dev/null || die "there is nothing to press called: $1"; }
await() { "$reader" Vintrel await "$1" >/dev/null || die "this is not shown: $1"; }

# picture NAME [WINDOW]   What the window shows once it has come to rest.
picture() {
  local window before='' now
  window=$(xdotool search --onlyvisible --name "^${2:-Vintrel}\$" | tail -n 1)
  while now=$(import -silent -window "$window" rgb:- | sha256sum) && [[ $now != "$before" ]]; do
    before=$now
    sleep 0.2
  done
  import -silent -window "$window" png:- | store "$1"
}

# store NAME   What is read is kept in the colours of $scheme, in 256 of them: these keep the plain grounds as they are, and
# are enough for the edges of letters.
store() {
  convert png:- -strip +repage +dither -treedepth 8 -colors 256 -define png:compression-level=9 \
    "PNG8:$out/$1-$scheme.png"
}

# with_program COMMAND [OPTION]   Runs it while the program, started with the option, has the colours of $scheme.
with_program() {
  local portal
  : >"$home/run/portal"
  "$project/tests/desktop/portal.py" "$scheme" >"$home/run/portal" &
  portal=$!
  until_true grep -q ready "$home/run/portal"
  xdotool mousemove 0 0 # it points at nothing
  "$program" "${2:---show}" >>"$home/run/program.log" 2>&1 &
  app=$!
  "$1"
  kill "$app" "$portal"
  wait "$app" "$portal" || true
}

pictures_with_strays() {
  await 'Needs review'
  picture processes
  press 'Why is this here?'
  await 'open files'
  picture expanded
  press 'Why is this here?'
  press Containers
  await 'shop-db-1, image postgres:16, Up'
  await 'processor 0.'
  picture containers
  press Cleaned
  await 'Recently cleaned'
  picture cleaned
  press Settings
  await 'Launch at login'
  picture settings 'Vintrel Settings'
  xdotool search --onlyvisible --name '^Vintrel$' windowactivate --sync
  press Processes
  xdotool key ctrl+f
  xdotool type storybook
  await 'No processes match'
  picture no-match
}

pictures_without_strays() {
  await 'No stray processes detected.'
  picture no-strays
}

# The panel, with nothing on it but its tray.
write_panel() {
  local folder=$home/.config/xfce4/xfconf/xfce-perchannel-xml
  mkdir -p "$folder"
  cat >"$folder/xfce4-panel.xml" <<'SETTINGS'
<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
 <property name="configver" type="int" value="2"/>
 <property name="panels" type="array"><value type="int" value="1"/>
  <property name="panel-1" type="empty">
   <property name="position" type="string" value="p=6;x=0;y=0"/>
   <property name="length" type="uint" value="100"/>
   <property name="position-locked" type="bool" value="true"/>
   <property name="size" type="uint" value="28"/>
   <property name="icon-size" type="uint" value="22"/>
   <property name="plugin-ids" type="array">
    <value type="int" value="1"/><value type="int" value="2"/><value type="int" value="3"/>
   </property>
  </property></property>
 <property name="plugins" type="empty">
  <property name="plugin-1" type="string" value="separator">
   <property name="expand" type="bool" value="true"/>
   <property name="style" type="uint" value="0"/>
  </property>
  <property name="plugin-2" type="string" value="systray"/>
  <property name="plugin-3" type="string" value="separator">
   <property name="style" type="uint" value="0"/>
  </property>
 </property>
</channel>
SETTINGS
}

# icon_shows_number   What the tray was told.
icon_shows_number() {
  gdbus call --session --dest "org.kde.StatusNotifierItem-$app-1" --object-path /StatusNotifierItem \
    --method org.freedesktop.DBus.Properties.Get org.kde.StatusNotifierItem XAyatanaLabel | grep -q '[0-9]'
}

popover() { xdotool search --onlyvisible --name '^Vintrel$'; }

# The right end of the panel, the icon, and what a click on it opens.
picture_of_panel() {
  local panel HEIGHT X Y
  GDK_SCALE=$scale xfce4-panel --disable-wm-check >>"$home/run/panel.log" 2>&1 &
  panel=$!
  "$program" --action scan-now
  until_true icon_shows_number
  until_true eval 'xdotool mousemove 1754 28 click 1; sleep 1; popover'
  await 'Needs review'
  xdotool mousemove 0 1300
  sleep 1 # the pulse is over
  eval "$(xdotool getwindowgeometry --shell "$(popover | tail -n 1)" | grep -E '^(HEIGHT|X|Y)=')"
  import -silent -window root -crop "$((1800 - X + 40))x$((Y + HEIGHT + 40))+$((X - 40))+0" png:- | store panel
  kill "$panel"
  wait "$panel" || true
}

start_session() {
  export HOME=$home XDG_RUNTIME_DIR=$home/run DISPLAY=$display LANG=C.UTF-8
  export QT_QPA_PLATFORM=xcb QT_SCALE_FACTOR=$scale QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 GSETTINGS_BACKEND=memory
  unset WAYLAND_DISPLAY XDG_CURRENT_DESKTOP XDG_CONFIG_HOME XDG_DATA_HOME XDG_CACHE_HOME
  start_screen
  DBUS_SESSION_BUS_ADDRESS=unix:path=$home/run/bus
  export DBUS_SESSION_BUS_ADDRESS
  dbus-daemon --session --nofork --address="$DBUS_SESSION_BUS_ADDRESS" 2>"$home/run/bus.log" &
  until_true test -S "$home/run/bus"
}

inside() {
  program=$1 out=$2
  make_home
  start_session
  start_strays
  start_containers
  for scheme in light dark; do with_program pictures_with_strays; done
  write_panel
  display -size 64x64 -window root 'xc:#7d8b99' || true # it has no window of its own, which it takes for a failure
  scheme=light
  with_program picture_of_panel --service
  kill "${strays[@]}"
  for scheme in light dark; do with_program pictures_without_strays; done
}

case ${1:-} in
  --inside) inside "$2" "$3"; exit ;;
  # Looks after the orphans in there, and has the name of who does that elsewhere. What the scene needs besides them is
  # started by another process.
  --first) printf systemd >/proc/self/comm; "$0" --inside "$2" "$3"; exit ;;
esac
program=$(realpath "${1:-$project/build/release/bin/vintrel-app}")
[[ $(id -u) -eq 0 ]] || die "needs root"
[[ -x $program ]] || die "there is no program $program"
mkdir -p "${2:-$project/docs/screenshots}"
out=$(realpath "${2:-$project/docs/screenshots}")
# Everything that is started ends with the namespaces. The machine in there has run for a while, so that there is time
# for processes to have run for hours.
exec unshare --mount --net --pid --fork --kill-child --mount-proc --time --boottime 1000000 \
  "$0" --first "$program" "$out"
