#!/usr/bin/env bash
# Makes the packages: build/packages/halvetric-serial-test_VERSION_ARCH.deb and
# build/packages/HalvetricSerialTest-VERSION-windows-x64.zip.
#   tools/package.sh [linux|windows] [-DNAME=VALUE...]   build settings of the release, such as
#                                                         HVT_UPDATE_MANIFEST_URL
set -euo pipefail
cd "$(dirname "$0")/.."

what=all
case "${1:-}" in linux | windows) what=$1; shift ;; esac
tools/packages.sh package
out=$PWD/build/packages
mkdir -p "$out"

# configured BUILD NAME: what the build was configured with.
configured() { sed -n "s/^$2:[A-Z]*=//p" "$1/CMakeCache.txt"; }

# Debian's flags for release builds, which take the paths of this machine out of the program as well.
hardened() {
  DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get "$1"
}

make_deb() {  # CMAKE ARGUMENTS...
  local build=build/package-linux root=build/package-linux/root debian=build/package-linux/debian package file
  CXXFLAGS="$(hardened CPPFLAGS) $(hardened CXXFLAGS)" LDFLAGS=$(hardened LDFLAGS) \
    cmake --preset linux -B "$build" -DBUILD_TESTING=OFF -DCMAKE_INSTALL_PREFIX=/usr "$@" >/dev/null
  cmake --build "$build" --target HalvetricSerialTest hvt-recover
  rm -rf "$root" "$debian"
  DESTDIR=$root cmake --install "$build" --strip >/dev/null

  package=$(sed -n 's/^Package: //p' packaging/debian/control)
  cp -r packaging/debian "$debian"
  cp "$build/packaging/changelog" "$debian/changelog"
  local documents=$root/usr/share/doc/$package
  install -Dm644 -t "$documents" "$debian/copyright" "$debian/README.Debian" "$debian/changelog"
  find "$root/usr/share/man" "$documents/changelog" -type f -exec gzip -9n {} +

  SOURCE_DATE_EPOCH=$(dpkg-parsechangelog -l "$debian/changelog" -S Timestamp)
  export SOURCE_DATE_EPOCH
  mkdir "$root/DEBIAN"
  (cd "$root" && find usr -type f -print0 | sort -z | xargs -0 md5sum >DEBIAN/md5sums)
  (cd "$build" && dpkg-shlibdeps -Tdebian/substvars root/usr/bin/* &&
    dpkg-gencontrol -Tdebian/substvars -fdebian/files -Proot)
  chmod -R u=rwX,go=rX "$root"
  file=$out/$(cut -d' ' -f1 "$debian/files")
  dpkg-deb --root-owner-group --build "$root" "$file"
  ! command -v lintian >/dev/null || lintian --fail-on error,warning "$file"
}

make_zip() {  # CMAKE ARGUMENTS...
  local build=build/package-windows root=build/package-windows/root version file
  cmake --preset win64 -B "$build" -DBUILD_TESTING=OFF "$@" >/dev/null
  cmake --build "$build" --target HalvetricSerialTest
  version=$(configured "$build" CMAKE_PROJECT_VERSION)
  local name=HalvetricSerialTest-$version
  file=$out/$name-windows-x64.zip
  rm -rf "$root" "$file"
  cmake --install "$build" --strip --prefix "$root/$name" >/dev/null
  (cd "$root" && cmake -E tar cf "$file" --format=zip "$name")
  echo "The Windows program is in $file."
}

[ "$what" = windows ] || make_deb "$@"
[ "$what" = linux ] || make_zip "$@"
