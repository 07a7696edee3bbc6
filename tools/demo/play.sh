#!/usr/bin/env bash
# Plays the demo: the real program under Xvfb, driven by mouse and keyboard, connected to the virtual device.
#   tools/demo/play.sh BUILD OUT          the Linux program of the build folder BUILD
#   tools/demo/play.sh BUILD OUT WINDOWS  the same scenes with the Windows program of the build folder WINDOWS
#                                         under Wine (WINEPREFIX names a prefix of tools/wine/prefix.sh)
# Leaves screenshots, the device's log, a recording and summary.txt in OUT. Fails when the device received anything but the
# packets sent, when it was not opened as often as the program was to connect, or when a picture lacks the colours
# of what must be on it.
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:?build folder}; out=${2:?output folder}; windows=${3:-}

rm -rf "$out"; mkdir -p "$out"
runtime=$(mktemp -d); chmod 700 "$runtime"
export XDG_RUNTIME_DIR=$runtime QT_QPA_PLATFORM=xcb LC_ALL=C.UTF-8
children=()
finish() {
  for ((i = ${#children[@]} - 1; i >= 0; i--)); do kill "${children[i]}" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$runtime"
}
trap finish EXIT
trap 'echo "demo: line $LINENO failed" >&2' ERR

# A display of our own.
exec {number}<> <(:)
Xvfb -displayfd "$number" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
children+=($!)
read -r -t 20 -u "$number" display
export DISPLAY=:$display

# The device: answers what it is asked, talks once a second, and obeys lines on its standard input.
mkfifo "$runtime/device"
"$build/tools/virtual_device/hvt-virtual-device" \
  --on 'ID?\r\n' 5 'HALVETRIC-DEMO v1<0x01><0xAB>\r\n' --on 'PING\r\n' 20 'PONG\r\n' \
  --on 'SLOW?\r\n' 350 'sorry\r\n' \
  --log "$out/device.log" <"$runtime/device" >"$out/device.txt" &
device=$!
children+=("$device")
exec {commands}>"$runtime/device"
tell() { echo "$1" >&"$commands"; }
for _ in $(seq 100); do [ -s "$out/device.txt" ] && break; sleep 0.05; done

# The program, a copy in a folder of its own: settings lie beside it.
mkdir "$runtime/program"
find "${windows:-$build}/src/app" -maxdepth 1 -type f -name "HalvetricSerialTest*" -exec cp {} "$runtime/program" \;
if [ -n "$windows" ]; then
  # COM9 is the device, and the only port listed: COM1 is this machine's own console.
  ln -sfn "$(grep -oE '/dev/pts/[0-9]+' "$out/device.txt" | head -1)" "$WINEPREFIX/dosdevices/com9"
  serialcomm='HKLM\HARDWARE\DEVICEMAP\SERIALCOMM'
  tools/wine/run.sh reg delete "$serialcomm" /va /f >/dev/null 2>&1 || true
  tools/wine/run.sh reg add "$serialcomm" /v '\Device\Serial9' /d COM9 /f >/dev/null 2>&1
  tools/wine/run.sh "$runtime/program/HalvetricSerialTest.exe" >/dev/null 2>&1 &
else
  "$runtime/program/HalvetricSerialTest" &
fi
program=$!
children+=("$program")
window=$(timeout 30 xdotool search --sync --onlyvisible --name '^HalvetricSerialTest V' | head -1)
sleep 1

# Where the controls are, in screen pixels. STATE is folded or expanded.
map_controls() {
  if [ -n "$windows" ]; then
    tools/wine/run.sh "$windows/tools/hvt-control-map.exe" 2>/dev/null | tr -d '\r' >"$runtime/map"
  else
    xdotool windowmove --sync "$window" 0 0 2>/dev/null || true
    rm -rf "$runtime/map-data"
    "$build/tools/hvt-control-map" "$runtime/map-data" "$1" >"$runtime/map"
  fi
}
click() {
  local name x y width height
  read -r name x y width height < <(grep -E "^$1 " "$runtime/map") || { echo "demo: no control '$1'" >&2; exit 1; }
  xdotool mousemove $((x + width / 2)) $((y + height / 2)) click --delay 30 1
  sleep 0.2
}
refill() {  # CONTROL TEXT
  click "$1"
  xdotool key Home shift+End
  xdotool type --delay 15 "$2"
}
shot() {
  sleep "${2:-0.4}"
  import -window "$window" "$out/$1.png"
  echo "  $1.png" >>"$out/summary.txt"
}
shot_screen() {  # with the dialogs over the window
  sleep "${2:-0.4}"
  import -window root "$out/$1.png"
  echo "  $1.png" >>"$out/summary.txt"
}
echo "Screenshots:" >"$out/summary.txt"

xdotool windowfocus "$window" 2>/dev/null || true
map_controls folded
shot 1-ready
click connect
shot 2-connected
click line_break
click record_name
xdotool type --delay 15 demo
click record
tell 'say Temperature 21.5 C\r\n'
tell 'say <STX>0017<0xAB><0xFE><ETX>\r\n'
shot 3-receiving 1
click transmit
map_controls expanded
click auto_crlf
click packet_1
xdotool type --delay 15 'ID?'
xdotool key Return
click packet_2
xdotool type --delay 15 'PING'
click send_2
shot 4-sent 1
click packet_3
xdotool type --delay 15 'SLOW?'
refill end_packet 3
refill repeat_count 2
refill interval 500
refill rx_timeout 200
click clear
click repeat
shot 5-repeating 1
shot 6-repeated 3
click record
sleep 0.5
click save_packets
shot_screen 7-save-dialog 1.5
xdotool key Escape
sleep 0.3
xdotool windowfocus "$window" 2>/dev/null || true
click load_packets
shot_screen 7-load-dialog 1.5
xdotool key Escape
sleep 0.3
xdotool windowfocus "$window" 2>/dev/null || true
click receive_hex
tell 'say \x00\x01\x7F\x80\xFF\r\n'
shot 7-hex 1
click receive_ascii
click clear
tell 'flood 2k'
sleep 1
read -r _ x y width height < <(grep '^receive_view ' "$runtime/map")
xdotool mousemove $((x + 60)) $((y + 20)) mousedown 1 mousemove $((x + 200)) $((y + 50)) mouseup 1
shot 7-paused 2
tell 'flood off'
click clear
tell stall   # the line still takes some kilobytes, then a write ends after half a second
click packet_4
xdotool type --delay 15 "$(printf 'x%.0s' {1..50})"
xdotool key Home shift+End ctrl+c End
for _ in $(seq 27); do xdotool key --delay 15 ctrl+v; done
click send_4
xdotool click --repeat 60 --delay 60 1
shot 8-stalled 1
tell resume
click connect
tell 'say Still here, and every packet that fitted has arrived.\r\n'
sleep 0.5
tell vanish
shot 9-unplugged 1
if [ -z "$windows" ]; then   # a device that comes back has another pseudo-terminal: Wine's link would be stale
  tell return
  sleep 1
  click refresh
  click connect
  tell 'say back again\r\n'
  shot 10-replugged 1
fi

# The same in the dark and in Korean, and the help.
choose() {  # MENU_KEY ENTRIES_DOWN: the first one is under the keyboard when a menu opens by it
  xdotool key --delay 60 "alt+$1"
  sleep 0.3
  for _ in $(seq "$2"); do xdotool key --delay 60 Down; done
  xdotool key Return
  sleep 0.5
}
xdotool windowfocus "$window" 2>/dev/null || true
choose t 1
choose l 1
shot 11-dark-korean 1
choose h 0
shot_screen 12-usage 1
xdotool key Escape

# The recording, made whole again from its parts.
cp -r "$runtime/program/recording" "$out/recording"
recovered=yes
"$build/tools/recover/hvt-recover" "$out/recording/demo.meta.json" "$out/recording/demo.raw" >"$runtime/recovery" || recovered=no

# What the device saw is what was sent.
tell quit
wait "$device" 2>/dev/null || true
{
  echo
  echo "Device: $(tr '\n' ' ' <"$out/device.txt")"
  echo "Bytes the device received:"
  grep ' rx ' "$out/device.log" | cut -c1-100 || true
} >>"$out/summary.txt"
{ echo; echo "Recording:"; cat "$runtime/recovery"; } >>"$out/summary.txt"
cat "$out/summary.txt"
fail() { echo "demo: $1" >&2; exit 1; }
sent=$(grep ' rx ' "$out/device.log" | cut -d' ' -f4- | tr '\n' ' ')
id='49 44 3F 0D 0A ' ping='50 49 4E 47 0D 0A ' slow='53 4C 4F 57 3F 0D 0A '
packets=$id$ping$id$ping$slow$id$ping$slow
[[ "$sent" == "$packets"* ]] || fail "the device received something else than the packets sent: ${sent:0:80}"
[[ "${sent#"$packets"}" =~ ^((78 ){1400}0D 0A )*(78 ){0,1400}(0D )?$ ]] || fail "the device received damaged packets"
opened=$(grep -c '^opened' "$out/device.txt")
[ "$opened" -eq $([ -n "$windows" ] && echo 2 || echo 3) ] || fail "the device was opened $opened times"
[ "$recovered" = yes ] || fail "the recording is not whole"
shows() {  # PICTURE COLOR WHAT
  local pixels
  pixels=$(convert "$out/$1.png" -fuzz 15% -fill black +opaque "$2" -fill white -opaque "$2" -format '%[fx:w*h*mean]' info:)
  [ "${pixels%.*}" -gt 20 ] || fail "$1.png does not show $3"
}
shows 4-sent '#FF8000' 'received text'
shows 4-sent '#0000FF' 'sent text'
shows 5-repeating '#A0A0A0' 'an elapsed time'
shows 6-repeated '#FF0000' 'a time-out'
shows 6-repeated '#B45A00' 'a late answer'
shows 9-unplugged '#FF8000' 'what was received before the unplug'
