#!/usr/bin/env bash
# Runs the measurements in bench/ one after the other and prints their tables of ratios.
# Each compares with a baseline in the same run: read the ratios, not the times. A quiet machine gives steadier ones.

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

need lua5.4 tcc
shopt -s nullglob
benches=(build/release/bin/*_bench)
[ ${#benches[@]} -gt 0 ] || die "nothing to run in build/release/bin; run scripts/test.sh bench"
for bench in "${benches[@]}"; do
  say "$(basename "$bench")"
  "$bench"
done
say "gpc beside luac and tcc, as whole processes"
bench/compare_compilers.sh
