#!/usr/bin/env bash
# Installs the Debian packages that are missing on this machine (as root, or with sudo).
#   tools/packages.sh run     what building and running on Linux needs
#   tools/packages.sh test    that, and what the tests on both systems need
#   tools/packages.sh package that of run, the Windows cross-compiler and what makes and checks packages
#   tools/packages.sh bench   that of run, and the benchmark library
#   tools/packages.sh fuzz    that of run, and clang with its fuzzer
set -euo pipefail

run=(g++ cmake ninja-build libcurl4-openssl-dev qt6-base-dev qt6-qpa-plugins libxcb1-dev pkgconf libgl1-mesa-dev fonts-dejavu fonts-noto-cjk)
demo=(xvfb xauth xdotool imagemagick x11-utils)
windows=(g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64)
tests=(googletest python3 openssl "${windows[@]}" wine wine64 clang-format appstream desktop-file-utils)
packages=(dpkg-dev "${windows[@]}" appstream desktop-file-utils lintian)

case "${1:?run, test, package, bench or fuzz}" in
  run) wanted=("${run[@]}" "${demo[@]}") ;;
  test) wanted=("${run[@]}" "${demo[@]}" "${tests[@]}") ;;
  package) wanted=("${run[@]}" "${packages[@]}") ;;
  bench) wanted=("${run[@]}" libbenchmark-dev) ;;
  fuzz) wanted=("${run[@]}" clang libclang-rt-dev) ;;
  *) echo "packages.sh: unknown set '$1'" >&2; exit 2 ;;
esac

missing=()
for package in "${wanted[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -q
"${as_root[@]}" apt-get install -q -y --no-install-recommends "${missing[@]}"
