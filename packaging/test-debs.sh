#!/bin/bash
# Installs, upgrades and removes the packages in build/packages in a clean system: this one's release with nothing in it
# but what every system has; and has a session bus in there start what is installed. As root; nothing outside the user's
# cache is touched.
#
#   packaging/test-debs.sh
#
# The clean system and the packages fetched for it stay in the user's cache; every run works on a copy.
set -euo pipefail
cd "$(dirname "$0")/.."
source packaging/setup.sh
source packaging/clean-root.sh
in_own_namespace packaging/test-debs.sh "$@"
readonly lower=0.0.1-0vintrel1
readonly id=dev.vintrel.Vintrel

apt() {
  inside apt-get -qy --no-install-recommends "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; die "apt-get $* failed"; }
}

# needed_by PACKAGE...   What else is installed with them.
needed_by() {
  inside apt-get -qs --no-install-recommends install "$@" | sed -n 's/^Inst \([^ ]*\).*/\1/p' | sed '/^vintrel/d'
}

# expect WHAT IS WANTED
expect() { [[ $2 == "$3" ]] || die "$1: ${2:-nothing}, and not ${3:-nothing}"; }

# Whatever the package manager knows of ours, configuration files that were left included.
known() {
  # shellcheck disable=SC2016 # dpkg's own variables
  inside dpkg-query -W -f '${db:Status-Abbrev}${Package} ${Version}\n' 'vintrel*' 2>/dev/null | sed '/^un/d' |
    tr '\n' ';' || true
}

# Everything in the system but the package manager's own notes: mode, size, where a link leads.
files() {
  find "$root" -xdev \( -path "$root/var/lib/dpkg" -o -path "$root/var/lib/apt" -o -path "$root/var/cache" -o \
    -path "$root/var/log" -o -path "$root/packages" \) -prune -o ! -type d -printf '/%P %m %s %l\n' -o \
    -printf '/%P %m\n' | sort
}

expect_unchanged() {
  files >"$work/now"
  diff "$work/before" "$work/now" >&2 || die "$1 left or took these files"
  diff -r "$work/home" "$root/home/ada" >&2 || die "$1 changed what is the user's"
}

# The same packages with a lower version, and a file that is no longer there in the new ones.
make_older() {
  local package tree name
  for package in "$@"; do
    name=$(dpkg-deb -f "$package" Package)
    tree=$work/old/$name
    dpkg-deb -R "$package" "$tree"
    sed -i "s/${version//./\\.}/$lower/" "$tree/DEBIAN/control"
    echo "of the older version" >"$tree/usr/share/doc/$name/dropped"
    dpkg-deb --root-owner-group -b "$tree" "$root/packages/old/$name.deb" >/dev/null
  done
}

make_user() {
  inside useradd --create-home ada
  local home=$root/home/ada
  mkdir -p "$home"/.config/{Vintrel,autostart} "$home/.local/share/Vintrel"
  printf '[General]\nelapsedThreshold=600\n' >"$home/.config/Vintrel/Vintrel.conf"
  printf '[Desktop Entry]\nType=Application\nName=Vintrel\nExec=/usr/bin/vintrel-app\n' \
    >"$home/.config/autostart/dev.vintrel.Vintrel.desktop"
  printf '[]\n' >"$home/.local/share/Vintrel/clean-log.json"
  inside chown -R ada: /home/ada
  cp -a "$home" "$work/home"
}

expect_list_works() {
  local said
  said=$(inside runuser -u ada -- env HOME=/home/ada vintrel list 2>&1) || die "vintrel list: $said"
  expect "the table's heading" "$(head -n 1 <<<"$said" | tr -s ' ')" "PID BUCKET KIND AGE RAM PROJECT COMMAND"
}

# The program finds all its libraries, and a platform to draw on. In a home of its own: it may keep what it likes there.
expect_application_starts() {
  local program status=0 _
  inside runuser -u ada -- mkdir -m 700 /tmp/trial
  chroot --userspec=ada "$root" env -i PATH=/usr/bin:/bin HOME=/tmp/trial XDG_RUNTIME_DIR=/tmp/trial DISPLAY=:0 \
    QT_QPA_PLATFORM=offscreen vintrel-app --show </dev/null >"$work/said" 2>&1 &
  program=$!
  for _ in {1..600}; do
    if grep -q qoffscreen "/proc/$program/maps" 2>/dev/null || ! kill -0 "$program" 2>/dev/null; then break; fi
    sleep 0.1
  done
  grep -q qoffscreen "/proc/$program/maps" 2>/dev/null || die "vintrel-app did not start: $(cat "$work/said")"
  kill -TERM "$program"
  wait "$program" || status=$?
  expect "the application's end" "$status" 143
  rm -r "$root/tmp/trial"
}

# as_ada COMMAND...   In her home and in a session with a screen that nobody sees.
as_ada() {
  chroot --userspec=ada "$root" env -i --chdir=/home/ada PATH=/usr/bin:/bin HOME=/home/ada LC_ALL=C.UTF-8 \
    XDG_RUNTIME_DIR=/home/ada/run DBUS_SESSION_BUS_ADDRESS=unix:path=/home/ada/run/bus DISPLAY=:0 \
    QT_QPA_PLATFORM=offscreen "$@" </dev/null
}

# until_true COMMAND...   Waits for a minute at most.
until_true() {
  local _
  for _ in {1..600}; do
    if "$@" >/dev/null 2>&1; then return 0; fi
    sleep 0.1
  done
  die "this never came: $*"
}

has_ended() { [[ ! -e /proc/$1/exe ]]; }
ask() { as_ada gdbus call --session --timeout 60 "$@" 2>"$work/said" || die "gdbus call $*: $(cat "$work/said")"; }
ask_program() { ask --dest "$id" --object-path "/${id//.//}" --method "$@"; }

