#!/usr/bin/env bash
# Boots a guest of the usb lane, which runs its scenarios and switches itself off, and leaves their results in
# LANE/MODE_results.txt. Fails when the guest does not come to its end; whether the scenarios passed is theirs to say.
#
#   boot_guest.sh LANE BUILD MODE    LANE: as scripts/usb_lane.sh prepared it; BUILD: build/release
#
#   scenarios   everything but the figures, on two processors
#   figures     on one processor that takes 2 ns for each instruction, and whose clock leaps to the next timer when it is
#               idle: figures do not depend on the machine's other work
#   shell       a shell in the guest instead
#
# GTEST_FILTER in the environment replaces the choice of scenarios.

set -euo pipefail
lane=$1 build=$2 mode=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
limit_s=540 # below ctest's own, which would tell less

die() {
  echo "The usb lane cannot run: $*"
  exit 1
}
command -v qemu-system-x86_64 >/dev/null || die "qemu-system-x86_64 is missing (package qemu-system-x86)."
vmlinuz=$(find "$lane/kernel/boot" -name 'vmlinuz-*' -print -quit 2>/dev/null || true)
[ -n "$vmlinuz" ] || die "there is no kernel in $lane/kernel; run scripts/test.sh usb."

append="console=ttyS0 panic=-1 oops=panic quiet"
case $mode in
  scenarios) speed=(-accel "tcg,thread=multi" -smp 2) filter='-Figures.*' ;;
  figures) speed=(-accel "tcg,thread=single" -icount "shift=1,sleep=off" -smp 1) filter='Figures.*' ;;
  shell) speed=(-accel "tcg,thread=multi" -smp 2) filter='' append+=" ferrylink_shell" ;;
  *) die "unknown mode '$mode'" ;;
esac
# The kernel ends at its first fault (what ran on would hang sooner or later). What it does not know it hands to the
# first process, as its environment.
filter=${GTEST_FILTER:-$filter}
[ -z "$filter" ] || append+=" GTEST_FILTER=$filter"

"$here/make_initramfs.sh" "$lane/kernel" "$build" "$lane/$mode.cpio.gz"
results=$lane/${mode}_results.txt
rm -f "$results"

# Software emulation works on every machine, also inside another virtual one.
guest=(
  qemu-system-x86_64 "${speed[@]}" -machine pc -cpu max -m 1G -no-reboot -nodefaults -nographic
  -kernel "$vmlinuz" -initrd "$lane/$mode.cpio.gz" -append "$append"
  -serial stdio -serial "file:$results"
)
[ "$mode" != shell ] || exec "${guest[@]}"
status=0
timeout --kill-after=10 "$limit_s" "${guest[@]}" </dev/null 2>&1 | tee "$lane/${mode}_console.txt" || status=$?
problem=$(grep -aEom1 'Kernel panic.*|kernel BUG.*' "$lane/${mode}_console.txt" | tr -d '\r' || true)
[ -z "$problem" ] || die "the guest's kernel ended: $problem"
[ $status -ne 124 ] || die "the guest did not end within $limit_s s."
[ $status -eq 0 ] || die "the guest's machine ended with $status."
grep -aq '^done [0-9]' "$results" || die "the scenarios did not come to their end."
