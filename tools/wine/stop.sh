#!/bin/bash
# stop.sh PREFIX: ends the server of a prefix and every Windows program in it. The prefix stays.
set -eu
source "$(dirname "$0")/environment.sh"
[[ $# -eq 1 ]] || { echo "usage: stop.sh PREFIX" >&2; exit 2; }
WINEPREFIX=$(cd "$1" && pwd)
export WINEPREFIX
timeout 30 wineserver -k || true   # "no server" is what we want
timeout 30 wineserver -w
rm -f "$WINEPREFIX/server.pid"
