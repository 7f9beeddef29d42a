#!/usr/bin/env bash
# The lane `windows` from the build on: the tests, and the packages. Called by scripts/windows_lane.sh with a display.

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# One server for all tests: each would wait for the last one's to end and start its own.
export WINEPREFIX=$root/build/windows/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
mkdir -p "$WINEPREFIX"
trap 'wineserver --kill || true' EXIT
wineserver --kill || true
wineserver --persistent
say "Starting Wine"
wineboot --init 2>/dev/null

ctest --preset windows -j "$(nproc)"
packaging/test_windows.sh
