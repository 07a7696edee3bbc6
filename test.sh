#!/usr/bin/env bash
# Builds everything and runs every test: Linux, AddressSanitizer with UndefinedBehaviorSanitizer,
# ThreadSanitizer, and the Windows build under Wine. The last line counts the test cases.
set -uo pipefail
cd "$(dirname "$0")"

tools/packages.sh test || exit 1
mkdir -p build
stop_wine() { [ ! -d build/wine-prefix ] || tools/wine/stop.sh "$PWD/build/wine-prefix"; }
trap stop_wine EXIT
log=build/test.log
: >"$log"
broken=0

if ! tools/check --style; then broken=1; fi

for preset in linux linux-asan linux-tsan win64; do
  echo "== $preset"
  cmake --preset "$preset" >"build/configure-$preset.log" 2>&1 || { cat "build/configure-$preset.log"; broken=1; continue; }
  cmake --build --preset "$preset" >"build/build-$preset.log" 2>&1 || { tail -60 "build/build-$preset.log"; broken=1; continue; }
  if [ "$preset" = win64 ]; then
    tools/wine/prefix.sh "$PWD/build/wine-prefix" || { broken=1; continue; }
    export WINEPREFIX="$PWD/build/wine-prefix"
  fi
  ctest --preset "$preset" --verbose >"build/ctest-$preset.log" 2>&1 || broken=1
  grep -E '^[0-9]+: \[ +FAILED|Failure$|ThreadSanitizer|AddressSanitizer|runtime error|\*\*\*' "build/ctest-$preset.log"
  grep -E 'tests passed|tests failed' "build/ctest-$preset.log"
  cat "build/ctest-$preset.log" >>"$log"
done

# The Windows program brings no library of its own and needs none but the system's.
system_dlls='^(ADVAPI32|COMCTL32|DWMAPI|GDI32|KERNEL32|MSVCRT|OLE32|OLEAUT32|SETUPAPI|SHELL32|USER32|UXTHEME|WINHTTP|WINMM)\.DLL$'
foreign=$(x86_64-w64-mingw32-objdump -p build/win64/src/app/HalvetricSerialTest.exe | sed -n 's/.*DLL Name: //p' |
  tr '[:lower:]' '[:upper:]' | grep -vE "$system_dlls")
[ -z "$foreign" ] || { echo "HalvetricSerialTest.exe needs $foreign"; broken=1; }

# The real programs with mouse and keyboard on a display of their own, talking to the virtual device.
demo_passed=0
demo_failed=0
play() {
  echo "== demo $1"
  if tools/demo/play.sh build/linux "build/demo-$1" "${@:2}" >"build/demo-$1.log" 2>&1; then
    demo_passed=$((demo_passed + 1))
  else
    demo_failed=$((demo_failed + 1))
    tail -20 "build/demo-$1.log"
  fi
}
play linux
play windows build/win64

passed=$(($(grep -cE '^[0-9]+: \[ +OK +\]' "$log") + demo_passed))
failed=$(($(grep -cP '^[0-9]+: \[ +FAILED +\] .*\([0-9]+ ms\)\r?$' "$log") + demo_failed))
# A build that broke or a test program that crashed is a failure of its own.
[ "$broken" -ne 0 ] && [ "$failed" -eq 0 ] && failed=1
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
