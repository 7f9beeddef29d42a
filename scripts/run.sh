#!/usr/bin/env bash
# Builds FerryLink and starts it in the development host, with a simulated adapter and a process that feeds it frames.
# The headless run compiles all examples as well, and loads one of them into slot 1.
# Works on a bare Debian 12 with nothing but this checkout.
#
#   scripts/run.sh                    a window where there is a display, a headless run of five seconds otherwise
#   scripts/run.sh --headless         the headless run
#   scripts/run.sh -- ARGUMENTS...    the development host with arguments of your own (try -- --help)

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

usage() { sed -n '2,8s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; }

mode=window
[ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] || mode=headless
arguments=()
while [ $# -gt 0 ]; do
  case $1 in
    --headless) mode=headless ;;
    -h | --help)
      usage
      exit 0
      ;;
    --)
      shift
      mode=own
      arguments=("$@")
      break
      ;;
    *)
      usage >&2
      die "unknown argument '$1'; arguments for the development host stand behind --"
      ;;
  esac
  shift
done

need "${packages[@]}"
build release --target ferrylink-host cvfeed gpc ferrylink_plugin ferrylink_virtual_hidapi

case $mode in
  window) arguments=(--adapter virtual --feed 1000) ;;
  headless)
    for script in examples/*.gpc; do
      build/release/bin/gpc check "$script" || die "$script does not compile"
      echo "Compiled $script"
    done
    arguments=(--adapter virtual --headless --feed 1000 --frames 5000 --load 1=examples/toggle.gpc)
    ;;
esac
exec "build/release/bin/ferrylink-host" "${arguments[@]}"
