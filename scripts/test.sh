#!/usr/bin/env bash
# Builds and runs the tests. Works on a bare Debian 12 with nothing but this checkout.
#
#   scripts/test.sh [LANE...]     without a lane: default
#
#   default    unit and integration tests, release build, warnings as errors
#   sanitize   the same under AddressSanitizer and UndefinedBehaviorSanitizer, the threaded ones under ThreadSanitizer
#   style      formatting (clang-format) and a few rules of the house
#   tidy       static analysis (clang-tidy)
#   usb        the plug-in on a real USB stack: a guest kernel with simulated adapters as USB gadgets
#   fuzz       every parser of foreign bytes, two at a time for a minute each, from the kept corpus; damaged files exhaustively
#   windows    cross-built; the tests under Wine, and the packages for Windows users: zip and installer, both tried
#   package    the Debian package: made, and its contents tried; as root also installed and removed
#   bench      measures against named baselines and prints one table of ratios; never fails on a figure
#   all        every lane above

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

usage() { sed -n '2,/^$/s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; }

# Tests that measure counts against time claim the machine for themselves (RUN_SERIAL), so this is safe.
jobs=$(nproc)

lane_default() {
  build release
  ctest --preset release -j "$jobs"
}

lane_sanitize() {
  build asan
  ctest --preset asan -j "$jobs"
  build tsan
  # The sanitizer's shadow memory does not fit the address-space randomisation of some kernels.
  setarch --addr-no-randomize ctest --preset tsan -j "$jobs"
}

lane_style() {
  need git clang-format
  scripts/style.sh
}

lane_tidy() {
  need clang-tidy
  build release
  scripts/tidy.sh
}

lane_fuzz() {
  need clang libclang-rt-14-dev
  build release --target ferrylink_test_malformed
  FERRYLINK_LISTING_STRIDE=1 build/release/bin/ferrylink_test_malformed --gtest_brief=1
  build fuzz
  scripts/fuzz.sh
}

lane_usb() {
  scripts/usb_lane.sh
}

lane_windows() {
  scripts/windows_lane.sh
}

lane_package() {
  need dpkg-dev file
  build release
  packaging/test_linux.sh
}

lane_bench() {
  build release --target ferrylink_benches
  scripts/bench.sh
}

lanes=()
for lane in "${@:-default}"; do
  case $lane in
    default | sanitize | style | tidy | usb | fuzz | windows | package | bench) lanes+=("$lane") ;;
    all) lanes+=(default sanitize style tidy usb fuzz windows package bench) ;;
    -h | --help)
      usage
      exit 0
      ;;
    *)
      usage >&2
      die "unknown lane '$lane'"
      ;;
  esac
done

need "${packages[@]}"
for lane in "${lanes[@]}"; do
  say "Lane $lane"
  "lane_$lane"
done
say "Passed: ${lanes[*]}"
