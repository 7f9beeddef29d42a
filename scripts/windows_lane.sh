#!/usr/bin/env bash
# The lane `windows`: builds everything for Windows, runs the tests under Wine, makes the zip and the installer
# and tries both.
#
#   scripts/windows_lane.sh
#
# Qt and hidapi for Windows come from the folder that FERRYLINK_WINDOWS_SDK names; else from the archive that
# FERRYLINK_WINDOWS_SDK_ARCHIVE names; else scripts/windows_sdk.sh builds them in about 25 minutes, once for all checkouts.

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

[ "$(dpkg --print-architecture)" = amd64 ] || die "the windows lane needs a 64-bit PC: Wine runs its programs only there"

need "${packages[@]}" g++-mingw-w64-x86-64-posix googletest wine wine64 nsis xvfb xauth xz-utils fonts-dejavu-core

if [ -z "${FERRYLINK_WINDOWS_SDK:-}" ]; then
  if [ -n "${FERRYLINK_WINDOWS_SDK_ARCHIVE:-}" ]; then
    FERRYLINK_WINDOWS_SDK=$root/build/windows-sdk
    if [ ! -d "$FERRYLINK_WINDOWS_SDK" ]; then
      say "Unpacking $FERRYLINK_WINDOWS_SDK_ARCHIVE"
      rm -rf "$FERRYLINK_WINDOWS_SDK.partial"
      mkdir -p "$FERRYLINK_WINDOWS_SDK.partial"
      tar -C "$FERRYLINK_WINDOWS_SDK.partial" --strip-components=1 -xf "$FERRYLINK_WINDOWS_SDK_ARCHIVE"
      mv "$FERRYLINK_WINDOWS_SDK.partial" "$FERRYLINK_WINDOWS_SDK"
    fi
  else
    FERRYLINK_WINDOWS_SDK=${XDG_CACHE_HOME:-$HOME/.cache}/ferrylink/windows-sdk
    scripts/windows_sdk.sh "$FERRYLINK_WINDOWS_SDK"
  fi
fi
export FERRYLINK_WINDOWS_SDK
for file in bin/Qt6Widgets.dll bin/libhidapi.dll plugins/platforms/qwindows.dll lib/cmake/Qt6/Qt6Config.cmake; do
  [ -f "$FERRYLINK_WINDOWS_SDK/$file" ] || die "$FERRYLINK_WINDOWS_SDK has no $file; remove it, or name another folder"
done

build windows
build release --target gpc # what the packaged compiler is compared with

# Wine's desktop belongs to the display that is there when it starts, so all of Wine runs on one.
exec xvfb-run --auto-servernum scripts/windows_lane_wine.sh
