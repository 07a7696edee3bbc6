# Sourced by the scripts of this folder: how Wine is called here. Needs bash; WINEPREFIX is set by the caller.
export WINEARCH=win64 WINEDEBUG=-all
# No .NET or browser set-up questions; without winedbg.exe= a program that crashes would hang in the debugger.
export WINEDLLOVERRIDES="mscoree,mshtml,winedbg.exe="
# One log line of a test is one line, whatever the caller's language is.
export LC_ALL=C.UTF-8

# Debian keeps the 64-bit loader out of PATH when the 32-bit half is not installed.
if [[ -x /usr/lib/wine/wine64 ]]; then
  WINE=/usr/lib/wine/wine64
else
  WINE=$(command -v wine64 || command -v wine)
fi

# quiet_wine SECONDS ARGUMENTS...: a Wine process that inherits none of our pipes. The first one of a prefix
# starts services that live as long as the server and would hold a reader of our output for ever.
quiet_wine() {
  local seconds=$1
  shift
  timeout "$seconds" "$WINE" "$@" </dev/null >/dev/null 2>&1
}

# server_is_alive PREFIX: true while the server recorded for the prefix runs (and its number is not reused).
server_is_alive() {
  local pid
  pid=$(cat "$1/server.pid" 2>/dev/null) || return 1
  [[ -n $pid ]] && grep -qz "^WINEPREFIX=$1\$" "/proc/$pid/environ" 2>/dev/null &&
    grep -qz wineserver "/proc/$pid/cmdline" 2>/dev/null
}

# desktop_is_alive PREFIX: true while a desktop of the prefix is kept open, with or without a display.
desktop_is_alive() {
  local process
  for process in /proc/[0-9]*; do
    grep -qz "^WINEPREFIX=$1\$" "$process/environ" && grep -qz 'explorer\.exe' "$process/cmdline" && return 0
  done 2>/dev/null
  return 1
}

# A window talks to Wine's server and to its display all the time. On virtual machines each turn of that talk costs
# a wake-up of the other processor: with all of it on one, the windows' tests take a quarter of the time.
first_processor=$(sed -n 's/^Cpus_allowed_list:\t*\([0-9]*\).*/\1/p' /proc/self/status)
on_one_processor=(taskset -c "$first_processor")
