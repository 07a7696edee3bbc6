#!/bin/bash
# run.sh PROGRAM.exe ARGUMENTS...: runs a Windows program under Wine and returns its exit code.
# The prefix is $WINEPREFIX, else $HVT_WINEPREFIX, else /tmp/wine-prefix; it is made when it is missing.
# $HVT_WINE_TIMEOUT: seconds until the program is ended (280, less than ctest gives
# a test, because ctest would leave the program running). Serves ctest as the cross-compiling emulator.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
source "$here/environment.sh"
export WINEPREFIX=${WINEPREFIX:-${HVT_WINEPREFIX:-/tmp/wine-prefix}}
if [[ ! -e $WINEPREFIX/.ready ]] || ! server_is_alive "$WINEPREFIX"; then
  "$here/prefix.sh" "$WINEPREFIX"
fi
exec timeout --kill-after=10 "${HVT_WINE_TIMEOUT:-280}" "$WINE" "$@" </dev/null