# process_on_bus   Who has the program's name there; nobody is started for the question.
process_on_bus() {
  ask --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
    --method org.freedesktop.DBus.GetConnectionUnixProcessID "$id" | tr -dc '0-9 ' | tr -s ' ' | cut -d ' ' -f 2
}

# A call starts what is installed, and the program answers it; launchers, links and further starts reach that one.
expect_bus_starts_program() {
  local bus program listed
  inside install -d -o ada -g ada -m 700 /home/ada/run
  as_ada dbus-daemon --session --nofork --address=unix:path=/home/ada/run/bus >"$work/bus" 2>&1 &
  bus=$!
  until_true test -S "$root/home/ada/run/bus"
  listed=$(ask_program dev.vintrel.Vintrel.Shortcuts.List)
  for name in scan-now clean-safe-strays; do
    [[ $listed == *"('$name', "* ]] || die "the program on the bus offers no $name: $listed"
  done
  program=$(process_on_bus)
  expect "what the bus has started" "$(readlink "/proc/$program/exe")" "$root/usr/bin/vintrel-app"
  expect "the answer to a launcher" "$(ask_program org.freedesktop.Application.Activate '{}')" "()"
  as_ada vintrel-app --action scan-now || die "a second start does not reach the program"
  expect "who takes the links" "$(as_ada xdg-mime query default x-scheme-handler/vintrel)" "$id.desktop"
  as_ada xdg-open vintrel://scan >"$work/said" 2>&1 || die "xdg-open does not reach the program: $(cat "$work/said")"
  expect "who runs in the end" "$(process_on_bus)" "$program"
  kill -TERM "$program"
  until_true has_ended "$program"
  kill -TERM "$bus"
  wait "$bus" || true
  rm -r "$root/home/ada/run"
}

# What the user had is as it was; what the program has put beside it is the user's from now on.
expect_user_files() {
  local file
  for file in .config/Vintrel/Vintrel.conf ".config/autostart/$id.desktop" .local/share/Vintrel/clean-log.json; do
    cmp "$work/home/$file" "$root/home/ada/$file" >&2 || die "the program changed $file"
  done
  rm -r "${work:?}/home"
  cp -a "$root/home/ada" "$work/home"
  files | grep '^/home/ada' >"$work/now"
  sed -i '\|^/home/ada|d' "$work/before"
  sort -o "$work/before" "$work/before" "$work/now"
}

shopt -s nullglob
new=(build/packages/vintrel_*.deb build/packages/vintrel-app_*.deb)
[[ ${#new[@]} -eq 2 ]] || die "build/packages does not hold the two packages; packaging/build-debs.sh makes them"
version=$(dpkg-deb -f "${new[0]}" Version)
make_clean_system "$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)"
enter_copy system
mkdir -p "$root"/packages/{new,old} "$work/old"
cp "${new[0]}" "$root/packages/new/vintrel.deb"
cp "${new[1]}" "$root/packages/new/vintrel-app.deb"
make_older "${new[@]}"
make_user

say "The command line alone"
mapfile -t needed < <(needed_by /packages/new/vintrel.deb)
for package in "${needed[@]}"; do
  case $package in
    libqt6gui* | libqt6widgets* | libqt6dbus* | libqt6svg* | libx11* | libxcb* | libgl1* | libegl* | libwayland*)
      die "vintrel brings $package along" ;;
  esac
done
apt install "${needed[@]}"
files >"$work/before"
apt install /packages/new/vintrel.deb
expect "what is installed" "$(known)" "ii vintrel $version;"
expect "its version" "$(inside vintrel --version)" "vintrel ${version%-*}"
expect_list_works
apt remove vintrel
expect_unchanged "Removing vintrel"
expect "what is known after it" "$(known)" ""

say "Both, from a lower version to this one"
mapfile -t needed < <(needed_by /packages/new/vintrel.deb /packages/new/vintrel-app.deb)
apt install "${needed[@]}"
files >"$work/before"
apt install /packages/old/vintrel.deb /packages/old/vintrel-app.deb
expect "what is installed" "$(known)" "ii vintrel $lower;ii vintrel-app $lower;"
[[ -e $root/usr/share/doc/vintrel-app/dropped ]] || die "the older packages lack the file that the new ones lose"
apt install /packages/new/vintrel.deb /packages/new/vintrel-app.deb
expect "what is installed" "$(known)" "ii vintrel $version;ii vintrel-app $version;"
expect "what the older ones left" "$(find "$root/usr" -name dropped)" ""
expect "its version" "$(inside vintrel-app --version)" "vintrel-app ${version%-*}"
expect_list_works
expect_application_starts

say "Removing and purging"
mapfile -t held < <(inside dpkg -L vintrel-app | sed '/^\/\.$/d')
apt remove vintrel-app
for file in "${held[@]}"; do
  [[ -d $root$file || ! -e $root$file ]] || die "removing vintrel-app left $file"
done
expect_list_works
apt remove vintrel
expect_unchanged "Removing both"

say "In a session with its bus"
recommended=" $(dpkg-deb -f "${new[1]}" Recommends | tr -d ',|') "
for package in desktop-file-utils xdg-utils; do
  [[ $recommended == *" $package "* ]] || die "vintrel-app does not recommend $package, which its links need"
done
apt install dbus-daemon libglib2.0-bin desktop-file-utils xdg-utils
files >"$work/before"
apt install /packages/new/vintrel.deb /packages/new/vintrel-app.deb
expect_bus_starts_program
expect_user_files
apt purge vintrel vintrel-app
expect_unchanged "Purging both"
expect "what is known after it" "$(known)" ""
say "The packages install, upgrade and go without a trace; what is the user's stays"
