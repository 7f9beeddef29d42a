#!/usr/bin/env bash
# Runs the measurements in bench/ one after the other and prints one table of ratios; docs/performance.md says how to read it.
#   scripts/bench.sh [NAME...]    outbound, controller, transfer, platform, scaling, panel, start, compilers; all without a name

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

need lua5.4 tcc python3
commands=()
for name in "${@:-outbound controller transfer platform start panel scaling compilers}"; do
  for bench in $name; do
    case $bench in
      compilers) commands+=("bench/compare_compilers.py build/release/bin") ;;
      *) commands+=("build/release/bin/ferrylink_${bench}_bench") ;;
    esac
  done
done
exec bench/table.py "${commands[@]}"
