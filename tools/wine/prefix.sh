#!/bin/bash
# prefix.sh PREFIX: makes sure that a Wine prefix for the tests exists and that its server is warm.
# An existing prefix is kept, a live server is reused. Several callers may come at the same time.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
source "$here/environment.sh"
[[ $# -eq 1 ]] || { echo "usage: prefix.sh PREFIX" >&2; exit 2; }
mkdir -p "$1"
WINEPREFIX=$(cd "$1" && pwd)
export WINEPREFIX

exec 9>"$WINEPREFIX/.prefix.lock"
flock 9

if [[ ! -e $WINEPREFIX/.ready ]]; then
  quiet_wine 180 wineboot -i 9>&-
  timeout 60 wineserver -w 9>&-
  quiet_wine 60 regedit /S "Z:${here//\//\\}\\test_prefix.reg" 9>&-
  timeout 60 wineserver -w 9>&-
  touch "$WINEPREFIX/.ready"
fi

if ! server_is_alive "$WINEPREFIX"; then
  # -f: never a session leader, so that a closing pseudo-terminal cannot hang up the server; -p: stays for good.
  # A process group of its own (set -m): who ends the caller's group does not take the server with it.
  set -m
  "${on_one_processor[@]}" wineserver -f -p </dev/null >/dev/null 2>&1 9>&- &
  echo $! >"$WINEPREFIX/server.pid"
  set +m
  # The first client starts the services, here with nothing of ours to hold open.
  quiet_wine 60 wineboot 9>&-
  # The desktop they were started on has no display: a program that comes while it is there gets no windows.
  for _ in $(seq 100); do
    desktop_is_alive "$WINEPREFIX" || break
    sleep 0.1
  done
  server_is_alive "$WINEPREFIX" || { echo "prefix.sh: the server of $WINEPREFIX does not run" >&2; exit 1; }
  # Wine maps the machine's UARTs, often its console, to COM1 and up. They stay listed, but cannot be opened.
  find "$WINEPREFIX/dosdevices" -lname '/dev/ttyS*' -delete
fi
