#!/usr/bin/env bash
# Builds the program and runs it. Without a serial device attached it talks to the bundled virtual device;
# without a display it plays the demo and leaves build/demo/.
set -euo pipefail
cd "$(dirname "$0")"

tools/packages.sh run
cmake --preset linux -DBUILD_TESTING=OFF -B build/run >/dev/null
cmake --build build/run --target HalvetricSerialTest hvt-virtual-device hvt-list-ports hvt-control-map hvt-recover

if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
  exec tools/demo/play.sh build/run build/demo
fi

device=
cleanup() { [ -z "$device" ] || kill "$device" 2>/dev/null || true; }
trap cleanup EXIT
if [ -z "$(build/run/tools/hvt-list-ports)" ]; then
  echo "No serial device found: starting the virtual device."
  build/run/tools/virtual_device/hvt-virtual-device --echo --every 1000 'tick\r\n' </dev/null >build/run/device.txt &
  device=$!
  for _ in {1..100}; do grep -q '^ready' build/run/device.txt && break; sleep 0.05; done
fi
build/run/src/app/HalvetricSerialTest
